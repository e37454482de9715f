// The sort keys of a sorted data set, and a sparse list of key values with their rows. With them a case is found by
// its key without reading all the data.
//
// A key value is text, with a piece for each sort key. A string's piece is its bytes, blanks included. A number's
// piece has 41 characters, filled with zeros, so that the texts of numbers from 0 on are ordered as the numbers are.
// Pieces are compared by the process's collation.
//
// Rows of the list, and the row that a search returns, count from 1.
//
// Threads: a value; one writer, or several readers. The process has one collation for all searches. The first info that
// is made after a change of the locale changes it: meanwhile no other thread may search or make an info.

#ifndef DATASRC_SORTINDEXINFO_H
#define DATASRC_SORTINDEXINFO_H

#include <string>
#include <vector>

#include "Platform/Export.h"

class QUAV_DataSource;
class QUAV_InputCaseIterator;
class QUAVMBCollator;

// The bytes before each pair, and between its key and its row, in a file. Format: docs/system-file.md, "Record 23".
extern DATASRC_API char groupDelimiterChar;
extern DATASRC_API char unitDelimiterChar;

namespace FileSort {

struct SortKey {
  int cellIndex = 0;     // the key's first cell in a case, counted from 0
  int keyAttribute = 0;  // stored, not interpreted
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

  // These begin by making the process's collation that of the environment's present locale.
  SortIndexInfo();
  SortIndexInfo(const SortIndexInfo& other);
  // Moves only take over what the other info holds.
  SortIndexInfo(SortIndexInfo&&) noexcept = default;
  SortIndexInfo& operator=(const SortIndexInfo& other);
  SortIndexInfo& operator=(SortIndexInfo&&) noexcept = default;
  ~SortIndexInfo() = default;

  const std::vector<FileSort::SortKey>& GetIndexKeys() const { return m_keys; }
  void SetIndexKeys(const std::vector<FileSort::SortKey>& keys) { m_keys = keys; }
  // The list, in ascending order of the keys, which is not checked.
  const std::vector<SortIndexKeyRowPair>& GetIndex() const { return m_index; }
  void SetIndex(const std::vector<SortIndexKeyRowPair>& index) { m_index = index; }
  long GetRequestedIndexSize() const { return m_requestedIndexSize; }
  void SetRequestedIndexSize(const long& size) { m_requestedIndexSize = size; }
  // The sorted source (not owned), null at first. The library never sets it.
  const QUAV_DataSource* GetDataSource() const { return m_dataSource; }
  void SetDataSource(const QUAV_DataSource* source) { m_dataSource = source; }

  // Both return the key value of the case in the iterator's buffer. They throw std::out_of_range when a sort key does
  // not lie inside a case of the iterator's source.
  std::string BuildKeyValues(QUAV_InputCaseIterator* iterator) const;
  std::string BuildKeyValuesFromCase(QUAV_InputCaseIterator* iterator) const;
  // Returns the text without blanks at either end.
  static std::string LRTrim(const std::string& text);

  // Returns the row of the key value, -1 for none. When the list does not have the key value, the search goes on
  // among the cases between two rows of the list; a row below 0 counts as 0. For that it asserts that the data source
  // is set, and uses the iterator, or with null makes one over the data source; the iterator's position changes. A
  // list of one pair is not searched further. The flag is not used, and the key is not changed. Throws
  // std::out_of_range when a key value is too short for the sort keys, and when it reads a case and a sort key does not
  // lie inside it.
  RowIndex FindRecordFromKeyValues(std::string& key, bool& flag, QUAV_InputCaseIterator* iterator) const;
  RowIndex FindRecordFromKeyValues(std::string& key) const;
  // Searches the cases from row `low` to row `high`, both included; a row below 0 counts as 0. Throws
  // std::out_of_range as BuildKeyValues does, and when the key is too short. `iterator` must not be null.
  RowIndex BinaryKeyValueSearch(QUAV_InputCaseIterator* iterator, long long low, long long high, std::string& key,
                                const QUAVMBCollator& collator) const;

 private:
  int Compare(const std::string& a, const std::string& b, const QUAVMBCollator& collator) const;

  long m_requestedIndexSize = 0;  // stored for callers
  std::vector<FileSort::SortKey> m_keys;
  std::vector<SortIndexKeyRowPair> m_index;
  const QUAV_DataSource* m_dataSource = nullptr;
};

#endif
