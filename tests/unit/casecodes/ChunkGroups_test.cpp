#include "casecodes/ChunkGroups.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "casecodes/CaseCodes.h"
#include "casecodes/GroupDecoder.h"

namespace ChunkGroups_test {
namespace {

using Bytes = std::vector<std::byte>;
using Random = std::mt19937;

// The literals of a group are eight times this byte, or random bytes.
constexpr int kRandomLiterals = -1;

// Appends a group with these codes.
void AddGroup(Bytes& bytes, const std::vector<int>& codes, int literal, Random& random) {
  int literals = 0;
  bool isEnded = false;
  for (const int code : codes) {
    bytes.push_back(static_cast<std::byte>(code));
    isEnded = isEnded || code == kCodeEndOfGroup;
    if (code == kCodeLiteral && !isEnded) ++literals;
  }
  for (int i = 0; i < 8 * literals; ++i)
    bytes.push_back(static_cast<std::byte>(literal == kRandomLiterals ? static_cast<int>(random() % 256) : literal));
}

// Returns groups whose codes are made by `code()`.
template <class Code>
Bytes Groups(int count, int literal, Code code) {
  Random random(static_cast<unsigned>(count));
  Bytes bytes;
  for (int i = 0; i < count; ++i) {
    std::vector<int> codes(8);
    std::ranges::generate(codes, [&] { return code(random); });
    AddGroup(bytes, codes, literal, random);
  }
  return bytes;
}

std::vector<std::pair<std::string, Bytes>> Samples() {
  const auto small = [](Random& random) { return 1 + static_cast<int>(random() % 251); };
  const auto literal = [](Random&) { return int{kCodeLiteral}; };
  const auto either = [](Random& random) { return random() % 3 == 0 ? int{kCodeLiteral} : 101; };
  const auto odd = [](Random& random) {
    const auto kind = random() % 40;
    return kind == 0 ? 0 : kind == 1 ? int{kCodeEndOfGroup} : kind < 10 ? int{kCodeLiteral} : 120;
  };
  const auto mostlyNothing = [](Random& random) { return random() % 9 == 0 ? int{kCodeLiteral} : 0; };
  return {
      {"nothing", {}},
      {"codes", Groups(300, 0, small)},
      {"literals", Groups(200, kRandomLiterals, literal)},
      {"literals like numbers", Groups(200, 100, literal)},
      {"literals that are codes of literals", Groups(200, kCodeLiteral, literal)},
      {"literals that are ends of groups", Groups(200, kCodeEndOfGroup, literal)},
      {"literals that are codes of nothing", Groups(200, 0, literal)},
      {"codes and literals", Groups(300, kRandomLiterals, either)},
      {"codes and literals that are codes of literals", Groups(300, kCodeLiteral, either)},
      {"groups that are not plain", Groups(400, kRandomLiterals, odd)},
      {"groups almost without cells", Groups(400, kCodeLiteral, mostlyNothing)},
  };
}

struct Expected {
  std::vector<std::uint64_t> cells;
  std::vector<std::pair<std::size_t, int>> places;  // the offset of the group, and the code
  std::size_t end = 0;
};

// Decodes code by code, as far as groups are whole.
Expected Decode(const Bytes& bytes) {
  Expected expected;
  while (bytes.size() - expected.end >= 8) {
    const std::size_t group = expected.end;
    const std::size_t cells = expected.cells.size();
    std::size_t literal = group + 8;
    for (std::size_t i = 0; i < 8; ++i) {
      const auto code = static_cast<std::uint8_t>(bytes[group + i]);
      if (code == kCodeEndOfGroup) break;
      if (code == kCodeNothing) continue;
      std::uint64_t cell = kCellOfCode[code].bits;
      if (code == kCodeLiteral) {
        if (bytes.size() - literal < 8) {
          expected.cells.resize(cells);
          expected.places.resize(cells);
          return expected;
        }
        cell = Load<std::uint64_t>(&bytes[literal]);
        literal += 8;
      }
      expected.cells.push_back(cell);
      expected.places.emplace_back(group, static_cast<int>(i));
    }
    expected.end = literal;
  }
  return expected;
}

// Returns the same of a file in chunks; cells are picked one of `step` at a time.
Expected InChunks(const Bytes& file, std::size_t chunkSize, int step) {
  Expected found;
  ChunkGroups groups;
  std::size_t first = 0;
  for (std::size_t begin = 0;; begin += chunkSize) {
    const std::size_t size = std::min(chunkSize + 64, file.size() - std::min(begin, file.size()));
    Bytes bytes(size + kMaxGroupSize);
    if (size != 0) std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(begin), size, bytes.begin());
    groups.Begin(std::span(bytes).first(size), chunkSize);
    groups.Enter(first - begin);
    const int count = groups.Cells();
    std::vector<OBS> cells(static_cast<std::size_t>(count));
    for (int k = 0; k < step && k < count; ++k) {
      std::vector<OBS> picked(static_cast<std::size_t>((count - k - 1) / step + 1));
      groups.Pick(k, step, static_cast<int>(picked.size()), picked.data());
      for (std::size_t i = 0; i < picked.size(); ++i)
        cells[static_cast<std::size_t>(k) + i * static_cast<std::size_t>(step)] = picked[i];
    }
    for (int k = 0; k < count; ++k) {
      found.cells.push_back(cells[static_cast<std::size_t>(k)].bits);
      const FoundGroups::Place place = groups.PlaceOf(k);
      found.places.emplace_back(begin + static_cast<std::size_t>(place.group - bytes.data()), place.code);
    }
    found.end = first = begin + groups.End();
    if (!groups.IsWhole()) return found;
  }
}

void ExpectSame(const Expected& expected, const Expected& found) {
  ASSERT_EQ(expected.end, found.end);
  ASSERT_EQ(expected.cells, found.cells);
  ASSERT_EQ(expected.places, found.places);
}

TEST(ChunkGroups, AreThoseOfTheWhole) {
  for (const auto& [name, bytes] : Samples()) {
    const Expected expected = Decode(bytes);
    for (const std::size_t chunkSize :
         {std::size_t{8}, std::size_t{16}, std::size_t{64}, std::size_t{72}, std::size_t{80}, std::size_t{136},
          std::size_t{400}, std::size_t{1000}, std::size_t{4096}, std::size_t{100000}})
      for (const int step : {1, 3, 50, 5000}) {
        SCOPED_TRACE(testing::Message() << name << ' ' << chunkSize << ' ' << step);
        ASSERT_NO_FATAL_FAILURE(ExpectSame(expected, InChunks(bytes, chunkSize, step)));
      }
  }
}

TEST(ChunkGroups, EndWithTheLastWholeGroup) {
  for (auto& [name, bytes] : Samples())
    for (std::size_t cut = 0; cut < 2 * kMaxGroupSize && !bytes.empty(); ++cut) {
      bytes.pop_back();
      const Expected expected = Decode(bytes);
      for (const std::size_t chunkSize : {std::size_t{24}, std::size_t{2000}, std::size_t{100000}}) {
        SCOPED_TRACE(testing::Message() << name << ' ' << chunkSize << ' ' << bytes.size());
        ASSERT_NO_FATAL_FAILURE(ExpectSame(expected, InChunks(bytes, chunkSize, 7)));
      }
    }
}

}  // namespace
}  // namespace ChunkGroups_test
