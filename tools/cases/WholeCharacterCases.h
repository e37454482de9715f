// Reads the cases of a view in a code page with whole characters and with blanks of the code page.
//
// The view fills the cells of a string, which may have more bytes than the string. Where the text grows, as in GB18030,
// the last character may end past the string: this reader cuts the text between characters.
//
// Where the text shrinks, the view pads it with byte 32. In EBCDIC that is a control character, which readers of the
// file would see: this reader puts blanks in its place.
//
// Threads: one thread at a time, while the present encoding is that of the view.

#ifndef TOOLS_CASES_WHOLECHARACTERCASES_H
#define TOOLS_CASES_WHOLECHARACTERCASES_H

#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class WholeCharacterCases final : public CaseReader {
 public:
  // `encoding` is that of the view, which outlives this object.
  WholeCharacterCases(const QUAV_DataSource& view, const std::string& encoding);

  bool Next() override;
  const OBS* Cells() const override { return m_case.data(); }
  long long Count() const override { return m_view.RowCount(); }

 private:
  // A string that does not fill its cells, or may need blanks.
  struct Field {
    std::size_t cell;
    std::size_t width;  // in bytes
    std::size_t size;   // of the cells, in bytes
  };

  void Cut(const Field& field);
  void Pad(const Field& field);

  const QUAV_DataSource& m_view;
  std::vector<OBS> m_case;
  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  char m_blank;  // in the encoding
  std::vector<Field> m_fields;
};

}  // namespace tool

#endif
