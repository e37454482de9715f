#include "tools/cases/LossWatch.h"

#include "Columns/text/ShownText.h"

namespace tool {

using namespace dstext;

LossWatch::LossWatch(CaseReader& cases, const QUAV_DataSource& dictionary, const std::string& encoding)
    : m_cases(cases),
      m_converter(QUAVMBConverterNew_A(encoding.c_str())),
      m_keepsAscii(QUAVMBConverterKeepsAscii(m_converter.get())),
      m_blank(BlankOf(m_converter.get())),
      m_room(MAX_STRING_TYPE) {
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const int width = dictionary.GetVariable(column).GetType();
    if (width != 0) m_fields.push_back({static_cast<std::size_t>(dictionary.ObsIndex(column)), width});
  }
}

bool LossWatch::Next() {
  if (!m_cases.Next()) return false;
  for (const Field& field : m_fields) {
    const std::string_view value(CellText(Cells() + field.cell), static_cast<std::size_t>(field.width));
    if (m_keepsAscii && IsAscii(value)) continue;
    if (IsLost(WithoutTrailingBlanks(value), field.width)) ++m_lostValues;
  }
  return true;
}

bool LossWatch::IsLost(std::string_view value, int width) {
  int lost = 0;
  const int length =
      QUAVMB8toCodePage(m_converter.get(), m_room.data(), width, value.data(), static_cast<int>(value.size()), &lost);
  // Where byte 32 is no blank, one at the end counts as one all the same (WholeCharacterCases).
  const bool isPadded = m_blank != ' ' && length != 0 && m_room[static_cast<std::size_t>(length - 1)] == ' ';
  return lost != 0 || isPadded;
}

}  // namespace tool
