// Writes cases as text, in one of its forms, into an output.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_TEXTCASES_H
#define TOOLS_FORMS_TEXTCASES_H

#include <memory>
#include <string>
#include <vector>

#include "tools/cases/CaseWriter.h"
#include "tools/cases/Column.h"
#include "tools/files/Output.h"
#include "tools/forms/CaseForm.h"
#include "tools/text/ShownText.h"

namespace tool {

class TextCases final : public CaseWriter {
 public:
  // The columns of the source in the order of `indexes`. `form` is no system file; `encoding` names that of the
  // source's text. Source and output outlive this object.
  TextCases(const QUAV_DataSource& source, const std::vector<int>& indexes, const std::string& encoding, CaseForm form,
            ShowOptions options, Output& output);

  void Begin() override { m_writer->Begin(); }
  void WriteCase(const OBS* cells) override { m_writer->WriteCase(cells); }
  void End() override { m_writer->End(); }

 private:
  ShownText m_shownText;
  std::vector<Column> m_columns;
  std::unique_ptr<CaseWriter> m_writer;
};

// All columns of the source.
std::vector<int> AllColumns(const QUAV_DataSource& source);

}  // namespace tool

#endif
