// Cases as JSON lines: a list for each case, with the values in column order. System-missing is null.

#ifndef TOOLS_JSONLINESWRITER_H
#define TOOLS_JSONLINESWRITER_H

#include <vector>

#include "CaseWriter.h"
#include "Column.h"
#include "Output.h"

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
