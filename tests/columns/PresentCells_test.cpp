#include "Columns/batches/PresentCells.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace PresentCells_test {
namespace {

class EveryPresenceMarker : public testing::TestWithParam<PresenceMarker*> {};
INSTANTIATE_TEST_SUITE_P(Versions, EveryPresenceMarker, testing::ValuesIn(PresenceMarkers()));

// Cells of which about `percent` are system-missing; the others differ from it in one bit.
std::vector<OBS> Draw(std::size_t count, unsigned percent, std::mt19937& random) {
  std::vector<OBS> cells(count, kSystemMissingCell);
  for (OBS& cell : cells)
    if (random() % 100 >= percent) cell.bits ^= std::uint64_t{1} << random() % 64;
  return cells;
}

TEST_P(EveryPresenceMarker, MarksAllButTheSystemMissingCells) {
  std::mt19937 random(3);
  for (std::size_t count = 0; count <= 200; ++count) {
    for (const unsigned percent : {0u, 10u, 50u, 100u}) {
      // The cells need not begin at any multiple.
      const std::size_t before = random() % 8;
      const std::vector<OBS> cells = Draw(before + count, percent, random);
      std::vector<std::uint8_t> bits(count / 8 + 3, 0xA5);
      std::vector<std::uint8_t> expected = bits;
      for (std::size_t k = 0; k < count; ++k) {
        if (k % 8 == 0) expected[k / 8] = 0;
        const bool isMissing = cells[before + k] == kSystemMissingCell;
        expected[k / 8] = static_cast<std::uint8_t>(expected[k / 8] | (isMissing ? 0 : 1) << k % 8);
      }
      GetParam()(cells.data() + before, static_cast<int>(count), bits.data());
      ASSERT_EQ(expected, bits) << count << " cells, " << percent << " percent missing";
    }
  }
}

class EveryPresenceCounter : public testing::TestWithParam<PresenceCounter*> {};
INSTANTIATE_TEST_SUITE_P(Versions, EveryPresenceCounter, testing::ValuesIn(PresenceCounters()));

TEST_P(EveryPresenceCounter, CountsTheBitsOfAnyNumberOfWords) {
  std::mt19937_64 random(4);
  for (std::size_t count = 0; count <= 20; ++count) {
    std::vector<std::uint64_t> words(count + 1, ~std::uint64_t{0});  // the last is not to be counted
    std::size_t expected = 0;
    for (std::size_t k = 0; k < count; ++k) {
      words[k] = k % 3 == 0 ? 0 : k % 3 == 1 ? ~std::uint64_t{0} : random();
      for (int bit = 0; bit < 64; ++bit) expected += words[k] >> bit & 1;
    }
    EXPECT_EQ(expected, GetParam()(words.data(), count)) << count << " words";
  }
}

}  // namespace
}  // namespace PresentCells_test
