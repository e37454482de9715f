#include "systemfile/LongTextCheck.h"

#include <string_view>

#include "Platform/text/Ascii.h"
#include "core/systemfileformat.h"

LongTextCheck::LongTextCheck(const QUAV_DataSource& dictionary, const std::string& encoding)
    : m_converter(QUAVMBConverterNew_A(encoding.c_str())) {
  if (!m_converter) return;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const int width = dictionary.GetVariable(column).GetType();
    if (width > kSegmentType)
      m_fields.push_back({static_cast<std::size_t>(dictionary.ObsIndex(column)), static_cast<std::size_t>(width)});
  }
}

void LongTextCheck::Look(const OBS* cells, long long row) {
  for (const Field& field : m_fields) {
    const std::string_view text(CellText(cells + field.cell), field.width);
    if (quavmb::IsAscii(text) || QUAVMBCodePageToU8(m_converter.get(), m_utf8, std::string(text)) == 0) continue;
    if (m_count++ == 0) m_firstRow = row;
  }
}
