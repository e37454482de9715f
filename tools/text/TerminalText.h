// Text for people: on one line, without control characters that a terminal would obey, measured in columns.
//
// All text must be valid UTF-8 (ShownText makes it valid). The C library says how many columns a character takes: two
// for wide East Asian characters, none for combining marks. setlocale must have selected a UTF-8 locale.
//
// Threads: any.

#ifndef TOOLS_TEXT_TERMINALTEXT_H
#define TOOLS_TEXT_TERMINALTEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// Replaces each control character by a visible sign.
std::string OneLine(std::string_view text);
// Returns the columns that a text from OneLine takes.
std::size_t DisplayWidth(std::string_view text);
// Returns the text, or the part of it that fits into `width` columns with an ellipsis after it. `width` is at least 1.
std::string CutToWidth(std::string text, std::size_t width);
// Returns the value for use in a message. A long value is cut.
std::string ShortValue(std::string_view value);

}  // namespace tool

#endif
