// The text of cases in one of the text forms, with everything that it needs of its own.
//
// Threads: one thread at a time for each object; it is made on the thread that uses the source.

#ifndef TOOLS_FORMS_CASEFORMATTER_H
#define TOOLS_FORMS_CASEFORMATTER_H

#include <memory>
#include <string>
#include <vector>

#include "Columns/text/ShownText.h"
#include "tools/cases/CaseText.h"
#include "tools/cases/Column.h"
#include "tools/csv/CsvDialect.h"
#include "tools/forms/CaseForm.h"

namespace tool {

// What is shown of a source, and how. The source outlives all that is made of this.
struct ShownForm {
  const QUAV_DataSource& source;
  std::vector<int> columns;  // of the source, in their order
  std::string encoding;      // the name of the encoding of the source's text
  CaseForm form;             // a text form
  CsvDialect dialect;        // of CSV
  ShowOptions options;
  std::string file;  // the name of the output for messages
};

class CaseFormatter {
 public:
  explicit CaseFormatter(const ShownForm& shown);
  CaseFormatter(const CaseFormatter&) = delete;
  CaseFormatter& operator=(const CaseFormatter&) = delete;

  std::vector<Column>& Columns() { return m_columns; }
  // Null for the table, whose cases depend on each other.
  CaseText* Text() { return m_text.get(); }
  const CaseText* Text() const { return m_text.get(); }
  // Return how many names, and how many values so far, had bytes that are no text in the encoding, and were replaced.
  long long ReplacedNames() const { return m_replacedNames; }
  long long ReplacedValues() const { return m_shownText.ReplacedTexts() - m_replacedNames; }

 private:
  dstext::ShownText m_shownText;
  std::vector<Column> m_columns;
  std::unique_ptr<CaseText> m_text;
  long long m_replacedNames = 0;
};

}  // namespace tool

#endif
