#include "CompressionBuffer.h"

#include <algorithm>
#include <cstdint>

#include "ByteOrder.h"
#include "CaseCodes.h"
#include "SystemFileException.h"

// ---- Groups ----

void CompressedSystemFile::CompressionBuffer::FillWindow() {
  if (m_next != nullptr) m_stream.Skip(static_cast<std::size_t>(m_next - m_window.begin));
  m_windowStart = m_stream.Tell();
  m_window = m_stream.Peek(kMaxGroupSize);
  m_next = m_window.begin;
}

bool CompressedSystemFile::CompressionBuffer::NextGroup() {
  const auto left = [this] { return static_cast<std::size_t>(m_window.end - m_next); };
  if (left() < kMaxGroupSize) FillWindow();

  if (left() < kCodesPerGroup) {
    m_end = true;
    // A stream that failed has not ended: its error belongs to the message.
    const bool failed = !m_stream.Good();
    if (left() != 0 || failed) ThrowSystemFileException(kUnexpectedEnd, "nRead == 0", failed);
    return false;
  }
  const auto codes = Load<std::uint64_t>(m_next);
  const auto literalBytes = static_cast<std::size_t>(CountLiterals(codes)) * sizeof(OBS);
  if (left() - kCodesPerGroup < literalBytes)
    ThrowSystemFileException(kUnexpectedEnd, "nRead == nu*sizeof(OBS)", !m_stream.Good());

  m_end = false;
  m_code = 0;
  m_plain = IsPlainGroup(codes);
  m_codes = m_next;
  m_literal = m_codes + kCodesPerGroup;
  m_groupStart = m_windowStart + (m_codes - m_window.begin);
  m_next = m_literal + literalBytes;
  return true;
}

void CompressedSystemFile::CompressionBuffer::Seek(long groupStart, int index) {
  m_window = {};
  m_next = nullptr;
  m_code = kCodesPerGroup;
  if (m_stream.Seek(groupStart, kSeekFromStart) != 0)
    ThrowSystemFileException(kUnexpectedEnd, "m_stream.Seek(groupStart, kSeekFromStart) == 0", true);
  if (!NextGroup()) return;
  m_literal += std::count(m_codes, m_codes + index, std::byte{kCodeLiteral}) * static_cast<long>(sizeof(OBS));
  m_code = index;
}

// ---- Reading ----

// Decodes code by code, to the end of the group or of the case. Returns the next cell.
int CompressedSystemFile::CompressionBuffer::ReadCarefully(OBS* cells, int cell, const bool* numericMap) {
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
      cells[cell] = Load<OBS>(m_literal, turn ? ByteOrder::reversed : ByteOrder::native);
      m_literal += sizeof(OBS);
    } else {
      cells[cell] = kCellOfCode[code];
    }
    ++cell;
  }
  return cell;
}

int CompressedSystemFile::CompressionBuffer::Read(OBS* cells, const bool* numericMap) {
  int cell = 0;
  while (cell < m_cells) {
    if (m_code == kCodesPerGroup) {
      if (numericMap == nullptr) {
        const DecodedGroups decoded = DecodeGroups(m_next, m_window.end, cells + cell, cells + m_cells);
        m_next = decoded.next;
        cell = static_cast<int>(decoded.out - cells);
        if (cell == m_cells) break;
      }
      if (!NextGroup()) {
        Require(cell == 0, kUnexpectedEnd, "iCell == 0");
        return 0;
      }
    }
    if (m_plain && numericMap == nullptr) {
      const int count = std::min(kCodesPerGroup - m_code, m_cells - cell);
      m_literal = DecodeCodes(m_codes + m_code, count, m_literal, cells + cell);
      m_code += count;
      cell += count;
    } else {
      cell = ReadCarefully(cells, cell, numericMap);
    }
  }
  return m_cells;
}

int CompressedSystemFile::CompressionBuffer::SkipCase() {
  if (m_end) return m_cells;
  int cell = 0;
  while (cell < m_cells) {
    if (m_code == kCodesPerGroup && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return 0;
    }
    const auto code = static_cast<std::uint8_t>(m_codes[m_code]);
    m_code = code == kCodeEndOfGroup ? kCodesPerGroup : m_code + 1;
    if (code == kCodeNothing || code == kCodeEndOfGroup) continue;
    if (code == kCodeLiteral) m_literal += sizeof(OBS);
    ++cell;
  }
  return m_cells;
}

// ---- Writing ----

void CompressedSystemFile::CompressionBuffer::KeepForWriting() {
  if (m_code != kCodesPerGroup) {
    std::copy(m_codes, m_literal, m_slots.begin());
    m_slotBytes = static_cast<std::size_t>(m_literal - m_codes);
  }
  m_window = {};
  m_next = nullptr;
  m_writing = true;
}

void CompressedSystemFile::CompressionBuffer::WriteGroup() {
  m_code = kCodesPerGroup;
  if (m_stream.Write(m_slots.data(), m_slotBytes) != m_slotBytes)
    ThrowSystemFileException(kRowNotWritten, "toWrite", true);
}

void CompressedSystemFile::CompressionBuffer::Write(const OBS* cells) {
  m_writing = true;
  for (int cell = 0; cell < m_cells; ++cell) {
    if (m_code == kCodesPerGroup) {
      m_code = 0;
      m_slotBytes = kCodesPerGroup;
    }
    const std::uint8_t code = CodeOfCell(cells[cell]);
    m_slots[static_cast<std::size_t>(m_code++)] = std::byte{code};
    if (code == kCodeLiteral) {
      Store(m_slots.data() + m_slotBytes, cells[cell]);
      m_slotBytes += sizeof(OBS);
    }
    if (m_code == kCodesPerGroup) WriteGroup();
  }
}

void CompressedSystemFile::CompressionBuffer::Flush() {
  if (m_code == kCodesPerGroup) return;
  std::fill(m_slots.begin() + m_code, m_slots.begin() + kCodesPerGroup, std::byte{kCodeNothing});
  WriteGroup();
}
