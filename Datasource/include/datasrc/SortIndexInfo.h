// The sort keys of a sorted data set, and a sparse list of key values with the row that each stands at: a case is found
// by its key without reading the data through.
//
// A key value is text, a piece for each sort key: of a string its bytes, blanks included; of a number 41 characters,
// filled with zeros, so that numbers of one sign compare as their texts do. Pieces are compared by the process's
// collation.
//
// Rows of the list, and those that a search answers, count cases from 1.
//
// Threads: a value; one writer, or several readers. Searches share one collation, and are for one thread at a time.

#ifndef DATASRC_SORTINDEXINFO_H
#define DATASRC_SORTINDEXINFO_H

#include <string>
#include <vector>

#include "Platform/Export.h"

class QUAV_DataSource;
class QUAV_InputCaseIterator;
class QUAVMBCollator;

// What stands in front of each pair, and between its key and its row, in a file. Format: docs/system-file.md, "Record
// 23".
extern DATASRC_API char groupDelimiterChar;
extern DATASRC_API char unitDelimiterChar;

namespace FileSort {

struct SortKey {
  int cellIndex = 0;     // of the key's first cell in a case
  int keyAttribute = 0;  // kept, not interpreted
  int stringLength = 0;  // bytes of a string key; 0 for a number

  bool operator==(const SortKey&) const = default;
};

}  // namespace FileSort

class DATASRC_API SortIndexInfo {
 public:
  using RowIndex = long long;

  class SortIndexKeyRowPair {
   public:
    SortIndexKeyRowPair() = default;
    SortIndexKeyRowPair(const std::string& key, const RowIndex& row) : m_key(key), m_row(row) {}

    const std::string& GetKeyValue() const { return m_key; }
    void SetKeyValue(const std::string& key) { m_key = key; }
    RowIndex GetRowIndex() const { return m_row; }
    void SetRowIndex(const RowIndex& row) { m_row = row; }

    bool operator==(const SortIndexKeyRowPair&) const = default;

   private:
    std::string m_key;
    RowIndex m_row = 0;
  };

  const std::vector<FileSort::SortKey>& GetIndexKeys() const { return m_keys; }
  void SetIndexKeys(const std::vector<FileSort::SortKey>& keys) { m_keys = keys; }
  // In ascending order of the keys.
  const std::vector<SortIndexKeyRowPair>& GetIndex() const { return m_index; }
  void SetIndex(const std::vector<SortIndexKeyRowPair>& index) { m_index = index; }
  long GetRequestedIndexSize() const { return m_requestedIndexSize; }
  void SetRequestedIndexSize(const long& size) { m_requestedIndexSize = size; }
  // The sorted source; not owned.
  const QUAV_DataSource* GetDataSource() const { return m_dataSource; }
  void SetDataSource(const QUAV_DataSource* source) { m_dataSource = source; }

  // The key value of the iterator's present case; the two are the same.
  std::string BuildKeyValues(QUAV_InputCaseIterator* iterator) const;
  std::string BuildKeyValuesFromCase(QUAV_InputCaseIterator* iterator) const;
  // The text without blanks at either end.
  static std::string LRTrim(const std::string& text);

  // The row of the key value, -1 when there is none. What the list does not tell is sought among the cases, with the
  // iterator, or with null one of the data source, which must be set then (asserted). No row of the list below 0 is
  // followed. The flag is not touched. Throws std::out_of_range for a key value that is shorter than the keys say, and
  // before it looks at cases for keys whose cells are not in a case of the data source.
  RowIndex FindRecordFromKeyValues(std::string& key, bool& flag, QUAV_InputCaseIterator* iterator) const;
  RowIndex FindRecordFromKeyValues(std::string& key) const;
  // The same among the rows from `low` to `high`, both included.
  RowIndex BinaryKeyValueSearch(QUAV_InputCaseIterator* iterator, long long low, long long high, std::string& key,
                                const QUAVMBCollator& collator) const;

 private:
  int Compare(const std::string& a, const std::string& b, const QUAVMBCollator& collator) const;

  long m_requestedIndexSize = 0;  // kept for callers
  std::vector<FileSort::SortKey> m_keys;
  std::vector<SortIndexKeyRowPair> m_index;
  const QUAV_DataSource* m_dataSource = nullptr;
};

#endif
