// Builds a dictionary from a JSON object as `datasrc info --json` prints it.
//
// Only `variables` is required, and in a variable `name` and `type`; omitted members take the library's defaults.
// Members that describe the file itself (its compression, its number of cases) are ignored. Date variables of `trends`
// with wrong names or types are omitted, with a warning.
//
// Whatever a system file would not return is refused with its place, for example a label that is too long. Some things that
// files contain are changed by the next writing: levels 4 and 5, roles 6 and 7, display widths below 1, formats of very
// long strings. They are accepted with a warning. So is a sort index that a file keeps only in part; the writer warns about
// it. Trailing blanks of the label of the data set are cut.
//
// Threads: one thread at a time.

#ifndef COLUMNS_DICTIONARY_JSONDICTIONARY_H
#define COLUMNS_DICTIONARY_JSONDICTIONARY_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Columns/text/Json.h"
#include "datasrc/SystemFileDataSource.h"

namespace dstext {

struct JsonDictionary {
  std::unique_ptr<SystemFileDataSource> dictionary;  // without a file
  std::vector<std::string> warnings;
};

// `encoding` is that of the system file to be made: the lengths of labels are limited in it. The process is in the UTF-8
// mode. Throws DictionaryJsonError when the text is not such an object.
JsonDictionary ReadDictionaryJson(std::string_view json, const std::string& encoding);

// The same in two steps, for callers that change the members in between. The tree has only members that are used, and
// `cells_per_case`.
Json ReadDictionaryTree(std::string_view json);
JsonDictionary BuildDictionary(const Json& tree, const std::string& encoding);

// Returns whether a dictionary may give the name to a variable. Files contain names that begin with a digit, and reserved
// names; they are accepted, so that a dictionary that was read can be written again.
bool MayNameVariable(const std::string& name);

}  // namespace dstext

#endif
