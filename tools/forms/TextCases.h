// Writes cases to an output in one of the text forms.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_TEXTCASES_H
#define TOOLS_FORMS_TEXTCASES_H

#include <memory>
#include <string>
#include <vector>

#include "Columns/text/ShownText.h"
#include "tools/cases/CaseWriter.h"
#include "tools/cases/Column.h"
#include "tools/csv/CsvDialect.h"
#include "tools/files/Output.h"
#include "tools/forms/CaseForm.h"

namespace tool {

class TextCases final : public CaseWriter {
 public:
  // Writes the columns of the source in the order of `indexes`. `form` must not be a system file; `dialect` is for CSV.
  // `encoding` is the name of the encoding of the source's text. Source and output outlive this object.
  TextCases(const QUAV_DataSource& source, const std::vector<int>& indexes, const std::string& encoding, CaseForm form,
            const CsvDialect& dialect, ShowOptions options, Output& output);

  void Begin() override { m_writer->Begin(); }
  void WriteCase(const OBS* cells) override { m_writer->WriteCase(cells); }
  void End() override { m_writer->End(); }
  // Returns how many texts had bytes that are no text in the encoding, and were replaced.
  long long ReplacedTexts() const { return m_shownText.ReplacedTexts(); }

 private:
  dstext::ShownText m_shownText;
  std::vector<Column> m_columns;
  std::unique_ptr<CaseWriter> m_writer;
};

// Returns the indexes of all columns of the source.
std::vector<int> AllColumns(const QUAV_DataSource& source);

}  // namespace tool

#endif
