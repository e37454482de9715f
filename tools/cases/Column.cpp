#include "tools/cases/Column.h"

#include "Columns/text/IsoText.h"
#include "Columns/text/NumberText.h"

namespace tool {

using namespace dstext;

namespace {

// Returns true when values from the cells of a variable of the type can be looked up in the map. Variables of several
// types may share a map, which has the type of one of them.
bool Fits(const QUAV_ValueLabelMap& map, int type) {
  return (map.Type() == 0) == (type == 0) && CellCount(map.Type()) <= CellCount(type);
}

}  // namespace

Column::Column(const QUAV_DataSource& source, int index, const ShowOptions& options, ShownText& shownText)
    : m_type(source.GetVariable(index).GetType()),
      m_firstCell(static_cast<std::size_t>(source.ObsIndex(index))),
      m_format(source.GetVariable(index).GetFormat()),
      m_options(options),
      m_shownText(&shownText) {
  const QUAV_Variable& variable = source.GetVariable(index);
  m_name = m_shownText->Valid(variable.GetName());
  if (!options.labels || !variable.GetValueLabels().IsValid()) return;
  if (QUAV_ValueLabelMap map(variable.GetValueLabels()); Fits(map, m_type)) m_labels = map;
}

ShownValue Column::Show(const OBS* cells) {
  const OBS* const value = cells + m_firstCell;
  if (m_labels) {
    const char* const label = m_labels->GetLabel(value);
    if (label != nullptr) return {ShownValue::kText, 0, m_shownText->Valid(label)};
  }
  return m_type == 0 ? ShowNumber(*value) : ShowString(value);
}

ShownValue Column::ShowNumber(const OBS& cell) {
  if (cell == kSystemMissingCell) return {ShownValue::kMissing};
  const double number = CellNumber(cell);
  if (const std::string_view name = NonFiniteName(number); !name.empty()) return {ShownValue::kText, 0, name};
  if (m_options.raw) return {ShownValue::kNumber, number};
  m_text.clear();
  if (m_options.readable) {
    if (!AppendReadableTime(m_text, m_format.Type(), number)) AppendReadableNumber(m_text, m_format, number);
  } else if (!AppendIsoText(m_text, m_format.Type(), number)) {
    return {ShownValue::kNumber, number};
  }
  return {ShownValue::kText, 0, m_text};
}

ShownValue Column::ShowString(const OBS* cells) {
  const std::string_view text(CellText(cells), static_cast<std::size_t>(m_type));
  return {ShownValue::kText, 0, m_shownText->Valid(WithoutTrailingBlanks(text))};
}

}  // namespace tool
