#include "systemfile/ByteBuilder.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>
#include <string>

#include "systemfile/ByteCursor.h"
#include "tests/support/SystemFileBuilder.h"

namespace ByteBuilder_test {
namespace {

std::string BytesOf(const ByteBuilder& out) { return {AsText(out.Bytes().data()), out.Bytes().size()}; }

TEST(ByteBuilder, IsEmptyByDefault) {
  const ByteBuilder out;
  EXPECT_EQ(0u, out.Size());
  EXPECT_TRUE(out.Bytes().empty());
}

TEST(ByteBuilder, WritesNumbersInNativeOrder) {
  ByteBuilder out;
  out.I32(0x01020304);
  out.I32(-2);
  out.Double(-2.5);
  EXPECT_EQ(SystemFileBuilder().I32(0x01020304).I32(-2).F64(-2.5).Bytes(), BytesOf(out));
  EXPECT_EQ(16u, out.Size());
}

TEST(ByteBuilder, KeepsTheBitsOfACell) {
  ByteBuilder out;
  const OBS text{std::bit_cast<std::uint64_t>(std::to_array<char>({'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}))};
  out.Cell(text);
  out.Cell(kSystemMissingCell);
  EXPECT_EQ("abcdefgh" + SystemFileBuilder().F64(kFileSystemMissing).Bytes(), BytesOf(out));
}

TEST(ByteBuilder, WritesTheLowEightBitsAsAByte) {
  ByteBuilder out;
  out.Byte('a');
  out.Byte(0);
  out.Byte(0x1FF);
  out.Byte(-1);
  EXPECT_EQ(std::string("a\0\xFF\xFF", 4), BytesOf(out));
}

TEST(ByteBuilder, FillRepeatsAByte) {
  ByteBuilder out;
  out.Byte('a');
  out.Fill(3, '-');
  out.Fill(0, '+');
  out.Fill(1, '\0');
  EXPECT_EQ(std::string("a---\0", 5), BytesOf(out));
}

TEST(ByteBuilder, WritesTextUnchanged) {
  ByteBuilder out;
  out.Text("ab");
  out.Text("");
  out.Text(std::string_view("\0c", 2));
  EXPECT_EQ(std::string("ab\0c", 4), BytesOf(out));
}

TEST(ByteBuilder, PadsAFieldWithBlanks) {
  ByteBuilder out;
  out.Field("abc", 5);
  EXPECT_EQ("abc  ", BytesOf(out));
  out.Field("", 2);
  EXPECT_EQ("abc    ", BytesOf(out));
}

TEST(ByteBuilder, CutsAFieldToItsSizeInBytes) {
  ByteBuilder out;
  out.Field("abcdef", 3);
  out.Field("\xC3\xA4", 1);
  out.Field("x", 0);
  EXPECT_EQ("abc\xC3", BytesOf(out));
}

TEST(ByteBuilder, WritesTheLengthBeforeACountedText) {
  ByteBuilder out;
  out.CountedText("abc");
  out.CountedText("");
  EXPECT_EQ(SystemFileBuilder().I32(3).Raw("abc").I32(0).Bytes(), BytesOf(out));
}

TEST(ByteBuilder, WritesWhatAByteCursorReads) {
  ByteBuilder out;
  out.I32(std::numeric_limits<std::int32_t>::min());
  out.CountedText("name");
  out.Double(1e300);
  out.Cell(kBlankCell);
  ByteCursor in(out.Bytes(), ByteOrder::native);
  EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), in.I32());
  EXPECT_EQ(4, in.I32());
  EXPECT_EQ("name", in.Text(4));
  EXPECT_EQ(1e300, in.Double());
  EXPECT_EQ(kBlankCell, in.Cell());
  EXPECT_EQ(0u, in.Left());
}

}  // namespace
}  // namespace ByteBuilder_test
