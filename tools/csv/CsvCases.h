// Reads the cases of a CSV input for a known dictionary.
//
// Without a header, the fields are the variables of the dictionary in their order. A header contains the names of the
// variables in any order, and upper and lower case do not matter. Or its texts, mended as CsvNames does, are the names of
// the dictionary in the same order. Every variable needs a column, and every column a variable.
//
// With several threads, they fill the cases of blocks of the input (CsvBlocks), ahead of the caller.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_CSVCASES_H
#define TOOLS_CSV_CSVCASES_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"
#include "tools/cases/TextRules.h"
#include "tools/csv/CsvBlocks.h"
#include "tools/csv/CsvReader.h"
#include "tools/files/InputBytes.h"

namespace tool {

class CsvCases final : public CaseReader {
 public:
  // `count` is the number of cases, negative when it is unknown. The dictionary outlives this object. Throws ToolError
  // when the header does not fit.
  CsvCases(std::unique_ptr<InputBytes> input, const CsvDialect& dialect, const QUAV_DataSource& dictionary,
           const TextRules& rules, long long count, const BlockWork& work = {});
  ~CsvCases() override;

  bool Next() override;
  const OBS* Cells() const override { return m_cells.data(); }
  long long Count() const override { return m_count; }

 private:
  class Filler;
  class BlockFiller;

  std::unique_ptr<Filler> MakeFiller() const;
  bool NextOfBlocks();

  std::unique_ptr<InputBytes> m_input;
  CsvDialect m_dialect;
  CsvReader m_reader;
  BlockWork m_work;
  const QUAV_DataSource& m_dictionary;
  TextRules m_rules;
  bool m_hasFirst;             // the reader has the first case
  std::vector<int> m_columns;  // of the dictionary, for each field
  std::unique_ptr<Filler> m_filler;
  std::vector<OBS> m_cells;
  long long m_count;
  BlockFiller* m_block = nullptr;     // the delivered cases
  std::optional<CsvBlocks> m_blocks;  // destroyed first
};

}  // namespace tool

#endif
