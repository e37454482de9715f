#include "casecodes/FoundGroups.h"

#include <algorithm>
#include <cstdint>

#include "casecodes/CaseCodes.h"
#include "casecodes/CellPicker.h"
#include "casecodes/GroupDecoder.h"
#include "casecodes/GroupFinder.h"

namespace {

// Calls use(code index, place of its literal) for the codes that stand for cells, in order, until it returns false.
template <class Use>
void ForEachCell(const std::byte* group, int codes, Use use) {
  const std::byte* literal = group + kCodesPerGroup;
  for (int i = 0; i < codes; ++i) {
    const auto code = static_cast<std::uint8_t>(group[i]);
    if (code == kCodeEndOfGroup) return;
    if (code == kCodeNothing) continue;
    if (!use(i, literal)) return;
    if (code == kCodeLiteral) literal += sizeof(OBS);
  }
}

// Returns the code of the given cell, which the group has.
int CodeOf(const std::byte* group, int cell) {
  int code = 0;
  ForEachCell(group, kCodesPerGroup, [&](int i, const std::byte*) {
    code = i;
    return cell-- != 0;
  });
  return code;
}

OBS CellOf(const std::byte* group, int cell) {
  OBS value{};
  ForEachCell(group, kCodesPerGroup, [&](int i, const std::byte* literal) {
    const auto code = static_cast<std::uint8_t>(group[i]);
    if (cell == 0) value = code == kCodeLiteral ? Load<OBS>(literal) : kCellOfCode[code];
    return cell-- != 0;
  });
  return value;
}

}  // namespace

int CountCells(const std::byte* group, int codes) {
  int cells = 0;
  ForEachCell(group, codes, [&](int, const std::byte*) {
    ++cells;
    return true;
  });
  return cells;
}

void FoundGroups::Clear() {
  m_runs.clear();
  m_groups = m_cells = 0;
}

void FoundGroups::Add(int groups, int cells, bool arePlain) {
  if (groups == 0) return;
  if (!arePlain || m_runs.empty() || !m_runs.back().isPlain) m_runs.push_back({m_groups, m_cells, arePlain});
  m_groups += groups;
  m_cells += cells;
}

const std::byte* FoundGroups::Find(const std::byte* in, const std::byte* until, const std::byte* end) {
  Clear();
  if (in >= until) return in;
  const auto most = static_cast<std::size_t>(until - in + kCodesPerGroup - 1) / kCodesPerGroup;
  if (m_starts.size() < most) m_starts.resize(most);
  // A group that begins in the last word before `until` may be read to its end.
  const std::byte* const reach = end - until > kMaxGroup - kCodesPerGroup ? until + kMaxGroup - kCodesPerGroup : end;
  while (in < until) {
    const int found = FindGroups(in, reach, static_cast<int>(most) - m_groups, m_starts.data() + m_groups);
    Add(found, found * kCodesPerGroup, true);
    if (in >= until || end - in < kCodesPerGroup) break;
    const auto codes = Load<std::uint64_t>(in);
    const std::ptrdiff_t size = kCodesPerGroup + CountLiterals(codes) * static_cast<std::ptrdiff_t>(sizeof(OBS));
    if (end - in < size) break;
    m_starts[static_cast<std::size_t>(m_groups)] = in;
    Add(1, CountCells(in, kCodesPerGroup), IsPlainGroup(codes));
    in += size;
  }
  return in;
}

// Returns the index of the run that has the cell.
std::size_t FoundGroups::RunOf(int cell) const {
  // Runs without cells begin at the same cell as the one after them.
  const auto after = std::ranges::upper_bound(m_runs, cell, {}, &Run::firstCell);
  return static_cast<std::size_t>(after - m_runs.begin()) - 1;
}

FoundGroups::Place FoundGroups::PlaceOf(int cell) const {
  const Run& run = m_runs[RunOf(cell)];
  const int inRun = cell - run.firstCell;
  const int group = run.isPlain ? inRun / kCodesPerGroup : 0;
  const std::byte* const start = m_starts[static_cast<std::size_t>(run.firstGroup + group)];
  return {start, run.isPlain ? inRun % kCodesPerGroup : CodeOf(start, inRun)};
}

void FoundGroups::Pick(int cell, int step, int count, OBS* out) const {
  if (count == 0) return;
  for (std::size_t run = RunOf(cell);; ++run) {
    const int left = EndOf(run) - cell;
    if (left <= 0) continue;
    const int here = std::min((left - 1) / step + 1, count);
    const std::byte* const* const starts = m_starts.data() + m_runs[run].firstGroup;
    const int first = cell - m_runs[run].firstCell;
    if (m_runs[run].isPlain)
      PickCells(starts, first, step, here, out);
    else
      for (int i = 0; i < here; ++i) out[i] = CellOf(*starts, first + i * step);
    count -= here;
    if (count == 0) return;
    out += here;
    cell += here * step;
  }
}
