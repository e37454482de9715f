#include "systemfile/GroupReader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "casecodes/CaseCodes.h"
#include "core/ByteOrder.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr long long kMostAtOnce = std::numeric_limits<int>::max();

// Returns the first literal of a group that its first `codes` codes do not use.
const std::byte* LiteralAfter(const std::byte* group, int codes) {
  const auto used = std::count(group, group + codes, std::byte{kCodeLiteral});
  return group + kCodesPerGroup + static_cast<std::size_t>(used) * sizeof(OBS);
}

}  // namespace

// ---- Groups ----

void GroupReader::FillWindow() {
  if (m_next != nullptr) m_stream.Skip(static_cast<std::size_t>(m_next - m_window.begin));
  if (m_dataEnd == kNotKnown) m_dataEnd = m_stream.Length();
  m_windowStart = m_stream.Tell();
  m_window = m_stream.Peek(kMaxGroupSize);
  m_next = m_window.begin;
  const long size = static_cast<long>(m_window.Size());
  m_windowEnd = m_window.begin + std::clamp(m_dataEnd - m_windowStart, 0L, size);
}

// Returns whether the codes of a group are at m_next.
bool GroupReader::HasNextGroup() {
  KeepGroupInWindow();
  if (m_windowEnd - m_next >= kCodesPerGroup) return true;
  m_atEnd = true;
  // A failed stream has not ended: its error belongs to the message.
  const bool failed = !m_stream.Good();
  if (m_windowEnd > m_next || failed) ThrowSystemFileException(kUnexpectedEnd, "nRead == 0", failed);
  return false;
}

bool GroupReader::NextGroup() {
  if (!HasNextGroup()) return false;
  const auto literalBytes = CountLiterals(Load<std::uint64_t>(m_next)) * static_cast<std::ptrdiff_t>(sizeof(OBS));
  if (m_window.end - m_next - kCodesPerGroup < literalBytes)
    ThrowSystemFileException(kUnexpectedEnd, "nRead == nu*sizeof(OBS)", !m_stream.Good());

  m_atEnd = false;
  m_code = 0;
  m_group = m_next;
  m_next = m_group + kCodesPerGroup + literalBytes;
  return true;
}

void GroupReader::Seek(long groupStart, int index) {
  m_ahead.Clear();
  m_window = {};
  m_next = m_windowEnd = nullptr;
  m_code = kCodesPerGroup;
  if (m_stream.Seek(groupStart, kSeekFromStart) != 0)
    ThrowSystemFileException(kUnexpectedEnd, "m_stream.Seek(groupStart, kSeekFromStart) == 0", true);
  if (!NextGroup()) return;
  // Literals after the end of a group are not in the file. A position may come from a stranger (Columns/splits).
  Require(std::find(m_group, m_group + index, std::byte{kCodeEndOfGroup}) == m_group + index, kUnexpectedEnd,
          "index <= codes of the group");
  m_code = index;
}

void GroupReader::KeepGroupInWindow() {
  if (m_window.end - m_next < static_cast<std::ptrdiff_t>(kMaxGroupSize)) FillWindow();
}

void GroupReader::DecodeAhead() {
  KeepGroupInWindow();
  m_ahead.Decode(m_next, m_windowEnd);
}

void GroupReader::FindAhead() {
  KeepGroupInWindow();
  m_ahead.Find(m_next, m_windowEnd);
}

// Loads the group of the next cell ahead, to be decoded code by code. The groups after it are found again.
void GroupReader::LoadGroupAhead() {
  m_code = m_ahead.Code();
  m_group = m_ahead.Group();
  m_next = LiteralAfter(m_group, kCodesPerGroup);
  m_ahead.Clear();
}

BegunGroup GroupReader::UsedPart() const {
  BegunGroup part;
  part.codes = CodeIndex();
  if (part.codes == 0) return part;
  const std::byte* const group = m_ahead.Left() != 0 ? m_ahead.Group() : m_group;
  const std::byte* const end = LiteralAfter(group, part.codes);
  std::copy(group, end, part.bytes.begin());
  part.size = static_cast<std::size_t>(end - group);
  return part;
}

// ---- Cases ----

// Decodes at most `most` cells code by code, to the end of the group. `numericMap` is null or has a flag for each of
// them. Returns their number.
int GroupReader::ReadCodes(OBS* out, int most, const bool* numericMap) {
  const std::byte* literal = LiteralAfter(m_group, m_code);
  int cell = 0;
  while (HasGroup() && cell < most) {
    const auto code = static_cast<std::uint8_t>(m_group[m_code]);
    if (code == kCodeEndOfGroup) {
      m_code = kCodesPerGroup;
      break;
    }
    ++m_code;
    if (code == kCodeNothing) continue;
    if (code == kCodeLiteral) {
      const bool turn = numericMap != nullptr && numericMap[cell];
      out[cell] = Load<OBS>(literal, turn ? ByteOrder::reversed : ByteOrder::native);
      literal += sizeof(OBS);
    } else {
      out[cell] = kCellOfCode[code];
    }
    ++cell;
  }
  return cell;
}

// Reads a case of which some cells are not decoded yet.
int GroupReader::ReadOn(OBS* cells, const bool* numericMap) {
  // Groups that were only found, by SkipCase.
  if (m_ahead.Left() != 0 && m_ahead.Decoded() <= 0) {
    if (numericMap == nullptr)
      m_ahead.DecodeFound();
    else
      LoadGroupAhead();
  }
  int cell = 0;
  while (cell < m_cells) {
    if (!HasGroup() && m_ahead.Left() == 0 && numericMap == nullptr) DecodeAhead();
    if (const int count = std::min(m_ahead.Left(), m_cells - cell); count != 0) {
      m_ahead.Take(cells + cell, count);
      cell += count;
      continue;
    }
    if (!HasGroup() && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return 0;
    }
    cell += ReadCodes(cells + cell, m_cells - cell, numericMap == nullptr ? nullptr : numericMap + cell);
  }
  return m_cells;
}

