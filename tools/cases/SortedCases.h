// The cases of a reader, sorted by some of their columns. Cases with equal keys keep their order.
//
//   ascending     system-missing, -Infinity, numbers, Infinity, NaN;   texts by their bytes
//   descending    the other way round
//
// -0.0 equals 0.0. The cases are sorted in memory. When they are more than the memory that they may use, each full memory
// becomes a sorted run in a temp file of the library ("sort", enciphered and compressed on a thread of its own), and the
// runs are merged, as many at once as the memory has room for the blocks of their streams. So many runs become fewer,
// longer ones first. With less than kLeastMerged of them a sort would go over the cases too often: memory below 32 MiB only
// bounds the runs.
//
// A record is the key in a form whose bytes compare as the values do, then the cells of the case.
//
// Failures: error 1001 when a temp file cannot be made, ToolError when one cannot be written or read.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_SORTEDCASES_H
#define TOOLS_CASES_SORTEDCASES_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_TempFile.h"
#include "tools/cases/CaseReader.h"

namespace tool {

struct SortColumn {
  int column;
  bool isDescending = false;
};

class SortedCases final : public CaseReader {
 public:
  static constexpr std::size_t kLeastMerged = 4;
  static constexpr std::size_t kMostMerged = 64;
  static constexpr std::size_t kRunMemory = std::size_t{8} << 20;  // of a stream of a run: a block, and a packed one

  // Reads all cases, which have the layout of the dictionary. `memory` is in bytes; at least two cases fit, whatever it is.
  SortedCases(std::unique_ptr<CaseReader> cases, const QUAV_DataSource& dictionary,
              const std::vector<SortColumn>& columns, std::size_t memory);
  ~SortedCases() override;

  bool Next() override;
  const OBS* Cells() const override { return m_cells.data(); }
  long long Count() const override { return m_count; }
  void Report() const override { m_cases->Report(); }

  // The first and the last case in the new order; empty when there are no cases.
  const std::vector<OBS>& FirstCase() const { return m_first; }
  const std::vector<OBS>& LastCase() const { return m_last; }

 private:
  struct Key {
    std::size_t cell;
    std::size_t cells;
    bool isNumber;
    bool isDescending;
  };
  struct Run {
    long start;  // in the temp file, in bytes
    long records;
  };
  class RunReader;
  class Merger;

  void ReadAll();
  void Grow();
  void AppendRecord(const OBS* cells);
  void SortMemory();
  void WriteRun();
  void MergeUntilFew();
  std::unique_ptr<QUAV_TempFile> NewFile() const;
  void Write(const char* record);
  bool NextRecord();
  const char* Record(std::size_t index) const { return m_records.data() + index * m_recordSize; }

  std::unique_ptr<CaseReader> m_cases;
  std::vector<Key> m_keys;
  std::size_t m_keySize = 0;     // bytes of a key
  std::size_t m_recordSize = 0;  // bytes of a record
  std::size_t m_mostRecords;     // in memory
  std::size_t m_mostMerged;      // runs at once
  std::vector<char> m_records;
  std::vector<std::size_t> m_order;  // the records in memory, sorted
  std::size_t m_next = 0;            // in m_order
  long long m_count = 0;
  std::unique_ptr<QUAV_TempFile> m_file;  // null when all cases are in memory
  std::vector<Run> m_runs;
  std::unique_ptr<Merger> m_merger;
  std::vector<OBS> m_cells;
  std::vector<OBS> m_first;
  std::vector<OBS> m_last;
};

}  // namespace tool

#endif
