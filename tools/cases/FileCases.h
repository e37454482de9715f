// Reads the cases of a file as they are shown, with whole characters.
//
// A view of a file in a code page makes its strings three times as wide, but no string is wider than 32,767 bytes. The
// view fills the cells of such a string, which have a byte more, so the last character may end in that byte. This
// reader cuts the text between characters, and counts the values that lost text.
//
// Threads: one thread at a time, in UTF-8 mode.

#ifndef TOOLS_CASES_FILECASES_H
#define TOOLS_CASES_FILECASES_H

#include <memory>
#include <string>
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
  long long Count() const override { return m_shown.RowCount(); }
  void Report() const override;

 private:
  struct Field {
    std::size_t cell;        // in the case
    std::size_t storedCell;  // in the case of the file
    std::size_t storedWidth;
  };

  void FindFields(const QUAV_DataSource& data, const SystemFileDataSource& file);
  void Cut(const Field& field);

  const QUAV_DataSource& m_shown;
  std::vector<OBS> m_case;
  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  std::string m_file;
  std::vector<Field> m_fields;                            // the strings whose text may be too long
  std::unique_ptr<QUAV_InputCaseIterator> m_storedCases;  // null when there are no such strings
  const OBS* m_stored = nullptr;
  QUAVMBConverterPtr m_converter;
  std::string m_text;
  long long m_lostValues = 0;
};

}  // namespace tool

#endif
