#include "casecodes/GroupDecoder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "casecodes/CaseCodes.h"

namespace GroupDecoder_test {
namespace {

std::vector<std::byte> BytesOf(const std::vector<int>& bytes) {
  std::vector<std::byte> result;
  for (const int byte : bytes) result.push_back(static_cast<std::byte>(byte));
  return result;
}

// Returns the 8 codes as one word, the first code in the low byte.
std::uint64_t Word(const std::vector<int>& codes) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < 8; ++i) word |= static_cast<std::uint64_t>(codes[i]) << (8 * i);
  return word;
}

void AddLiteral(std::vector<std::byte>& bytes, OBS cell) {
  bytes.resize(bytes.size() + sizeof(cell));
  std::memcpy(&bytes[bytes.size() - sizeof(cell)], &cell, sizeof(cell));
}

// ---- Single groups ----

TEST(IsPlainGroup, IsFalseForCodes0And252) {
  EXPECT_TRUE(IsPlainGroup(Word({1, 251, 253, 254, 255, 100, 128, 127})));
  for (std::size_t place = 0; place < 8; ++place) {
    for (int code = 0; code < 256; ++code) {
      std::vector<int> codes(8, 101);
      codes[place] = code;
      EXPECT_EQ(code != 0 && code != 252, IsPlainGroup(Word(codes))) << "code " << code << " at " << place;
    }
  }
}

TEST(IsPlainGroup, IsFalseForSeveralSuchCodes) { EXPECT_FALSE(IsPlainGroup(Word({0, 1, 0, 1, 252, 253, 252, 251}))); }

TEST(CountLiterals, CountsTheCodes253) {
  EXPECT_EQ(0, CountLiterals(Word({1, 2, 3, 4, 5, 6, 7, 8})));
  EXPECT_EQ(1, CountLiterals(Word({1, 2, 3, 4, 5, 6, 7, 253})));
  EXPECT_EQ(8, CountLiterals(Word({253, 253, 253, 253, 253, 253, 253, 253})));
  EXPECT_EQ(3, CountLiterals(Word({253, 0, 253, 0, 255, 254, 253, 0})));
}

TEST(CountLiterals, StopsAtTheFirst252) {
  EXPECT_EQ(0, CountLiterals(Word({252, 253, 253, 253, 253, 253, 253, 253})));
  EXPECT_EQ(2, CountLiterals(Word({253, 253, 252, 253, 253, 253, 253, 253})));
  EXPECT_EQ(7, CountLiterals(Word({253, 253, 253, 253, 253, 253, 253, 252})));
  EXPECT_EQ(1, CountLiterals(Word({253, 252, 253, 252, 253, 253, 253, 253})));
}

TEST(CountLiterals, IsExactForEveryPairOfNeighbours) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const std::vector<int> codes = {a, b, 253, 1, 1, 1, 1, 253};
      int expected = 0;
      for (std::size_t i = 0; i < 8 && codes[i] != 252; ++i) expected += codes[i] == 253;
      ASSERT_EQ(expected, CountLiterals(Word(codes))) << a << ' ' << b;
    }
  }
}

TEST(DecodeCodes, ReturnsTheNextLiteral) {
  auto bytes = BytesOf({253, 101, 253, 254, 255, 1, 253, 251});
  for (const std::uint64_t bits : {11u, 22u, 33u}) AddLiteral(bytes, OBS{bits});
  std::array<OBS, 8> out{};
  const std::byte* next = DecodeCodes(bytes.data(), 8, bytes.data() + 8, out.data());
  EXPECT_EQ(bytes.data() + 8 + 24, next);
  EXPECT_EQ((std::array<OBS, 8>{OBS{11}, NumberCell(1), OBS{22}, kBlankCell, kSystemMissingCell, NumberCell(-99),
                                OBS{33}, NumberCell(151)}),
            out);
}

TEST(DecodeCodes, DecodesPartOfAGroup) {
  auto bytes = BytesOf({253, 101, 253, 102, 1, 1, 1, 1});
  for (const std::uint64_t bits : {11u, 22u}) AddLiteral(bytes, OBS{bits});
  std::array<OBS, 3> out{OBS{7}, OBS{7}, OBS{7}};
  EXPECT_EQ(bytes.data() + 24, DecodeCodes(bytes.data() + 1, 2, bytes.data() + 16, out.data()));
  EXPECT_EQ((std::array<OBS, 3>{NumberCell(1), OBS{22}, OBS{7}}), out);
}

// ---- Runs of groups ----

struct Decoded {
  int count;
  std::ptrdiff_t next;  // where the decoder stopped, in bytes from the start
  std::vector<OBS> cells;
  std::vector<std::ptrdiff_t> starts;
};

