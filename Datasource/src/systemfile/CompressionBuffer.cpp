#include "systemfile/CompressionBuffer.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "casecodes/CaseCodes.h"
#include "casecodes/GroupEncoder.h"
#include "core/ByteOrder.h"
#include "systemfile/SystemFileException.h"

// ---- Groups ----

void CompressedSystemFile::CompressionBuffer::FillWindow() {
  if (m_next != nullptr) m_stream.Skip(static_cast<std::size_t>(m_next - m_window.begin));
  if (m_dataEnd == kNotKnown) m_dataEnd = m_stream.Length();
  m_windowStart = m_stream.Tell();
  m_window = m_stream.Peek(kMaxGroupSize);
  m_next = m_window.begin;
  const long size = static_cast<long>(m_window.Size());
  m_windowEnd = m_window.begin + std::clamp(m_dataEnd - m_windowStart, 0L, size);
}

// Returns whether a whole group is at m_next.
bool CompressedSystemFile::CompressionBuffer::HasNextGroup() {
  if (m_window.end - m_next < static_cast<std::ptrdiff_t>(kMaxGroupSize)) FillWindow();
  if (m_windowEnd - m_next >= kCodesPerGroup) return true;
  m_end = true;
  // A failed stream has not ended: its error belongs to the message.
  const bool failed = !m_stream.Good();
  if (m_windowEnd > m_next || failed) ThrowSystemFileException(kUnexpectedEnd, "nRead == 0", failed);
  return false;
}

bool CompressedSystemFile::CompressionBuffer::NextGroup() {
  if (!HasNextGroup()) return false;
  const auto left = [this] { return static_cast<std::size_t>(m_window.end - m_next); };
  const auto codes = Load<std::uint64_t>(m_next);
  const auto literalBytes = static_cast<std::size_t>(CountLiterals(codes)) * sizeof(OBS);
  if (left() - kCodesPerGroup < literalBytes)
    ThrowSystemFileException(kUnexpectedEnd, "nRead == nu*sizeof(OBS)", !m_stream.Good());

  m_end = false;
  m_code = 0;
  m_codes = m_next;
  m_next = m_codes + kCodesPerGroup + literalBytes;
  return true;
}

void CompressedSystemFile::CompressionBuffer::Seek(long groupStart, int index) {
  m_ahead.Clear();
  m_window = {};
  m_next = m_windowEnd = nullptr;
  m_code = kCodesPerGroup;
  if (m_stream.Seek(groupStart, kSeekFromStart) != 0)
    ThrowSystemFileException(kUnexpectedEnd, "m_stream.Seek(groupStart, kSeekFromStart) == 0", true);
  if (NextGroup()) m_code = index;
}

// Makes the group of the next cell the current one, if it was decoded ahead.
void CompressedSystemFile::CompressionBuffer::TakeInHand() {
  if (m_ahead.Left() == 0) return;
  m_codes = m_ahead.Group();
  m_code = m_ahead.Code();
  m_ahead.Clear();
}

void CompressedSystemFile::CompressionBuffer::DecodeAhead() {
  if (m_window.end - m_next < static_cast<std::ptrdiff_t>(kMaxGroupSize)) FillWindow();
  m_ahead.Decode(m_next, m_windowEnd);
}

// Returns the first unused literal of the current group.
const std::byte* CompressedSystemFile::CompressionBuffer::NextLiteral() const {
  const auto used = std::count(m_codes, m_codes + m_code, std::byte{kCodeLiteral});
  return m_codes + kCodesPerGroup + static_cast<std::size_t>(used) * sizeof(OBS);
}

// ---- Reading ----

// Decodes code by code, to the end of the group or of the case. Returns the index of the next cell.
int CompressedSystemFile::CompressionBuffer::ReadCarefully(OBS* cells, int cell, const bool* numericMap) {
  const std::byte* literal = NextLiteral();
  while (m_code < kCodesPerGroup && cell < m_cells) {
    const auto code = static_cast<std::uint8_t>(m_codes[m_code]);
    if (code == kCodeEndOfGroup) {
      m_code = kCodesPerGroup;
      break;
    }
    ++m_code;
    if (code == kCodeNothing) continue;
    if (code == kCodeLiteral) {
      const bool turn = numericMap != nullptr && numericMap[cell];
      cells[cell] = Load<OBS>(literal, turn ? ByteOrder::reversed : ByteOrder::native);
      literal += sizeof(OBS);
    } else {
      cells[cell] = kCellOfCode[code];
    }
    ++cell;
  }
  return cell;
}

// Reads a case of which some cells are not decoded yet.
int CompressedSystemFile::CompressionBuffer::ReadOn(OBS* cells, const bool* numericMap) {
  int cell = 0;
  while (cell < m_cells) {
    if (m_code == kCodesPerGroup && m_ahead.Left() == 0 && numericMap == nullptr) DecodeAhead();
    if (const int count = std::min(m_ahead.Left(), m_cells - cell); count != 0) {
      m_ahead.Take(cells + cell, count);
      cell += count;
      continue;
    }
    if (m_code == kCodesPerGroup && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return 0;
    }
    cell = ReadCarefully(cells, cell, numericMap);
  }
  return m_cells;
}

