// Writes cases as JSON lines: a list for each case, with the values in column order, or an object with their names.
// System-missing is null.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_JSONLINES_JSONLINESWRITER_H
#define TOOLS_JSONLINES_JSONLINESWRITER_H

#include <string>
#include <vector>

#include "tools/cases/CaseText.h"
#include "tools/cases/Column.h"
#include "tools/jsonlines/JsonLinesCases.h"

namespace tool {

class JsonLinesWriter final : public CaseText {
 public:
  // The columns outlive this object.
  JsonLinesWriter(std::vector<Column>& columns, JsonForm form);

  void AppendCase(std::string& out, const OBS* cells) override;

 private:
  std::vector<Column>& m_columns;
  std::vector<std::string> m_beforeValues;  // the separator, and the name of an object's member
  char m_end;
};

}  // namespace tool

#endif
