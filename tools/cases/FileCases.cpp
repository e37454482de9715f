#include "tools/cases/FileCases.h"

#include <algorithm>

#include "Columns/text/ShownText.h"
#include "tools/messages/Losses.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kMostBytesForAByte = 3;  // of UTF-8, for a byte of any code page
constexpr std::size_t kMostWidth = MAX_STRING_TYPE;
constexpr std::string_view kReplacement = "\uFFFD";

}  // namespace

FileCases::FileCases(const QUAV_DataSource& shown, const QUAV_DataSource& data, const SystemFileDataSource& file,
                     long long row)
    : m_shown(shown),
      m_data(data),
      m_stored(file),
      m_count(shown.RowCount() < 0 ? -1 : std::max(shown.RowCount() - row, 0LL)),
      m_case(shown.GetObsAreaSize()),
      m_cases(shown.MakeIterator(m_case.data())),
      m_row(row) {
  if (&data != &file) FindFields();
  if (row != 0) m_cases->Seek(row);
}

void FileCases::FindFields() {
  m_converter.reset(QUAVMBConverterNew_A(m_stored.CharacterEncoding().c_str()));
  std::string replacement;
  m_hasReplacement = QUAVMBU8ToCodePage(m_converter.get(), replacement, std::string(kReplacement)) == 0;
  for (int column = 0; column < static_cast<int>(m_shown.ColumnCount()); ++column) {
    const int width = m_shown.GetVariable(column).GetType();
    if (width == 0) continue;
    m_fields.push_back({.column = column,
                        .cell = static_cast<std::size_t>(m_shown.ObsIndex(column)),
                        .width = static_cast<std::size_t>(width)});
    if (width == MAX_STRING_TYPE) FindStored(m_fields.back());
  }
}

// The file has the columns of its view. A search begins where the last one ended.
void FileCases::FindStored(Field& field) {
  m_found = m_data.FindVarIndex(m_shown.GetVariable(field.column).GetName(), m_found);
  field.storedCell = static_cast<std::size_t>(m_stored.ObsIndex(m_found));
  field.storedWidth = static_cast<std::size_t>(m_stored.GetVariable(m_found).GetType());
}

bool FileCases::Next() {
  // Without variables there is nothing to read, but the library would return empty cases forever.
  if (m_shown.ColumnCount() == 0 || m_cases->Next() == 0) return false;
  for (Field& field : m_fields) Check(field);
  ++m_row;
  return true;
}

void FileCases::Check(Field& field) {
  const std::string_view text(CellText(&m_case[field.cell]), field.width);
  if (text.find(kReplacement) != text.npos && (!m_hasReplacement || IsReplaced(field))) ++m_replacedValues;
  if (field.storedWidth * kMostBytesForAByte > kMostWidth) Cut(field);
}

// The encoding has the replacement character, so that the file may contain it.
bool FileCases::IsReplaced(Field& field) {
  if (field.storedWidth == 0) FindStored(field);
  return QUAVMBCodePageToU8(m_converter.get(), m_text, std::string(StoredText(field))) != 0;
}

std::string_view FileCases::StoredText(const Field& field) {
  if (!m_storedCases) m_storedCases.reset(m_stored.MakeIterator(nullptr));
  if (m_storedRow != m_row) {
    if (m_storedCases->Tell() != m_row) m_storedCases->Seek(m_row);
    if (m_storedCases->Next() == 0) return {};
    m_storedRow = m_row;
  }
  return WithoutTrailingBlanks({CellText(m_storedCases->GetObsPointer(0) + field.storedCell), field.storedWidth});
}

void FileCases::Cut(const Field& field) {
  const std::string_view stored = StoredText(field);
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
  Losses losses;
  losses.Add("values that were cut, because a string has at most 32767 bytes in UTF-8", m_lostValues);
  losses.Add(ReplacedValues(m_stored.CharacterEncoding()), m_replacedValues);
  losses.Report(m_stored.GetFileSpec());
}

}  // namespace tool
