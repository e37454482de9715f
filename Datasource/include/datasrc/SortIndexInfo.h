// The sort keys of a sorted data set, and a sparse list of key values with the row that each stands at.
//
// Threads: a value; one writer, or several readers.

#ifndef DATASRC_SORTINDEXINFO_H
#define DATASRC_SORTINDEXINFO_H

#include <string>
#include <vector>

class QUAV_DataSource;

namespace FileSort {

struct SortKey {
  int cellIndex = 0;     // of the key's first cell in a case
  int keyAttribute = 0;  // kept, not interpreted
  int stringLength = 0;  // bytes of a string key; 0 for a number

  bool operator==(const SortKey&) const = default;
};

}  // namespace FileSort

class SortIndexInfo {
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

 private:
  long m_requestedIndexSize = 0;  // kept for callers
  std::vector<FileSort::SortKey> m_keys;
  std::vector<SortIndexKeyRowPair> m_index;
  const QUAV_DataSource* m_dataSource = nullptr;
};

#endif
