// Writes cases as CSV (RFC 4180, or a dialect of it): a line of names, then a line for each case.
//
// Choice: lines end in LF alone, because every tool of this operating system writes and reads them so, and readers of
// RFC 4180 accept both. A field is quoted when it contains a delimiter, a quote or a line break. It is also quoted when it
// begins or ends with a blank, which some readers would drop. System-missing and empty text are both an empty field; with
// a text for missing values, system-missing is that text. With one column that can make the whole line empty; the field is
// then quoted, since many readers skip empty lines.
//
// Without quotes, a value that would need them is a ToolError. Values that are written like missing ones are counted.

#ifndef TOOLS_CSV_CSVWRITER_H
#define TOOLS_CSV_CSVWRITER_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/cases/CaseText.h"
#include "tools/cases/Column.h"
#include "tools/csv/CsvDialect.h"

namespace tool {

class CsvWriter final : public CaseText {
 public:
  // The columns outlive this object. `file` is the name of the output for messages.
  CsvWriter(std::vector<Column>& columns, const CsvDialect& dialect, const std::string& file);

  void AppendNames(std::string& out) override;
  void AppendCase(std::string& out, const OBS* cells) override;
  void AddLosses(Losses& losses) const override;

 private:
  bool NeedsQuotes(std::string_view text) const;
  void AppendValue(std::string& out, const ShownValue& value);
  void AppendMarkedNumber(std::string& out, double number);
  void AppendField(std::string& out, std::string_view text) const;
  void EndLine(std::string& out, std::size_t lineStart) const;

  std::vector<Column>& m_columns;
  CsvDialect m_dialect;
  bool m_isPlain;         // numbers need neither quotes nor another mark
  std::string m_special;  // the characters that need quotes
  std::string m_number;
  long long m_mistakable = 0;  // values that look like the text for missing values
  std::string m_file;
};

}  // namespace tool

#endif
