// Writes cases as JSON lines: a list for each case, with the values in column order. System-missing is null.

#ifndef TOOLS_JSONLINES_JSONLINESWRITER_H
#define TOOLS_JSONLINES_JSONLINESWRITER_H

#include <vector>

#include "tools/cases/CaseWriter.h"
#include "tools/cases/Column.h"
#include "tools/files/Output.h"

namespace tool {

class JsonLinesWriter final : public CaseWriter {
 public:
  JsonLinesWriter(std::vector<Column>& columns, Output& output) : m_columns(columns), m_output(output) {}

  void WriteCase(const OBS* cells) override;

 private:
  std::vector<Column>& m_columns;
  Output& m_output;
};

}  // namespace tool

#endif
