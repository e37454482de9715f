// Reads the cases of a view in a code page with whole characters.
//
// The view fills the cells of a string, which may have more bytes than the string. Where the text grows, as in GB18030,
// the last character may end past the string: this reader cuts the text between characters.
//
// Threads: one thread at a time, while the present encoding is that of the view.

#ifndef TOOLS_CASES_WHOLECHARACTERCASES_H
#define TOOLS_CASES_WHOLECHARACTERCASES_H

#include <memory>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class WholeCharacterCases final : public CaseReader {
 public:
  // The view outlives this object.
  explicit WholeCharacterCases(const QUAV_DataSource& view);

  bool Next() override;
  const OBS* Cells() const override { return m_case.data(); }
  long long Count() const override { return m_view.RowCount(); }

 private:
  // A string that does not fill its cells.
  struct Field {
    std::size_t cell;
    std::size_t width;  // in bytes
    std::size_t size;   // of the cells, in bytes
  };

  void Cut(const Field& field);

  const QUAV_DataSource& m_view;
  std::vector<OBS> m_case;
  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  std::vector<Field> m_fields;
};

}  // namespace tool

#endif
