#include "tools/cases/FileCases.h"

#include <algorithm>

#include "Columns/text/ShownText.h"
#include "tools/messages/Report.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kMostBytesForAByte = 3;  // of UTF-8, for a byte of any code page
constexpr std::size_t kMostWidth = MAX_STRING_TYPE;

}  // namespace

FileCases::FileCases(const QUAV_DataSource& shown, const QUAV_DataSource& data, const SystemFileDataSource& file,
                     long long row)
    : m_shown(shown),
      m_case(shown.GetObsAreaSize()),
      m_cases(shown.MakeIterator(m_case.data())),
      m_file(file.GetFileSpec()) {
  if (&data != &file) FindFields(data, file);
  if (row != 0) m_cases->Seek(row);
  if (m_fields.empty()) return;
  m_converter.reset(QUAVMBConverterNew_A(file.CharacterEncoding().c_str()));
  m_storedCases.reset(file.MakeIterator(nullptr));
  m_stored = m_storedCases->GetObsPointer(0);
  if (row != 0) m_storedCases->Seek(row);
}

void FileCases::FindFields(const QUAV_DataSource& data, const SystemFileDataSource& file) {
  int last = 0;
  for (int column = 0; column < static_cast<int>(m_shown.ColumnCount()); ++column) {
    if (m_shown.GetVariable(column).GetType() != MAX_STRING_TYPE) continue;
    last = data.FindVarIndex(m_shown.GetVariable(column).GetName(), last);
    const auto storedWidth = static_cast<std::size_t>(file.GetVariable(last).GetType());
    if (storedWidth * kMostBytesForAByte <= kMostWidth) continue;
    m_fields.push_back({static_cast<std::size_t>(m_shown.ObsIndex(column)),
                        static_cast<std::size_t>(file.ObsIndex(last)), storedWidth});
  }
}

bool FileCases::Next() {
  // Without variables there is nothing to read, but the library would return empty cases forever.
  if (m_shown.ColumnCount() == 0 || m_cases->Next() == 0) return false;
  if (m_storedCases && m_storedCases->Next() != 0)
    for (const Field& field : m_fields) Cut(field);
  return true;
}

void FileCases::Cut(const Field& field) {
  const std::string_view stored = WithoutTrailingBlanks({CellText(m_stored + field.storedCell), field.storedWidth});
  if (stored.size() * kMostBytesForAByte <= kMostWidth) return;
  QUAVMBCodePageToU8(m_converter.get(), m_text, std::string(stored));
  const std::string_view text = WithoutTrailingBlanks(m_text);
  if (text.size() <= kMostWidth) return;
  const int length = QUAVMBWholeCharacters_A(text.data(), static_cast<int>(text.size()), MAX_STRING_TYPE);
  char* const shown = CellText(&m_case[field.cell]);
  std::fill(std::copy_n(text.data(), length, shown), shown + FieldSize(MAX_STRING_TYPE), ' ');
  ++m_lostValues;
}

void FileCases::Report() const {
  if (m_lostValues == 0) return;
  ReportWarning(
      "values that were cut, because a string has at most 32767 bytes in UTF-8: " + std::to_string(m_lostValues),
      m_file);
}

}  // namespace tool