// Decodes into buffers with room for exactly `count` groups.
Decoded Decode(GroupDecoder* decoder, const std::vector<std::byte>& bytes, std::size_t size, int count) {
  const auto groups = static_cast<std::size_t>(count);
  Decoded decoded{0, 0, std::vector<OBS>(groups * 8), {}};
  std::vector<const std::byte*> starts(groups);
  const std::byte* in = bytes.data();
  decoded.count = decoder(in, bytes.data() + size, count, decoded.cells.data(), starts.data());
  decoded.next = in - bytes.data();
  for (int i = 0; i < decoded.count; ++i) decoded.starts.push_back(starts[static_cast<std::size_t>(i)] - bytes.data());
  return decoded;
}

class EveryGroupDecoder : public testing::TestWithParam<GroupDecoder*> {};
INSTANTIATE_TEST_SUITE_P(Versions, EveryGroupDecoder, testing::ValuesIn(GroupDecoders()));

// Returns groups with one literal each, then `spare` other bytes.
std::vector<std::byte> Groups(int count, std::size_t spare) {
  std::vector<std::byte> bytes;
  for (int group = 0; group < count; ++group) {
    const auto codes = BytesOf({101, 102, 253, 104, 254, 255, 107, 108});
    bytes.insert(bytes.end(), codes.begin(), codes.end());
    AddLiteral(bytes, OBS{static_cast<std::uint64_t>(1000 + group)});
  }
  bytes.resize(bytes.size() + spare, std::byte{0x77});
  return bytes;
}

TEST_P(EveryGroupDecoder, DecodesTheRequestedNumberOfGroups) {
  const auto bytes = Groups(10, 80);
  for (int count = 0; count <= 4; ++count) {
    const Decoded decoded = Decode(GetParam(), bytes, bytes.size(), count);
    EXPECT_EQ(count, decoded.count);
    EXPECT_EQ(count * 16, decoded.next);
    for (std::size_t group = 0; group < static_cast<std::size_t>(count); ++group) {
      EXPECT_EQ(static_cast<std::ptrdiff_t>(group) * 16, decoded.starts[group]);
      EXPECT_EQ(NumberCell(1), decoded.cells[group * 8]);
      EXPECT_EQ(OBS{1000 + group}, decoded.cells[group * 8 + 2]);
      EXPECT_EQ(kBlankCell, decoded.cells[group * 8 + 4]);
      EXPECT_EQ(kSystemMissingCell, decoded.cells[group * 8 + 5]);
      EXPECT_EQ(NumberCell(8), decoded.cells[group * 8 + 7]);
    }
  }
}

TEST_P(EveryGroupDecoder, DecodesAGroupWhileMaxGroupSizeBytesAreLeft) {
  for (const std::size_t size : {0u, 16u, 71u, 72u, 73u}) {
    const Decoded decoded = Decode(GetParam(), Groups(1, 64 + 16), size, 1);
    EXPECT_EQ(size >= 72 ? 1 : 0, decoded.count) << size;
    EXPECT_EQ(size >= 72 ? 16 : 0, decoded.next) << size;
  }
}

TEST_P(EveryGroupDecoder, StopsAtAGroupThatIsNotPlain) {
  for (const int code : {0, 252}) {
    auto bytes = Groups(5, 80);
    bytes[2 * 16 + 7] = static_cast<std::byte>(code);
    const Decoded decoded = Decode(GetParam(), bytes, bytes.size(), 5);
    EXPECT_EQ(2, decoded.count) << code;
    EXPECT_EQ(2 * 16, decoded.next) << code;
  }
}

TEST_P(EveryGroupDecoder, DecodesAGroupOfEightLiterals) {
  auto bytes = BytesOf({253, 253, 253, 253, 253, 253, 253, 253});
  for (std::uint64_t i = 1; i <= 8; ++i) AddLiteral(bytes, OBS{i * 0x0101010101010101});
  const Decoded decoded = Decode(GetParam(), bytes, 72, 1);
  EXPECT_EQ(1, decoded.count);
  EXPECT_EQ(72, decoded.next);
  for (std::uint64_t i = 1; i <= 8; ++i) EXPECT_EQ(OBS{i * 0x0101010101010101}, decoded.cells[i - 1]);
}

TEST_P(EveryGroupDecoder, DecodesNothingFromEmptyInput) {
  const std::byte* in = nullptr;
  OBS out;
  const std::byte* start = nullptr;
  EXPECT_EQ(0, GetParam()(in, nullptr, 1, &out, &start));
  EXPECT_EQ(nullptr, in);
}

}  // namespace
}  // namespace GroupDecoder_test
