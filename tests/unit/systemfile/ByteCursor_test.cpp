#include "systemfile/ByteCursor.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/RowName.h"
#include "tests/support/SystemFileBuilder.h"

namespace ByteCursor_test {
namespace {

std::vector<std::byte> BytesOf(std::string_view text) {
  std::vector<std::byte> bytes;
  for (const char c : text) bytes.push_back(static_cast<std::byte>(c));
  return bytes;
}

// ---- ByteOrder.h ----

TEST(ByteOrder, ReversesTheBytesOfNumbers) {
  EXPECT_EQ(0x04030201, Turned(0x01020304));
  EXPECT_EQ(std::int32_t{1} << 24, Turned(std::int32_t{1}));
  EXPECT_EQ(OBS{0x0807060504030201}, Turned(OBS{0x0102030405060708}));
  EXPECT_EQ(std::bit_cast<double>(std::uint64_t{0x000000000000F03F}), Turned(1.0));
}

TEST(ByteOrder, ReversingTwiceRestoresTheNumber) {
  EXPECT_EQ(-2, Turned(Turned(-2)));
  EXPECT_EQ(OBS{0xFFEFFFFFFFFFFFFF}, Turned(Turned(OBS{0xFFEFFFFFFFFFFFFF})));
}

TEST(ByteOrder, LoadsAndStoresAtAnyOffset) {
  std::array<std::byte, 13> raw{};
  Store(raw.data() + 3, 2.5);
  EXPECT_EQ(2.5, Load<double>(raw.data() + 3));
  Store(raw.data() + 3, 2.5, ByteOrder::reversed);
  EXPECT_EQ(2.5, Load<double>(raw.data() + 3, ByteOrder::reversed));
  EXPECT_NE(2.5, Load<double>(raw.data() + 3));
}

// ---- ByteCursor.h ----

TEST(ByteCursor, ReadsConsecutiveFields) {
  const auto bytes = BytesOf(SystemFileBuilder().I32(-7).F64(1.25).Text("abc", 5).Value("a cell").Bytes());
  ByteCursor in(bytes, ByteOrder::native);
  EXPECT_EQ(-7, in.I32());
  EXPECT_EQ(1.25, in.Double());
  EXPECT_EQ("abc  ", in.Text(5));
  EXPECT_EQ(0, std::memcmp(in.Bytes(8).data(), "a cell  ", 8));
  EXPECT_EQ(0u, in.Left());
}

TEST(ByteCursor, ReadsNumbersInReversedOrder) {
  const auto bytes = BytesOf(SystemFileBuilder(kReversedOrder).I32(-7).F64(1.25).Bytes());
  ByteCursor in(bytes, ByteOrder::reversed);
  EXPECT_EQ(-7, in.I32());
  EXPECT_EQ(1.25, in.Double());
}

TEST(ByteCursor, SetOrderAppliesToLaterReads) {
  const auto bytes = BytesOf(SystemFileBuilder(kReversedOrder).I32(1).I32(1).Bytes());
  ByteCursor in(bytes, ByteOrder::native);
  EXPECT_EQ(1 << 24, in.I32());
  in.SetOrder(ByteOrder::reversed);
  EXPECT_EQ(1, in.I32());
}

TEST(ByteCursor, DoesNotByteSwapACell) {
  const auto bytes = BytesOf("abcdefgh");
  ByteCursor in(bytes, ByteOrder::reversed);
  const OBS cell = in.Cell();
  EXPECT_EQ("abcdefgh", std::string_view(CellText(&cell), 8));
}

TEST(ByteCursor, LeftCountsTheRemainingBytes) {
  const auto bytes = BytesOf("12345");
  ByteCursor in(bytes, ByteOrder::native);
  EXPECT_EQ(5u, in.Left());
  in.Text(0);
  EXPECT_EQ(5u, in.Left());
  in.Text(4);
  EXPECT_EQ(1u, in.Left());
}

struct TooMuch {
  const char* name;
  void (*read)(ByteCursor& in);
};

class ByteCursorPastItsEnd : public testing::TestWithParam<TooMuch> {};

TEST_P(ByteCursorPastItsEnd, ThrowsTheFailedConditionAndDoesNotMove) {
  const auto bytes = BytesOf("123");
  ByteCursor in(bytes, ByteOrder::native);
  try {
    GetParam().read(in);
    FAIL() << "nothing was thrown";
  } catch (const SystemFileException& fault) {
    EXPECT_EQ(1204, fault.Number());
    EXPECT_EQ("count <= left", fault.Expression());
    EXPECT_FALSE(fault.System());
  }
  EXPECT_EQ("123", in.Text(3));
}

INSTANTIATE_TEST_SUITE_P(
    Reads, ByteCursorPastItsEnd,
    testing::Values(
        TooMuch{"Integer", [](ByteCursor& in) { in.I32(); }}, TooMuch{"Double", [](ByteCursor& in) { in.Double(); }},
        TooMuch{"Cell", [](ByteCursor& in) { in.Cell(); }}, TooMuch{"Text", [](ByteCursor& in) { in.Text(4); }},
        TooMuch{"Bytes", [](ByteCursor& in) { in.Bytes(4); }},
        TooMuch{"AnyNumberOfBytes", [](ByteCursor& in) { in.Bytes(std::numeric_limits<std::size_t>::max()); }}),
    kRowName);

}  // namespace
}  // namespace ByteCursor_test
