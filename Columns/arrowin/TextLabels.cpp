#include "Columns/arrowin/TextLabels.h"

#include <utility>

#include "Columns/text/ShownText.h"
#include "datasrc/QUAV_ValueLabelMap.h"

namespace arrowin {

TextLabels::TextLabels(const QUAV_Variable& variable) {
  if (!variable.GetValueLabels().IsValid()) return;
  QUAV_ValueLabelMap map(variable.GetValueLabels());
  const char* label = nullptr;
  const auto add = [&](Value value) {
    const auto [place, isNew] =
        m_values.try_emplace(std::string(dstext::WithoutTrailingBlanks(label)), std::move(value));
    if (!isNew) place->second.isShared = true;
  };
  map.Reset();
  if (variable.GetType() == 0) {
    for (double value = 0; map.GetNextPair(value, label) != 0;) add({.number = NumberCell(value)});
  } else {
    for (std::string value; map.GetNextPair(value, label) != 0;)
      add({.text = std::string(dstext::WithoutTrailingBlanks(value))});
  }
}

const TextLabels::Value* TextLabels::Find(std::string_view label) const {
  const auto found = m_values.find(dstext::WithoutTrailingBlanks(label));
  return found != m_values.end() ? &found->second : nullptr;
}

}  // namespace arrowin
