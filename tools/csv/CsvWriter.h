// Cases as CSV (RFC 4180): a line of names, then a line for each case.
//
// Choice: lines end in LF alone, as every tool of this system writes and reads them; readers of RFC 4180 take both. A
// field is quoted when it holds a comma, a quote or a line break, or begins or ends with a blank, which some readers
// would take away. System-missing and the empty text are both empty; where that would make the whole line empty, as it
// can with one column, the field is quoted, since many readers skip empty lines.

#ifndef TOOLS_CSV_CSVWRITER_H
#define TOOLS_CSV_CSVWRITER_H

#include <string_view>
#include <vector>

#include "tools/cases/CaseWriter.h"
#include "tools/cases/Column.h"
#include "tools/files/Output.h"

namespace tool {

class CsvWriter final : public CaseWriter {
 public:
  CsvWriter(std::vector<Column>& columns, Output& output) : m_columns(columns), m_output(output) {}

  void Begin() override;
  void WriteCase(const OBS* cells) override;

 private:
  void AppendField(std::string_view text);
  void EndLine(std::size_t lineStart);

  std::vector<Column>& m_columns;
  Output& m_output;
};

}  // namespace tool

#endif
