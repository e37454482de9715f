#include "datasrc/ObsProjector.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "Platform/Assert.h"
#include "datasrc/QUAV_DataSource.h"

namespace {

constexpr int kDropped = -1;

// Calls `emit` for each segment of the index list, in the order of the source.
template <class Emit>
void ForEachSegment(std::span<const int> targetIndex, Emit emit) {
  std::size_t start = 0;
  while (start < targetIndex.size()) {
    const int target = targetIndex[start];
    std::size_t end = start;
    while (end < targetIndex.size() && targetIndex[end] != kDropped &&
           targetIndex[end] == target + static_cast<int>(end - start))
      ++end;
    std::size_t next = end;
    while (next < targetIndex.size() && targetIndex[next] == kDropped) ++next;
    emit(ObsProjector::Segment{.offset = end == start ? 0 : static_cast<std::uint64_t>(target) * sizeof(OBS),
                               .length = (end - start) * sizeof(OBS),
                               .skip = (next - end) * sizeof(OBS)});
    start = next;
  }
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
  const std::span<const int> list(targetIndex, length);
  std::size_t count = 0;
  ForEachSegment(list, [&count](const Segment&) { ++count; });
  _segments = std::make_unique<Segment[]>(count);
  _length = 0;
  ForEachSegment(list, [this](const Segment& segment) { _segments[_length++] = segment; });
}

void ObsProjector::FromSourceIndexes(unsigned long length, const int* sourceIndex) {
  QUAV_ASSERT(length == 0 || sourceIndex, "length==0 || sourceIndex");
  const std::span<const int> list(sourceIndex, length);
  const int last = length == 0 ? -1 : std::max(*std::ranges::max_element(list), -1);
  std::vector<int> targetIndex(static_cast<std::size_t>(last + 1), kDropped);
  for (std::size_t target = 0; target < list.size(); ++target)
    if (list[target] >= 0) targetIndex[static_cast<std::size_t>(list[target])] = static_cast<int>(target);
  FromTargetIndexes(targetIndex.size(), targetIndex.data());
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
