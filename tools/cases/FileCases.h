// Reads the cases of a file as they are shown, with whole characters.
//
// A view of a file in a code page makes its strings three times as wide, but no string is wider than 32,767 bytes. The
// view fills the cells of such a string, which have a byte more, so the last character may end in that byte. This
// reader cuts the text between characters, and counts the values that lost text.
//
// It also counts the values in which the view has put the replacement character for bytes that are no text.
//
// Threads: one thread at a time, in UTF-8 mode.

#ifndef TOOLS_CASES_FILECASES_H
#define TOOLS_CASES_FILECASES_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class FileCases final : public CaseReader {
 public:
  // `shown` has columns of `data`, which presents `file`. The first case is `row`, counted from 0. The sources outlive
  // this object.
  FileCases(const QUAV_DataSource& shown, const QUAV_DataSource& data, const SystemFileDataSource& file,
            long long row = 0);

  bool Next() override;
  const OBS* Cells() const override { return m_case.data(); }
  long long Count() const override { return m_count; }
  void Report() const override;

 private:
  // A string.
  struct Field {
    int column;
    std::size_t cell;   // in the case
    std::size_t width;  // in bytes
    // In the file; a width of 0 is not known yet.
    std::size_t storedCell = 0;
    std::size_t storedWidth = 0;
  };

  void FindFields();
  void FindStored(Field& field);
  void Check(Field& field);
  bool IsReplaced(Field& field);
  void Cut(const Field& field);
  // Returns the text of the present case as it is stored, without trailing blanks.
  std::string_view StoredText(const Field& field);

  const QUAV_DataSource& m_shown;
  const QUAV_DataSource& m_data;
  const SystemFileDataSource& m_stored;
  long long m_count;  // of the cases from the first on; -1 if unknown
  std::vector<OBS> m_case;
  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  long long m_row;                                        // of the next case, or of the one that is being checked
  std::vector<Field> m_fields;                            // none for a file that is shown as it is stored
  std::unique_ptr<QUAV_InputCaseIterator> m_storedCases;  // null until a stored value is needed
  long long m_storedRow = -1;                             // the row of the case that m_storedCases has
  int m_found = 0;
  QUAVMBConverterPtr m_converter;
  bool m_hasReplacement = false;  // the encoding has the replacement character
  std::string m_text;
  long long m_lostValues = 0;
  long long m_replacedValues = 0;
};

}  // namespace tool

#endif
