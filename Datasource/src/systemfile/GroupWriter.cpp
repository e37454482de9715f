#include "systemfile/GroupWriter.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "casecodes/CaseCodes.h"
#include "casecodes/GroupEncoder.h"
#include "core/ByteOrder.h"
#include "core/LoadAhead.h"
#include "systemfile/SystemFileException.h"

namespace {

// Many callers have their cases one after another in memory. The processor by itself would load the next ones too late.
constexpr std::size_t kBytesAhead = 8192;

}  // namespace

GroupWriter::GroupWriter(QUAV_FileStream& stream, int cellsPerCase, const BegunGroup& begun)
    : m_stream(stream),
      m_cells(cellsPerCase),
      m_encoded(std::make_unique_for_overwrite<std::byte[]>(kRoom)),
      m_next(m_encoded.get()),
      m_start(stream.Tell()),
      m_codes(begun.codes),
      m_begun(begun) {}

void GroupWriter::Write(const OBS* cells) {
  LoadAhead(cells, static_cast<std::size_t>(m_cells) * sizeof(OBS), kBytesAhead);
  int cell = m_codes == 0 ? 0 : BeginCase(cells);
  while (m_cells - cell >= kCodesPerGroup) {
    const int groups = std::min((m_cells - cell) / kCodesPerGroup, kGroupsAtOnce);
    TakeGroups(EncodeGroups(cells + cell, groups, m_next));
    cell += groups * kCodesPerGroup;
  }
  if (cell < m_cells) EndCase(cells + m_cells, m_cells - cell);
}

// Adds the first cells of a case to the current group, as many as it still takes. Returns their number.
int GroupWriter::BeginCase(const OBS* cells) {
  const int count = std::min(kCodesPerGroup - m_codes, m_cells);
  OBS* const to = m_waiting.data() + kCodesPerGroup + m_codes;
  // More cells than wanted are no harm, and a copy of a fixed number is faster.
  if (m_cells >= kCodesPerGroup)
    std::copy_n(cells, kCodesPerGroup, to);
  else
    std::copy_n(cells, count, to);
  m_codes += count;
  if (m_codes == kCodesPerGroup) EndGroup();
  return count;
}

// Begins a group with the last cells of a case, fewer than a group has.
void GroupWriter::EndCase(const OBS* end, int count) {
  OBS* const to = m_waiting.data() + kCodesPerGroup + count;
  if (m_cells >= kCodesPerGroup)
    std::copy_n(end - kCodesPerGroup, kCodesPerGroup, to - kCodesPerGroup);
  else
    std::copy_n(end - count, count, to - count);
  m_codes = count;
}

void GroupWriter::EndGroup() {
  const bool isPlain = m_begun.codes == 0 && m_codes == kCodesPerGroup;
  TakeGroups(isPlain ? EncodeGroups(m_waiting.data() + kCodesPerGroup, 1, m_next) : EncodeWaiting(m_next));
  m_codes = 0;
  m_begun.codes = 0;
  m_begun.size = kCodesPerGroup;
}

// Encodes the waiting cells after the part that the file has, then adds filler. Returns the end of the group.
std::byte* GroupWriter::EncodeWaiting(std::byte* group) {
  std::byte* literal = std::copy_n(m_begun.bytes.begin(), m_begun.size, group);
  for (int i = m_begun.codes; i < m_codes; ++i) {
    const OBS cell = m_waiting[static_cast<std::size_t>(kCodesPerGroup + i)];
    const std::uint8_t code = CodeOfCell(cell);
    group[i] = std::byte{code};
    if (code != kCodeLiteral) continue;
    Store(literal, cell);
    literal += sizeof(OBS);
  }
  std::fill(group + m_codes, group + kCodesPerGroup, std::byte{kCodeNothing});
  return literal;
}

// Keeps the groups that were encoded up to there.
void GroupWriter::TakeGroups(std::byte* end) {
  constexpr std::ptrdiff_t kFull = kRoom - kGroupsAtOnce * kMaxGroupSize;
  m_next = end;
  if (m_next - m_encoded.get() > kFull) HandOver();
}

void GroupWriter::HandOver() {
  const auto toWrite = static_cast<std::size_t>(std::exchange(m_next, m_encoded.get()) - m_encoded.get());
  const std::size_t written = m_stream.Write(m_encoded.get(), toWrite);
  m_start = m_stream.Tell();
  if (written != toWrite) ThrowSystemFileException(kRowNotWritten, "toWrite", true);
}

void GroupWriter::Flush() {
  if (m_codes != 0) EndGroup();
  if (m_next != m_encoded.get()) HandOver();
}
