// Finds the name that a mistyped one was meant to be.
//
// A typing mistake is a character that is missing, too many, wrong, or swapped with its neighbour; upper and lower case
// of ASCII letters count as equal. One mistake is allowed, and one more for each three characters after the third.
//
// Threads: any.

#ifndef TOOLS_TEXT_NEARESTNAME_H
#define TOOLS_TEXT_NEARESTNAME_H

#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Returns the name with the fewest mistakes, the first of several; empty when none is near enough.
std::string NearestName(std::string_view typed, const std::vector<std::string>& names);
// Returns "; did you mean NAME?" with that name, or nothing.
std::string NearestNameHint(std::string_view typed, const std::vector<std::string>& names);

}  // namespace tool

#endif
