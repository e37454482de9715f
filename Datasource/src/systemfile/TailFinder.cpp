#include "systemfile/TailFinder.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>

#include "casecodes/GroupDecoder.h"
#include "core/ByteOrder.h"
#include "systemfile/GroupReader.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr int kMostWordsOfGroup = 1 + kCodesPerGroup;
constexpr long kWord = sizeof(OBS);
constexpr long long kCellsAtOnce = 1LL << 24;

// Returns the byte after the group at `group`; nothing when the data end before.
std::optional<long> EndOfGroup(QUAV_FileStream& stream, long group, long end) {
  if (end - group < kCodesPerGroup || stream.Seek(group, kSeekFromStart) != 0) return std::nullopt;
  const QUAV_FileStream::Window window = stream.Peek(kCodesPerGroup);
  if (window.Size() < kCodesPerGroup) return std::nullopt;
  const long next = group + kCodesPerGroup + CountLiterals(Load<std::uint64_t>(window.begin)) * kWord;
  return next <= end ? std::optional(next) : std::nullopt;
}

// Some of the words at which the first group may begin: bit k stands for word k.
using Words = unsigned;

struct Chain {
  long group = 0;   // where all chains of these words have met
  Words words = 0;  // 0: every chain was wrong
};

// Follows the chains from these words on until the ones that are left have met.
Chain Follow(QUAV_FileStream& stream, long begin, Words words) {
  const long end = stream.Length();
  std::map<long, Words> chains;
  for (int word = 0; word < kMostWordsOfGroup && begin + word * kWord <= end; ++word)
    if ((words >> word & 1) != 0) chains[begin + word * kWord] = Words{1} << word;
  while (chains.size() > 1) {
    const auto [group, met] = *chains.begin();
    chains.erase(chains.begin());
    if (const auto next = EndOfGroup(stream, group, end)) chains[*next] |= met;
  }
  return chains.empty() ? Chain() : Chain{chains.begin()->first, chains.begin()->second};
}

// Returns the first group that every chain has which could be the right one.
std::optional<long> CommonGroup(QUAV_FileStream& stream) {
  const long begin = stream.Tell();
  const Chain found = Follow(stream, begin, (Words{1} << kMostWordsOfGroup) - 1);
  if (found.words == 0) return std::nullopt;
  // Without those that turned out to be wrong, the others may have met earlier.
  const Chain common = Follow(stream, begin, found.words);
  return common.group < stream.Length() ? std::optional(common.group) : std::nullopt;
}

// Counts the cells from a place to the end of the data, or skips `most` of them.
long long SkipCells(GroupReader& reader, long long most = std::numeric_limits<long long>::max()) {
  long long cells = 0;
  for (long long before = -1; cells != before && cells < most;) {
    before = cells;
    reader.SkipCases(std::min(kCellsAtOnce, most - cells), cells);
  }
  return cells;
}

}  // namespace

std::optional<CaseTail> FindTail(QUAV_FileStream& stream, int cellsPerCase) {
  try {
    const auto group = CommonGroup(stream);
    if (!group) return std::nullopt;
    GroupReader cells(stream, 1);
    cells.Seek(*group, 0);
    const long long count = SkipCells(cells);
    GroupReader first(stream, 1);
    first.Seek(*group, 0);
    SkipCells(first, count % cellsPerCase);
    return CaseTail{first.GroupStart(), first.CodeIndex(), count / cellsPerCase};
  } catch (const SystemFileException&) {
    return std::nullopt;  // the end is damaged, too
  }
}
