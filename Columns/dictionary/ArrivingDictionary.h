// Makes the dictionary of a new system file for columns that come from elsewhere, with what is known of them as JSON.
//
// Each member of a variable comes from the first of these that has it: the caller's wishes, the metadata that came with
// the column, the defaults of its type. Members of the data set come from the wishes or the metadata.
//
// Metadata need not fit: columns may have been removed, renamed or changed since they were written. What they say of a
// column that is now of another type, and references to variables that are gone, are dropped. Wishes have to fit.
//
// Threads: one thread at a time.

#ifndef COLUMNS_DICTIONARY_ARRIVINGDICTIONARY_H
#define COLUMNS_DICTIONARY_ARRIVINGDICTIONARY_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Columns/dictionary/JsonDictionary.h"
#include "datasrc/QUAV_Format.h"

namespace dstext {

// A column as it comes.
struct ArrivingVariable {
  std::string name;
  bool isText = false;
  QUAV_Format format = kDefaultNumericFormat;  // of a number, unless anything else is known
  std::string metadata = {};                   // an element of `variables` of `info --json`, or nothing
};

class ArrivingDictionary {
 public:
  // `metadata` and `wishes` are objects of `info --json`, or nothing. Throws DictionaryJsonError when a text is not such
  // an object, or when the wishes have a variable that is no column.
  ArrivingDictionary(std::string_view metadata, std::string_view wishes, std::vector<ArrivingVariable> columns);
  ~ArrivingDictionary();

  // Whether the column becomes a number. A column of text does if it is to have the labels of one.
  bool IsNumber(std::size_t column) const;
  // The width that the wishes say; nothing for a text that is as wide as it has to be.
  std::optional<int> FixedWidth(std::size_t column) const;
  // The width that the metadata say, at least 1.
  int LeastWidth(std::size_t column) const;
  // Makes the dictionary of a file in UTF-8. `widths` are those of the texts, in bytes. Throws DictionaryJsonError.
  JsonDictionary Build(const std::vector<int>& widths) const;

 private:
  struct Trees;

  std::vector<ArrivingVariable> m_columns;
  std::unique_ptr<Trees> m_trees;
};

}  // namespace dstext

#endif
