#include "systemfile/GroupWriter.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "casecodes/CaseCodes.h"
#include "casecodes/GroupEncoder.h"
#include "core/ByteOrder.h"
#include "systemfile/SystemFileException.h"

GroupWriter::GroupWriter(QUAV_FileStream& stream, int cellsPerCase, const BegunGroup& begun)
    : m_stream(stream),
      m_cells(cellsPerCase),
      m_encoded(std::make_unique_for_overwrite<std::byte[]>(kRoom)),
      m_codes(begun.codes),
      m_begun(begun) {}

void GroupWriter::Write(const OBS* cells) {
  int cell = 0;
  if (m_codes != 0) cell = Keep(cells, std::min(kCodesPerGroup - m_codes, m_cells));
  while (m_cells - cell >= kCodesPerGroup) {
    const int count = std::min((m_cells - cell) / kCodesPerGroup, GroupsOfRoom());
    std::byte* const groups = m_encoded.get() + m_encodedBytes;
    m_encodedBytes += static_cast<std::size_t>(EncodeGroups(cells + cell, count, groups) - groups);
    cell += count * kCodesPerGroup;
    if (GroupsOfRoom() == 0) HandOver();
  }
  if (cell < m_cells) Keep(cells + cell, m_cells - cell);
}

// Adds cells to the current group, which is encoded when it is full. Returns their number.
int GroupWriter::Keep(const OBS* cells, int count) {
  std::copy_n(cells, count, m_waiting.begin() + m_codes);
  m_codes += count;
  if (m_codes == kCodesPerGroup) EndGroup();
  return count;
}

void GroupWriter::EndGroup() {
  std::byte* const group = m_encoded.get() + m_encodedBytes;
  const bool isPlain = m_begun.codes == 0 && m_codes == kCodesPerGroup;
  std::byte* const end = isPlain ? EncodeGroups(m_waiting.data(), 1, group) : EncodeWaiting(group);
  m_encodedBytes += static_cast<std::size_t>(end - group);
  m_codes = 0;
  m_begun.codes = 0;
  m_begun.size = kCodesPerGroup;
  if (GroupsOfRoom() == 0) HandOver();
}

// Encodes the waiting cells after the part that the file has, then adds filler. Returns the end of the group.
std::byte* GroupWriter::EncodeWaiting(std::byte* group) {
  std::byte* literal = std::copy_n(m_begun.bytes.begin(), m_begun.size, group);
  for (int i = m_begun.codes; i < m_codes; ++i) {
    const OBS cell = m_waiting[static_cast<std::size_t>(i)];
    const std::uint8_t code = CodeOfCell(cell);
    group[i] = std::byte{code};
    if (code != kCodeLiteral) continue;
    Store(literal, cell);
    literal += sizeof(OBS);
  }
  std::fill(group + m_codes, group + kCodesPerGroup, std::byte{kCodeNothing});
  return literal;
}

void GroupWriter::HandOver() {
  const std::size_t toWrite = std::exchange(m_encodedBytes, 0);
  if (m_stream.Write(m_encoded.get(), toWrite) != toWrite) ThrowSystemFileException(kRowNotWritten, "toWrite", true);
}

void GroupWriter::Flush() {
  if (m_codes != 0) EndGroup();
  if (m_encodedBytes != 0) HandOver();
}
