// Parses the JSON of a dictionary into a tree of those members that a reader knows.
//
// Strangers' files may have any number of other members, nested to any depth. They are checked to be JSON and take no
// memory. Trees nest only to a fixed depth, because their copies and destructors call themselves for each level.
//
// Threads: any.

#ifndef COLUMNS_DICTIONARY_JSONTREE_H
#define COLUMNS_DICTIONARY_JSONTREE_H

#include <set>
#include <string_view>

#include "Columns/text/Json.h"

namespace dstext {

// `members` are the names to keep, in all objects alike. Throws DictionaryJsonError when the text is not JSON,
// when an object has such a member twice, and when a kept value is nested too deeply; the last two name the member.
Json ReadJsonTree(std::string_view text, const std::set<std::string_view>& members);

}  // namespace dstext

#endif
