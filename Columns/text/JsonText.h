// Writes JSON as text. Strings must be valid UTF-8 (ShownText makes them valid).
//
// AppendNumber writes the doubles because it produces the shortest text.
//
// Threads: any.

#ifndef COLUMNS_TEXT_JSONTEXT_H
#define COLUMNS_TEXT_JSONTEXT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "Columns/text/Json.h"

namespace dstext {

void AppendJsonString(std::string& out, std::string_view text);
// Appends the tree on several indented lines, with short parts on one line, and without a final line feed. `depth` is
// the depth of the tree in a larger one.
void AppendJson(std::string& out, const Json& tree, std::size_t depth = 0);

}  // namespace dstext

#endif
