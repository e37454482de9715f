// JSON as text. Strings are valid UTF-8 (ShownText makes them so).
//
// Doubles are written by AppendNumber, whose text is the shortest; nlohmann's own is not always, which is why its trees
// are printed here.
//
// Threads: any.

#ifndef TOOLS_TEXT_JSONTEXT_H
#define TOOLS_TEXT_JSONTEXT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace tool {

void AppendJsonString(std::string& out, std::string_view text);
// The tree on several lines, indented; short parts of it on one. No line feed at the end. `depth` is how deep in a
// larger tree it stands.
void AppendJson(std::string& out, const nlohmann::ordered_json& tree, std::size_t depth = 0);

}  // namespace tool

#endif
