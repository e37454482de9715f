// The variable record. Format: docs/system-file.md, "Variable record".

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "core/TrailingBlanks.h"
#include "core/systemfileformat.h"
#include "datasrc/QUAV_Variable.h"
#include "dictionary/varformat.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/DictionaryReader.h"

namespace {

std::int64_t RoundedUp(std::int64_t size, std::int64_t unit) { return (size + unit - 1) / unit * unit; }

}  // namespace

void DictionaryReader::ReadVariableRecord() {
  std::array<std::byte, kVariableFixedSize> block{};
  std::fill(block.end() - kShortNameSize, block.end(), std::byte{' '});
  ReadLoosely(block.data(), block.size());
  ByteCursor in(block, m_options.Order());
  const std::int32_t type = in.I32();
  const bool hasLabel = in.I32() != 0;
  const std::int32_t nMissing = in.I32();
  const std::int32_t printFormat = in.I32();
  const std::int32_t writeFormat = in.I32();
  const std::string name(WithoutTrailingBlanks(in.Text(kShortNameSize)));
  // The file stores a wider string as several variables.
  Require(type <= kMaxFileStringWidth, kMalformed, "type <= 255");

  // A negative type continues the string before it: the parts of the record are read as always, then dropped.
  const bool continuation = type < 0;
  QUAV_Variable variable(std::max(type, 0));
  if (!continuation) {
    variable.SetName(name.c_str());
    variable.SetFormat(FromStoredFormat(static_cast<StoredFormat>(printFormat)));
    variable.SetWriteFormat(FromStoredFormat(static_cast<StoredFormat>(writeFormat)));
  }
  if (hasLabel) {
    std::array<std::byte, sizeof(std::int32_t)> raw{};
    ReadLoosely(raw.data(), raw.size());
    const std::int64_t length = std::max(Load<std::int32_t>(raw.data(), m_options.Order()), 0);
    std::string text(static_cast<std::size_t>(std::min(RoundedUp(length, kVariableLabelRounding), Left())), '\0');
    ReadLoosely(text.data(), text.size());
    variable.SetLabel(text.data(), static_cast<unsigned int>(std::min<std::int64_t>(length, std::ssize(text))));
  }
  if (nMissing != 0) {
    Require(-kMaxMissingCount <= nMissing && nMissing <= kMaxMissingCount, kMalformed,
            "-3 <= nMissing && nMissing <= 3");
    std::array<OBS, kMaxMissingCount> values{};
    ReadLoosely(values.data(), static_cast<std::size_t>(std::abs(nMissing)) * sizeof(OBS));
    if (type == 0 && m_options.reversed)
      for (OBS& value : values) value = Turned(value);
    variable.SetMissingValues(nMissing, &values[0], &values[1], &values[2]);
  }
  if (!continuation) m_source.MakeVariable(variable, nullptr);
}
