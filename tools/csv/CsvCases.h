// Reads the cases of a CSV input for a known dictionary.
//
// Without a header, the fields are the variables of the dictionary in their order. A header contains the names of the variables in any order, and upper and lower case do not matter. Or its texts,
// mended as CsvNames does, are the names of the dictionary in the same order. Every variable needs a column, and every
// column a variable.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_CSVCASES_H
#define TOOLS_CSV_CSVCASES_H

#include <memory>
#include <vector>

#include "Columns/cells/CellFiller.h"
#include "tools/cases/CaseReader.h"
#include "tools/csv/CsvReader.h"
#include "tools/csv/DecimalMark.h"
#include "tools/files/InputBytes.h"

namespace tool {

class CsvCases final : public CaseReader {
 public:
  // `count` is the number of cases, negative when it is unknown. Throws ToolError when the header does not fit.
  CsvCases(std::unique_ptr<InputBytes> input, const CsvDialect& dialect, const QUAV_DataSource& dictionary,
           const dstext::FillRules& rules, long long count);

  bool Next() override;
  const OBS* Cells() const override { return m_cells.data(); }
  long long Count() const override { return m_count; }

 private:
  [[noreturn]] void Refuse(std::size_t field, const char* trouble) const;

  std::unique_ptr<InputBytes> m_input;
  CsvReader m_reader;
  DecimalMark m_mark;
  bool m_hasFirst;                            // the reader has the first case
  std::vector<dstext::CellFiller> m_fillers;  // in the order of the fields
  std::vector<OBS> m_cells;
  long long m_count;
};

}  // namespace tool

#endif
