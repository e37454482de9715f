// Writes cases as an aligned table for people. The first cases are held back to find the widths of the columns. The
// rest is written as it comes.

#ifndef TOOLS_FORMS_TABLEWRITER_H
#define TOOLS_FORMS_TABLEWRITER_H

#include <vector>

#include "tools/cases/CaseWriter.h"
#include "tools/cases/Column.h"
#include "tools/files/Output.h"
#include "tools/text/TextTable.h"

namespace tool {

class TableWriter final : public CaseWriter {
 public:
  TableWriter(std::vector<Column>& columns, Output& output);

  void WriteCase(const OBS* cells) override;
  void End() override;

 private:
  TextTable::Row RowOf(const OBS* cells);
  void WriteHeldCases();
  void WriteRow(const TextTable::Row& row);

  std::vector<Column>& m_columns;
  Output& m_output;
  TextTable m_table;
  std::vector<TextTable::Row> m_held;
  std::size_t m_mostHeld;
  bool m_isHolding = true;
};

}  // namespace tool

#endif
