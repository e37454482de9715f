// Facts of the dictionary, in the words that both forms of `datasrc info` use.

#ifndef COLUMNS_DICTIONARY_DICTIONARYFACTS_H
#define COLUMNS_DICTIONARY_DICTIONARYFACTS_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "datasrc/DSDocument.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_Variable.h"
#include "datasrc/SystemFileDataSource.h"

namespace dstext {

// Returns the file that the source presents: the source itself, or the last of its parents. Null when it is none.
const SystemFileDataSource* FileBehind(const QUAV_DataSource& source);
// Returns the name of the encoding of the source's text. A system file and a CodePageDataSource say it, a UTF8DataSource
// is in UTF-8, and every other source is in the encoding of its parent, or without one in UTF-8.
std::string TextEncodingOf(const QUAV_DataSource& source);
// Returns "none", "bytecode" or "zlib", or the number of any other kind.
std::string CompressionName(int level);
// Returns "YYYY-MM-DD HH:MM:SS".
std::string TimestampText(double timestamp);
// Returns "YYYY-MM-DD".
std::string DateText(const DSDocument& document);
// Returns the missing values in their order, as many as the code says. They are valid until the variable changes.
std::vector<const OBS*> MissingValues(const QUAV_Variable& variable, int* code);
// Returns "lowest" or "highest" for a number that stands for an open end of a range, otherwise an empty text.
std::string_view OpenEndName(const OBS& cell);

// Finds the names of the members of sets. It is a snapshot: the variables of the source must not change meanwhile.
class MemberFinder {
 public:
  // The source outlives this object.
  explicit MemberFinder(const QUAV_DataSource& source);
  // Returns the names of those members of the set that exist in the source.
  std::vector<std::string> Names(const VariableSetImpl& set) const;

 private:
  const QUAV_DataSource& m_source;
  std::map<LocallyUniqueID, int> m_columns;
};

}  // namespace dstext

#endif
