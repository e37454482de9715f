#include "datasrc/ObsProjector.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "Platform/Assert.h"
#include "datasrc/QUAV_DataSource.h"

namespace {

constexpr int kDropped = -1;

struct CellMove {
  int source;
  int target;
};

// Returns the segments of the moves, which are in ascending order of their different source cells. The source case
// ends after `sourceEnd` cells.
std::vector<ObsProjector::Segment> MakeSegments(std::span<const CellMove> moves, std::size_t sourceEnd) {
  const auto sourceOf = [&](std::size_t i) {
    return i < moves.size() ? static_cast<std::size_t>(moves[i].source) : sourceEnd;
  };
  std::vector<ObsProjector::Segment> segments;
  if (sourceOf(0) != 0) segments.push_back({.offset = 0, .length = 0, .skip = sourceOf(0) * sizeof(OBS)});
  for (std::size_t start = 0; start < moves.size();) {
    std::size_t end = start + 1;
    const auto continues = [&] {
      const CellMove& last = moves[end - 1];
      return moves[end].source - last.source == 1 && std::int64_t{moves[end].target} - last.target == 1;
    };
    while (end < moves.size() && continues()) ++end;
    const std::size_t length = end - start;
    segments.push_back({.offset = static_cast<std::uint64_t>(moves[start].target) * sizeof(OBS),
                        .length = length * sizeof(OBS),
                        .skip = (sourceOf(end) - sourceOf(start) - length) * sizeof(OBS)});
    start = end;
  }
  return segments;
}

// A run is usually one cell long: that is a move of one register.
void CopyRun(char* to, const char* from, std::uint64_t length) {
  if (length == sizeof(OBS)) {
    std::memcpy(to, from, sizeof(OBS));
  } else if (length != 0) {
    std::memcpy(to, from, length);
  }
}

}  // namespace

void ObsProjector::FromTargetIndexes(unsigned long length, const int* targetIndex) {
  QUAV_ASSERT(length == 0 || targetIndex, "length==0 || targetIndex");
  std::vector<CellMove> moves;
  for (std::size_t source = 0; source < length; ++source) {
    QUAV_ASSERT(targetIndex[source] >= kDropped, "targetIndex[i] >= -1");
    if (targetIndex[source] != kDropped) moves.push_back({static_cast<int>(source), targetIndex[source]});
  }
  Take(MakeSegments(moves, length));
}

// The greatest source cell may be far away: the work and the memory depend only on the length of the list.
void ObsProjector::FromSourceIndexes(unsigned long length, const int* sourceIndex) {
  QUAV_ASSERT(length == 0 || sourceIndex, "length==0 || sourceIndex");
  std::vector<CellMove> moves;
  for (std::size_t target = 0; target < length; ++target)
    if (sourceIndex[target] >= 0) moves.push_back({sourceIndex[target], static_cast<int>(target)});
  std::ranges::sort(moves, [](const CellMove& a, const CellMove& b) {
    return a.source != b.source ? a.source < b.source : a.target > b.target;
  });
  const auto repeated = std::ranges::unique(moves, {}, &CellMove::source);
  moves.erase(repeated.begin(), repeated.end());
  Take(MakeSegments(moves, moves.empty() ? 0 : static_cast<std::size_t>(moves.back().source) + 1));
}

void ObsProjector::FromSourceIndexes(unsigned long length, const unsigned int* varIndex,
                                     const QUAV_DataSource& source) {
  QUAV_ASSERT(length == 0 || varIndex, "length==0 || sourceIndex");
  std::vector<int> cells;
  cells.reserve(source.GetObsAreaSize());
  for (const unsigned int column : std::span(varIndex, length)) {
    const int index = static_cast<int>(column);
    const int first = source.ObsIndex(index);
    const int end = first + static_cast<int>(CellCount(source.GetVariable(index).GetType()));
    for (int cell = first; cell < end; ++cell) cells.push_back(cell);
  }
  FromSourceIndexes(cells.size(), cells.data());
}

void ObsProjector::Take(std::span<const Segment> segments) {
  auto taken = std::make_unique<Segment[]>(segments.size());
  std::ranges::copy(segments, taken.get());
  _segments = std::move(taken);
  _length = segments.size();
}

void ObsProjector::Copy(const OBS* from, OBS* to) const {
  QUAV_ASSERT(_length == 0 || _segments, "_length == 0 || _segments");
  QUAV_ASSERT(from && to, "from && to");
  const char* source = CellText(from);
  char* const target = CellText(to);
  for (const Segment& segment : Segments()) {
    CopyRun(target + segment.offset, source, segment.length);
    source += segment.length + segment.skip;
  }
}

void ObsProjector::InverseCopy(const OBS* from, OBS* to) const {
  QUAV_ASSERT(_length == 0 || _segments, "_length == 0 || _segments");
  QUAV_ASSERT(from && to, "from && to");
  const char* const target = CellText(from);
  char* source = CellText(to);
  for (const Segment& segment : Segments()) {
    CopyRun(source, target + segment.offset, segment.length);
    source += segment.length + segment.skip;
  }
}
