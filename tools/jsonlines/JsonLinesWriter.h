// Writes cases as JSON lines: a list for each case, with the values in column order, or an object with their names.
// System-missing is null.

#ifndef TOOLS_JSONLINES_JSONLINESWRITER_H
#define TOOLS_JSONLINES_JSONLINESWRITER_H

#include <string>
#include <vector>

#include "tools/cases/CaseWriter.h"
#include "tools/cases/Column.h"
#include "tools/files/Output.h"
#include "tools/jsonlines/JsonLinesCases.h"

namespace tool {

class JsonLinesWriter final : public CaseWriter {
 public:
  JsonLinesWriter(std::vector<Column>& columns, JsonForm form, Output& output);

  void WriteCase(const OBS* cells) override;

 private:
  std::vector<Column>& m_columns;
  std::vector<std::string> m_beforeValues;  // the separator, and the name of an object's member
  char m_end;
  Output& m_output;
};

}  // namespace tool

#endif
