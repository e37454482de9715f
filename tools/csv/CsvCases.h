// The cases of a CSV input, for a dictionary that is known.
//
// The header names the variables, in the dictionary's order or another, without regard to case; or its names, mended as
// CsvNames does it, are those of the dictionary in the same order. Every variable has its column, every column its
// variable.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_CSVCASES_H
#define TOOLS_CSV_CSVCASES_H

#include <memory>
#include <vector>

#include "tools/cases/CaseReader.h"
#include "tools/cases/CellFiller.h"
#include "tools/csv/CsvReader.h"
#include "tools/files/InputBytes.h"

namespace tool {

class CsvCases final : public CaseReader {
 public:
  // `count` is how many cases there are, below 0 when that is not known. Throws ToolError when the header does not fit.
  CsvCases(std::unique_ptr<InputBytes> input, const QUAV_DataSource& dictionary, const FillRules& rules,
           long long count);

  bool Next() override;
  const OBS* Cells() const override { return m_cells.data(); }
  long long Count() const override { return m_count; }

 private:
  [[noreturn]] void Refuse(std::size_t field, const char* trouble) const;

  std::unique_ptr<InputBytes> m_input;
  CsvReader m_reader;
  std::vector<CellFiller> m_fillers;  // in the order of the fields
  std::vector<OBS> m_cells;
  long long m_count;
};

}  // namespace tool

#endif