int GroupReader::FindCases() {
  if (!HasGroup() && m_ahead.Left() == 0) FindAhead();
  return m_ahead.Left() / m_cells;
}

int GroupReader::DecodeCases(OBS* cells, int most) {
  if (HasGroup() || m_ahead.Decoded() < m_ahead.Left()) return 0;
  // Groups ahead are in the window, which therefore stays as it is.
  if (m_ahead.Left() == 0) KeepGroupInWindow();
  const long long wanted = static_cast<long long>(most) * m_cells;
  m_stored = m_ahead.DecodeTo(cells, static_cast<int>(std::min(wanted, kMostAtOnce)), m_next, m_windowEnd);
  const int whole = m_stored / m_cells;
  if (whole == 0) m_ahead.Use(cells, m_stored, 0);
  return whole;
}

void GroupReader::TakeChosen(std::span<const std::size_t> chosen, OBS* const* columns, int row, int count) {
  for (std::size_t k = 0; k < chosen.size(); ++k)
    m_ahead.Pick(static_cast<int>(chosen[k]), m_cells, count, columns[k] + row);
  m_ahead.Skip(count * m_cells);
}

int GroupReader::ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int row) {
  int cell = 0;
  while (cell < m_cells) {
    if (!HasGroup() && m_ahead.Left() == 0) FindAhead();
    int count = std::min(m_ahead.Left(), m_cells - cell);
    if (count == 0 && !HasGroup() && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return 0;
    }
    const bool isAhead = count != 0;
    std::array<OBS, kCodesPerGroup> group;
    if (!isAhead) count = ReadCodes(group.data(), m_cells - cell, nullptr);
    for (std::size_t k = 0; k < chosen.size(); ++k) {
      const int index = static_cast<int>(chosen[k]) - cell;
      if (index < 0 || index >= count) continue;
      if (isAhead)
        m_ahead.Pick(index, 1, 1, columns[k] + row);
      else
        columns[k][row] = group[static_cast<std::size_t>(index)];
    }
    if (isAhead) m_ahead.Skip(count);
    cell += count;
  }
  return m_cells;
}

// Skips a code of the loaded group. Returns whether it stands for a cell.
inline bool GroupReader::SkipCode() {
  const auto code = static_cast<std::uint8_t>(m_group[m_code]);
  m_code = code == kCodeEndOfGroup ? kCodesPerGroup : m_code + 1;
  return code != kCodeNothing && code != kCodeEndOfGroup;
}

int GroupReader::SkipCase() {
  if (m_atEnd) return m_cells;
  int cell = 0;
  while (cell < m_cells) {
    if (!HasGroup() && m_ahead.Left() == 0) FindAhead();
    if (const int count = std::min(m_ahead.Left(), m_cells - cell); count != 0) {
      m_ahead.Skip(count);
      cell += count;
      continue;
    }
    if (!HasGroup() && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return 0;
    }
    if (SkipCode()) ++cell;
  }
  return m_cells;
}

// Returns how many of the cells ahead are in groups that start before the byte `target` of the file.
int GroupReader::CellsAheadBefore(long target) const {
  const auto isBefore = [&](int cell) { return InFile(m_ahead.GroupOf(cell)) < target; };
  if (isBefore(m_ahead.Left() - 1)) return m_ahead.Left();
  int first = 0;
  for (int end = m_ahead.Left() - 1; first < end;) {
    const int middle = (first + end) / 2;
    if (isBefore(middle))
      first = middle + 1;
    else
      end = middle;
  }
  return first;
}

void GroupReader::SkipTo(long target, long long& cases) {
  int cell = 0;  // in its case
  while (true) {
    if (!HasGroup() && m_ahead.Left() == 0) FindAhead();
    if (const int left = m_ahead.Left(); left != 0) {
      const int before = CellsAheadBefore(target);
      const int begun = (cell + before) % m_cells;
      const int wanted = begun == 0 ? before : before + m_cells - begun;
      const bool isThere = before < left && wanted <= left;
      const int count = before < left ? std::min(wanted, left) : left;
      m_ahead.Skip(count);
      cases += (cell + count) / m_cells;
      cell = (cell + count) % m_cells;
      if (isThere) return;
      continue;
    }
    if (!HasGroup() && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return;
    }
    if (cell == 0 && GroupStart() >= target) return;
    if (SkipCode() && ++cell == m_cells) {
      cell = 0;
      ++cases;
    }
  }
}

void GroupReader::SkipCases(long long most, long long& cases) {
  int cell = 0;  // in its case
  const long long end = cases + most;
  while (cases < end) {
    if (!HasGroup() && m_ahead.Left() == 0) FindAhead();
    if (m_ahead.Left() != 0) {
      const auto count = static_cast<int>(std::min<long long>(m_ahead.Left(), (end - cases) * m_cells - cell));
      m_ahead.Skip(count);
      cases += (cell + count) / m_cells;
      cell = (cell + count) % m_cells;
      continue;
    }
    if (!HasGroup() && !NextGroup()) {
      Require(cell == 0, kUnexpectedEnd, "iCell == 0");
      return;
    }
    if (SkipCode() && ++cell == m_cells) {
      cell = 0;
      ++cases;
    }
  }
}
