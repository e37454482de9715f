#include "Platform/stream/ZlibBlocks.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "Platform/stream/tests/ZlibTesting.h"

namespace ZlibBlocks_test {
namespace {

std::string Told(std::span<const std::byte> bytes) {
  std::string text(bytes.size(), '\0');
  if (!text.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

// The bytes of a number, from the lowest to the highest, or reversed.
std::string Number(std::uint64_t number, int size, ByteOrder order) {
  const bool lowestFirst = (std::endian::native == std::endian::little) == (order == ByteOrder::native);
  std::string text;
  for (int i = 0; i < size; ++i) text += static_cast<char>(number >> 8 * (lowestFirst ? i : size - 1 - i));
  return text;
}

std::string Sum(const std::string& bytes, ByteOrder order) {
  return Number(crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()), 4, order);
}

class ZlibBlocksInOrder : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(Orders, ZlibBlocksInOrder, testing::Values(ByteOrder::native, ByteOrder::reversed));

constexpr ZlibBlockHead kHead{{0x0102030405, 700, 0x1234, 0x20000}, 0xA1B2C3D4};

TEST_P(ZlibBlocksInOrder, StoresABlockHead) {
  std::array<std::byte, kBlockHeadSize> bytes;
  StoreBlockHead(bytes.data(), kHead, GetParam());
  const std::string front = "ZBLK" + Number(0x20000, 4, GetParam()) + Number(0x0102030405, 8, GetParam()) +
                            Number(0x1234, 4, GetParam()) + Number(0xA1B2C3D4, 4, GetParam());
  EXPECT_EQ(front + Sum(front, GetParam()), Told(bytes));
}

TEST_P(ZlibBlocksInOrder, BlockHeadRoundTrips) {
  std::array<std::byte, kBlockHeadSize> bytes;
  StoreBlockHead(bytes.data(), kHead, GetParam());
  const auto head = LoadBlockHead(bytes, 700, GetParam());
  ASSERT_TRUE(head);
  EXPECT_EQ(kHead.block, head->block);
  EXPECT_EQ(kHead.checksum, head->checksum);
}

TEST_P(ZlibBlocksInOrder, RefusesABlockHeadWithAFlippedBit) {
  std::array<std::byte, kBlockHeadSize> bytes;
  StoreBlockHead(bytes.data(), kHead, GetParam());
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    auto spoilt = bytes;
    spoilt[bit / 8] ^= std::byte{1} << bit % 8;
    EXPECT_FALSE(LoadBlockHead(spoilt, 700, GetParam())) << bit;
  }
}

TEST(ZlibBlockHead, RefusesImpossibleSizes) {
  const auto isHead = [](const ZlibBlock& block) {
    std::array<std::byte, kBlockHeadSize> bytes;
    StoreBlockHead(bytes.data(), {block, 0}, ByteOrder::native);
    return LoadBlockHead(bytes, 0, ByteOrder::native).has_value();
  };
  EXPECT_TRUE(isHead({0, 0, 1, 1}));
  EXPECT_TRUE(isHead({0, 0, kMostPackedBlockSize, kMostPlainBlockSize}));
  EXPECT_FALSE(isHead({-1, 0, 1, 1}));
  EXPECT_FALSE(isHead({std::numeric_limits<std::int64_t>::max(), 0, 1, 1}));
  EXPECT_FALSE(isHead({0, 0, 0, 1}));
  EXPECT_FALSE(isHead({0, 0, 1, 0}));
  EXPECT_FALSE(isHead({0, 0, kMostPackedBlockSize + 1, 1}));
  EXPECT_FALSE(isHead({0, 0, 1, kMostPlainBlockSize + 1}));
}

TEST(ZlibBlockHead, RefusesTruncatedBytes) {
  std::array<std::byte, kBlockHeadSize> bytes;
  StoreBlockHead(bytes.data(), kHead, ByteOrder::native);
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(LoadBlockHead(std::span(bytes).first(size), 700, ByteOrder::native));
}

// ---- Lists ----

ZlibBlockList ThreeBlocks() {
  ZlibBlockList list;
  EXPECT_TRUE(list.Put({0, 100, 10, 50}));
  EXPECT_TRUE(list.Put({50, 138, 20, 60}));
  EXPECT_TRUE(list.Put({110, 400, 30, 40}));
  return list;
}

TEST(ZlibBlockList, FindsTheBlockOfAPosition) {
  const ZlibBlockList list = ThreeBlocks();
  EXPECT_EQ(150, list.length);
  const auto find = [&](std::int64_t position) { return list.Find(position); };
  EXPECT_EQ(0u, find(0));
  EXPECT_EQ(0u, find(49));
  EXPECT_EQ(1u, find(50));
  EXPECT_EQ(2u, find(149));
  EXPECT_EQ(3u, find(150));
  EXPECT_EQ(3u, find(1'000'000));
  EXPECT_EQ(0u, ZlibBlockList{}.Find(0));
}

TEST(ZlibBlockList, PutReplacesEverythingFromItsPositionOn) {
  ZlibBlockList list = ThreeBlocks();
  EXPECT_TRUE(list.Put({70, 500, 5, 6}));
  ASSERT_EQ(3u, list.blocks.size());
  EXPECT_EQ(76, list.length);
  EXPECT_EQ(50u, list.LengthOf(0));
  EXPECT_EQ(20u, list.LengthOf(1)) << "cut where the new one begins";
  EXPECT_EQ(6u, list.LengthOf(2));
  EXPECT_TRUE(list.Put({0, 600, 5, 6}));
  EXPECT_EQ(1u, list.blocks.size());
}

TEST(ZlibBlockList, RefusesABlockThatLeavesAGap) {
  ZlibBlockList list = ThreeBlocks();
  EXPECT_FALSE(list.Put({151, 500, 5, 6}));
  EXPECT_EQ(150, list.length);
}

// ---- Tables ----

constexpr std::int64_t kBegin = 100;
constexpr std::int64_t kPlace = 1'000;

// Loads a table from memory, piece by piece.
std::optional<ZlibBlockList> TableOf(std::span<const std::byte> bytes, std::int64_t begin, std::int64_t place,
                                     ByteOrder order) {
  const NextTableBytes next = [bytes](std::size_t size) mutable {
    const auto piece = bytes.first(std::min(size, bytes.size()));
    bytes = bytes.subspan(piece.size());
    return piece;
  };
  return LoadTable(next, begin, place, order);
}

TEST_P(ZlibBlocksInOrder, StoresATable) {
  const ByteOrder order = GetParam();
  const auto entry = [&](int position, int place, int packed, int plain) {
    return Number(static_cast<std::uint64_t>(position), 8, order) +
           Number(static_cast<std::uint64_t>(place), 8, order) + Number(static_cast<std::uint64_t>(packed), 4, order) +
           Number(static_cast<std::uint64_t>(plain), 4, order);
  };
  const std::string front = "ZTAB" + Number(3, 8, order) + Number(150, 8, order) + entry(0, 100, 10, 50) +
                            entry(50, 138, 20, 60) + entry(110, 400, 30, 40) + Number(kPlace, 8, order);
  EXPECT_EQ(front + Sum(front, order) + "ZEND", Told(TableBytes(ThreeBlocks(), kPlace, order)));
}

TEST_P(ZlibBlocksInOrder, TableRoundTrips) {
  ZlibBlockList list = ThreeBlocks();
  list.Cut(120);
  const std::vector<std::byte> bytes = TableBytes(list, kPlace, GetParam());
  EXPECT_EQ(bytes.size(), TableSize(list.blocks.size()));
  const auto found = TableOf(bytes, kBegin, kPlace, GetParam());
  ASSERT_TRUE(found);
  EXPECT_EQ(list.blocks, found->blocks);
  EXPECT_EQ(120, found->length);
}

TEST_P(ZlibBlocksInOrder, RefusesADamagedOrTruncatedTable) {
  const std::vector<std::byte> bytes = TableBytes(ThreeBlocks(), kPlace, GetParam());
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    auto spoilt = bytes;
    spoilt[bit / 8] ^= std::byte{1} << bit % 8;
    EXPECT_FALSE(TableOf(spoilt, kBegin, kPlace, GetParam())) << bit;
  }
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(TableOf(std::span(bytes).first(size), kBegin, kPlace, GetParam())) << size;
}

TEST(ZlibBlocks, AcceptsATableWithoutBlocks) {
  const std::vector<std::byte> bytes = TableBytes({}, kPlace, ByteOrder::native);
  EXPECT_EQ(kTableHeadSize + kTableTailSize, bytes.size());
  const auto found = TableOf(bytes, kBegin, kPlace, ByteOrder::native);
  ASSERT_TRUE(found);
  EXPECT_EQ(0, found->length);
}

struct BadTable {
  const char* what;
  ZlibBlockList list;
};

TEST(ZlibBlocks, RefusesImpossibleTables) {
  const BadTable tables[] = {
      {"a block before the first place", {{{0, 99, 10, 50}}, 50}},
      {"blocks that overlap in the file", {{{0, 100, 10, 50}, {50, 137, 10, 50}}, 100}},
      {"a block that reaches into the table", {{{0, 970, 10, 50}}, 50}},
      {"a place that overflows", {{{0, std::numeric_limits<std::int64_t>::max(), 10, 50}}, 50}},
      {"a gap", {{{0, 100, 10, 50}, {51, 200, 10, 50}}, 101}},
      {"a gap at the beginning", {{{1, 100, 10, 50}}, 51}},
      {"positions that do not rise", {{{0, 100, 10, 50}, {0, 200, 10, 50}}, 50}},
      {"a longer stream than its blocks", {{{0, 100, 10, 50}}, 51}},
      {"a block of which nothing is used", {{{0, 100, 10, 50}, {50, 200, 10, 50}}, 50}},
      {"a negative length", {{}, -1}},
      {"a length without blocks", {{}, 1}},
      {"a block that is too large", {{{0, 100, 10, kMostPlainBlockSize + 1}}, 1}},
  };
  for (const BadTable& table : tables)
    EXPECT_FALSE(TableOf(TableBytes(table.list, kPlace, ByteOrder::native), kBegin, kPlace, ByteOrder::native))
        << table.what;
}

TEST(ZlibBlocks, RoundTripsATableOfSeveralPieces) {
  ZlibBlockList list;
  for (int i = 0; i < 5'000; ++i) ASSERT_TRUE(list.Put({i * 10, kBegin + i * 100, 72, 10}));
  const std::int64_t place = kBegin + 5'000 * 100;
  const auto found = TableOf(TableBytes(list, place, ByteOrder::native), kBegin, place, ByteOrder::native);
  ASSERT_TRUE(found);
  EXPECT_EQ(list.blocks, found->blocks);
  EXPECT_EQ(list.length, found->length);
}

// After the head a file may have any number of zero bytes: each piece is checked before more is read.
TEST(ZlibBlocks, ExcessiveBlockCountStopsAtFirstBadEntry) {
  for (const std::uint64_t count : {std::uint64_t{1} << 40, std::uint64_t{0x0AAAAAAAAAAAAAAB}, ~std::uint64_t{0}}) {
    std::vector<std::byte> bytes = TableBytes({}, kPlace, ByteOrder::native);
    Store(bytes.data() + 4, count);
    std::vector<std::byte> room(1 << 20);
    std::size_t asked = 0;
    const NextTableBytes next = [&](std::size_t size) {
      const std::span<const std::byte> piece = asked == 0 ? std::span(bytes).first(size) : std::span(room).first(size);
      asked += size;
      return piece;
    };
    EXPECT_FALSE(LoadTable(next, kBegin, kPlace, ByteOrder::native));
    EXPECT_GT(room.size(), asked);
  }
}

}  // namespace
}  // namespace ZlibBlocks_test
