#include "tools/cases/LongTextMender.h"

#include <algorithm>

#include "Columns/text/ShownText.h"
#include "tools/messages/Losses.h"

namespace tool {

using namespace dstext;

namespace {

constexpr int kWidestUndivided = 255;

}  // namespace

LongTextMender::LongTextMender(const QUAV_DataSource& dictionary, const std::string& encoding)
    : m_encoding(encoding), m_converter(QUAVMBConverterNew_A(encoding.c_str())), m_case(dictionary.GetObsAreaSize()) {
  if (!m_converter) return;
  m_keepsAscii = QUAVMBConverterKeepsAscii(m_converter.get());
  m_blank = BlankOf(m_converter.get());
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const int width = dictionary.GetVariable(column).GetType();
    if (width > kWidestUndivided)
      m_fields.push_back({static_cast<std::size_t>(dictionary.ObsIndex(column)), static_cast<std::size_t>(width)});
  }
}

const OBS* LongTextMender::Mended(const OBS* cells) {
  const OBS* mended = cells;
  for (const Field& field : m_fields) {
    const std::string_view text(CellText(cells + field.cell), field.width);
    if ((m_keepsAscii && IsAscii(text)) || QUAVMBCodePageToU8(m_converter.get(), m_utf8, std::string(text)) == 0)
      continue;
    if (mended == cells) {
      std::copy_n(cells, m_case.size(), m_case.begin());
      mended = m_case.data();
    }
    Mend(field);
  }
  return mended;
}

void LongTextMender::Mend(const Field& field) {
  char* const text = CellText(&m_case[field.cell]);
  const int length = QUAVMB8toCodePage(m_converter.get(), text, static_cast<int>(field.width), m_utf8.data(),
                                       static_cast<int>(m_utf8.size()), nullptr);
  std::fill(text + length, text + field.width, m_blank);
  ++m_mendedValues;
}

void LongTextMender::Report(const std::string& file) const {
  Losses losses;
  losses.Add(ReplacedValues(m_encoding), m_mendedValues);
  losses.Report(file);
}

}  // namespace tool
