// Writes cases as CSV (RFC 4180): a line of names, then a line for each case.
//
// Choice: lines end in LF alone, because every tool of this operating system writes and reads them so, and readers of
// RFC 4180 accept both. A field is quoted when it contains a comma, a quote or a line break. It is also quoted when it
// begins or ends with a blank, which some readers would drop. System-missing and empty text are both an empty field.
// With one column that can make the whole line empty; the field is then quoted, since many readers skip empty lines.

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
