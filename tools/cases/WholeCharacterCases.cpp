#include "tools/cases/WholeCharacterCases.h"

#include <algorithm>
#include <string_view>

#include "Columns/text/ShownText.h"
#include "Platform/text/QUAVMB.h"

namespace tool {

using namespace dstext;

WholeCharacterCases::WholeCharacterCases(const QUAV_DataSource& view, const std::string& encoding)
    : m_view(view),
      m_case(view.GetObsAreaSize()),
      m_cases(view.MakeIterator(m_case.data())),
      m_blank(BlankOf(QUAVMBConverterPtr(QUAVMBConverterNew_A(encoding.c_str())).get())) {
  for (int column = 0; column < static_cast<int>(view.ColumnCount()); ++column) {
    const int width = view.GetVariable(column).GetType();
    const std::size_t size = CellCount(width) * sizeof(OBS);
    if (width != 0 && (static_cast<std::size_t>(width) != size || m_blank != ' '))
      m_fields.push_back({static_cast<std::size_t>(view.ObsIndex(column)), static_cast<std::size_t>(width), size});
  }
}

bool WholeCharacterCases::Next() {
  // Without variables there is nothing to read, but the library would return empty cases forever.
  if (m_view.ColumnCount() == 0 || m_cases->Next() == 0) return false;
  for (const Field& field : m_fields) {
    Cut(field);
    if (m_blank != ' ') Pad(field);
  }
  return true;
}

void WholeCharacterCases::Cut(const Field& field) {
  char* const text = CellText(&m_case[field.cell]);
  if (WithoutTrailingBlanks({text + field.width, field.size - field.width}).empty()) return;
  const int length = QUAVMBWholeCharacters_A(text, static_cast<int>(field.size), static_cast<int>(field.width));
  std::fill(text + length, text + field.size, ' ');
}

void WholeCharacterCases::Pad(const Field& field) {
  char* const text = CellText(&m_case[field.cell]);
  const std::size_t length = WithoutTrailingBlanks({text, field.width}).size();
  std::fill(text + length, text + field.width, m_blank);
}

}  // namespace tool
