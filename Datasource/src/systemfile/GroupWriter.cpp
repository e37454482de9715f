#include "systemfile/GroupWriter.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "casecodes/CaseCodes.h"
#include "core/ByteOrder.h"
#include "core/LoadAhead.h"
#include "systemfile/SystemFileException.h"

namespace {}  // namespace

GroupWriter::GroupWriter(QUAV_FileStream& stream, int cellsPerCase, const BegunGroup& begun)
    : m_stream(stream),
      m_cells(cellsPerCase),
      m_encoded(std::make_unique_for_overwrite<std::byte[]>(kRoom)),
      m_encode(ChosenGroupEncoder()),
      m_next(m_encoded.get()),
      m_start(stream.Tell()),
      m_begun(begun) {}

// Adds the first cells of a case to the group that the file has a part of, as many as it still takes. Returns their
// number.
int GroupWriter::ContinueBegun(const OBS* cells) {
  const int count = std::min(kCodesPerGroup - CodeIndex(), m_cells);
  std::copy_n(cells, count, m_open.cells.data() + m_open.count);
  m_open.count += count;
  if (CodeIndex() == kCodesPerGroup) EndGroup();
  return count;
}

void GroupWriter::EndGroup() {
  TakeGroups(EncodeOpen(m_next));
  m_open.count = 0;
  m_begun.codes = 0;
  m_begun.size = kCodesPerGroup;
}

// Encodes the waiting cells after the part that the file has, then adds filler. Returns the end of the group.
std::byte* GroupWriter::EncodeOpen(std::byte* group) const {
  std::byte* literal = std::copy_n(m_begun.bytes.begin(), m_begun.size, group);
  for (int i = 0; i < m_open.count; ++i) {
    const OBS cell = m_open.cells[static_cast<std::size_t>(i)];
    const std::uint8_t code = CodeOfCell(cell);
    group[m_begun.codes + i] = std::byte{code};
    if (code != kCodeLiteral) continue;
    Store(literal, cell);
    literal += sizeof(OBS);
  }
  std::fill(group + CodeIndex(), group + kCodesPerGroup, std::byte{kCodeNothing});
  return literal;
}

void GroupWriter::HandOver() {
  const auto toWrite = static_cast<std::size_t>(std::exchange(m_next, m_encoded.get()) - m_encoded.get());
  const std::size_t written = m_stream.Write(m_encoded.get(), toWrite);
  m_start = m_stream.Tell();
  if (written != toWrite) ThrowSystemFileException(kRowNotWritten, "toWrite", true);
}

void GroupWriter::Flush() {
  if (CodeIndex() != 0) EndGroup();
  if (m_next != m_encoded.get()) HandOver();
}
