// The value label record and the index record after it. Format: docs/system-file.md, "Value label record".

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "core/systemfileformat.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/DictionaryReader.h"

namespace {

// Returns the pairs with byte-swapped values.
QUAV_ValueLabelMap WithTurnedValues(QUAV_ValueLabelMap map) {
  std::vector<ValueLabel> pairs;
  const OBS* value = nullptr;
  const char* label = nullptr;
  for (map.Reset(); map.GetNextPair(value, label);) pairs.push_back({{Turned(*value)}, label});
  QUAV_ValueLabelMap turned(0);
  turned.AddPairs(std::move(pairs));
  return turned;
}

}  // namespace

// Deliberate: a slot at which no variable begins ends the process. A slot whose column no longer exists, because very
// long strings were joined before this record, is an error of the file.
QUAV_Variable& DictionaryReader::VariableAt(std::int32_t slot) {
  Require(m_slots.ColumnAt(slot) < static_cast<int>(m_source.ColumnCount()), kMalformed, "column < ColumnCount()");
  return m_slots.GetVariable(slot);
}

void DictionaryReader::ReadLabelRecord() {
  std::vector<ValueLabel> pairs;
  for (auto nLabels = ReadNumber<std::int32_t>("len == sizeof(nLabels)"); nLabels > 0; --nLabels) {
    std::array<std::byte, kLabelHeadSize> head;
    ReadWhole(head.data(), head.size(), "len == header.size()");
    ByteCursor in(head, m_options.Order());
    const OBS value = in.Cell();
    const auto length = static_cast<int>(in.Bytes(1)[0]);
    std::array<char, PaddedLabelSize(255) + 1> text;
    ReadWhole(text.data(), static_cast<std::size_t>(PaddedLabelSize(length)), "len == paddedLen");
    text[static_cast<std::size_t>(length)] = '\0';
    pairs.push_back({{value}, text.data()});
  }
  QUAV_ValueLabelMap map(0);
  map.AddPairs(std::move(pairs));

  std::array<std::byte, 2 * sizeof(std::int32_t)> h;
  ReadWhole(h.data(), h.size(), "len == 2*sizeof(int32)");
  ByteCursor in(h, m_options.Order());
  Require(in.I32() == kVariableIndexRecord, kMalformed, "h[0] == 4");
  const std::int32_t nVars = in.I32();
  Require(nVars > 0, kMalformed, "h[1] > 0");
  RequireLeft(std::int64_t{nVars} * 4, "len == nVars*sizeof(int32)");
  std::vector<std::byte> slots(static_cast<std::size_t>(nVars) * sizeof(std::int32_t));
  ReadWhole(slots.data(), slots.size(), "len == nVars*sizeof(int32)");
  ByteCursor slot(slots, m_options.Order());

  // Only now the file says whether the values are numbers.
  QUAV_Variable* variable = &VariableAt(slot.I32());
  map.Type(variable->GetType());
  if (map.Type() == 0 && m_options.reversed) map = WithTurnedValues(map);
  for (;;) {
    variable->SetValueLabels(map);
    if (slot.Left() == 0) break;
    variable = &VariableAt(slot.I32());
  }
}