int CompressedSystemFile::CompressionBuffer::SkipCase() {
  if (m_end) return m_cells;
  int cell = std::min(m_ahead.Left(), m_cells);
  m_ahead.Skip(cell);
  while (cell < m_cells) {
    if (m_code == kCodesPerGroup)
      cell += kCodesPerGroup * PassGroups(m_next, m_windowEnd, (m_cells - cell) / kCodesPerGroup);
    if (cell == m_cells) break;
    if (m_code == kCodesPerGroup && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return 0;
    }
    if (IsPlainGroup(Load<std::uint64_t>(m_codes))) {
      const int passed = std::min(kCodesPerGroup - m_code, m_cells - cell);
      m_code += passed;
      cell += passed;
      continue;
    }
    const auto code = static_cast<std::uint8_t>(m_codes[m_code]);
    m_code = code == kCodeEndOfGroup ? kCodesPerGroup : m_code + 1;
    if (code != kCodeNothing && code != kCodeEndOfGroup) ++cell;
  }
  return m_cells;
}

// ---- Writing ----

void CompressedSystemFile::CompressionBuffer::StartWriting() {
  if (m_writing) return;
  m_writing = true;
  m_staged = std::make_unique_for_overwrite<std::byte[]>(kStagedSize);
}

void CompressedSystemFile::CompressionBuffer::KeepForWriting() {
  TakeInHand();
  StartWriting();
  if (m_code != kCodesPerGroup) {
    const std::byte* const end = NextLiteral();
    std::copy(m_codes, end, m_staged.get());
    m_keptCodes = m_code;
    m_keptBytes = static_cast<std::size_t>(end - m_codes);
  }
  m_window = {};
  m_next = m_windowEnd = nullptr;
}

void CompressedSystemFile::CompressionBuffer::Write(const OBS* cells) {
  StartWriting();
  int cell = 0;
  if (m_code != kCodesPerGroup) cell = Hold(cells, std::min(kCodesPerGroup - m_code, m_cells));
  while (m_cells - cell >= kCodesPerGroup) {
    const int count = std::min((m_cells - cell) / kCodesPerGroup, GroupsOfRoom());
    std::byte* const groups = m_staged.get() + m_stagedBytes;
    m_stagedBytes += static_cast<std::size_t>(EncodeGroups(cells + cell, count, groups) - groups);
    cell += count * kCodesPerGroup;
    if (GroupsOfRoom() == 0) HandOver();
  }
  if (cell < m_cells) Hold(cells + cell, m_cells - cell);
}

// Adds cells to the current group, which is encoded when it is full. Returns their number.
int CompressedSystemFile::CompressionBuffer::Hold(const OBS* cells, int count) {
  if (m_code == kCodesPerGroup) m_code = 0;
  std::copy_n(cells, count, m_held.begin() + m_code);
  m_code += count;
  if (m_code == kCodesPerGroup) EndGroup();
  return count;
}

void CompressedSystemFile::CompressionBuffer::EndGroup() {
  std::byte* const group = m_staged.get() + m_stagedBytes;
  const bool isPlain = m_keptCodes == 0 && m_code == kCodesPerGroup;
  std::byte* const end = isPlain ? EncodeGroups(m_held.data(), 1, group) : EncodeHeld(group);
  m_stagedBytes += static_cast<std::size_t>(end - group);
  m_code = kCodesPerGroup;
  m_keptCodes = 0;
  m_keptBytes = kCodesPerGroup;
  if (GroupsOfRoom() == 0) HandOver();
}

// Encodes the held cells after the kept part, then adds filler. Returns the end of the group.
std::byte* CompressedSystemFile::CompressionBuffer::EncodeHeld(std::byte* group) {
  std::byte* literal = group + m_keptBytes;
  for (int i = m_keptCodes; i < m_code; ++i) {
    const OBS cell = m_held[static_cast<std::size_t>(i)];
    const std::uint8_t code = CodeOfCell(cell);
    group[i] = std::byte{code};
    if (code != kCodeLiteral) continue;
    Store(literal, cell);
    literal += sizeof(OBS);
  }
  std::fill(group + m_code, group + kCodesPerGroup, std::byte{kCodeNothing});
  return literal;
}

void CompressedSystemFile::CompressionBuffer::HandOver() {
  const std::size_t toWrite = std::exchange(m_stagedBytes, 0);
  if (m_stream.Write(m_staged.get(), toWrite) != toWrite) ThrowSystemFileException(kRowNotWritten, "toWrite", true);
}

void CompressedSystemFile::CompressionBuffer::Flush() {
  if (m_code != kCodesPerGroup) EndGroup();
  if (m_stagedBytes != 0) HandOver();
}
