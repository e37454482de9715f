// Text for a person's eyes: on one line, with nothing in it that would steer a terminal, measured in columns.
//
// All text is valid UTF-8 (ShownText makes it so). A character takes the columns that the C library says for it, which
// is two for wide East Asian ones and none for combining marks; setlocale must have chosen a UTF-8 locale.
//
// Threads: any.

#ifndef TOOLS_TEXT_TERMINALTEXT_H
#define TOOLS_TEXT_TERMINALTEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// The text with a visible sign in place of each control character.
std::string OneLine(std::string_view text);
// The columns that a text from OneLine takes.
std::size_t DisplayWidth(std::string_view text);
// The text, or as much of it as fits into `width` columns with an ellipsis behind it. A width is at least 1.
std::string CutToWidth(std::string text, std::size_t width);
// The value, or the beginning of a long one, for a message.
std::string ShortValue(std::string_view value);

}  // namespace tool

#endif
