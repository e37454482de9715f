#include "systemfile/SystemFileDechunker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/SystemFileDataSource.h"

namespace SystemFileDechunker_test {
namespace {

// Bytes that differ from their neighbours; no byte is a blank or NUL.
std::string TextOf(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('!' + i % 89);
  return text;
}

std::string Blanks(std::size_t count) { return std::string(count, ' '); }

// The dechunker of a file whose variables have the given types.
struct Dechunker {
  SystemFileDataSource source;
  SystemFileDechunker dechunker;

  Dechunker(const std::vector<int>& types, const std::vector<std::pair<int, int>>& list) {
    for (const int type : types) source.MakeVariable(type, nullptr);
    dechunker.SetEStringVars(source, list);
  }

  // Returns the caller's case, of `cells` cells, for the bytes of a case in the file.
  std::string Dechunked(const std::string& fileCase, std::size_t cells) const {
    EXPECT_EQ(source.GetObsAreaSize() * 8, fileCase.size());
    std::vector<OBS> in(fileCase.size() / 8), out(cells + 1, OBS{0x5A5A5A5A5A5A5A5A});
    std::memcpy(in.data(), fileCase.data(), fileCase.size());
    dechunker.Dechunk(in.data(), out.data());
    EXPECT_EQ(OBS{0x5A5A5A5A5A5A5A5A}, out.back()) << "written after the case";
    return {CellText(out.data()), cells * 8};
  }
};

// A segment of 256 bytes that holds the text.
std::string Segment(const std::string& text) { return text + std::string(255 - text.size(), '\0') + ' '; }

TEST(SystemFileDechunker, IsInactiveByDefault) {
  const SystemFileDechunker dechunker;
  EXPECT_FALSE(dechunker.Active());
  const OBS in{1};
  OBS out{2};
  dechunker.Dechunk(&in, &out);
  EXPECT_EQ(OBS{2}, out);
}

TEST(SystemFileDechunker, IsActiveWithAVeryLongString) {
  EXPECT_TRUE(Dechunker({255, 48}, {{0, 300}}).dechunker.Active());
}

TEST(SystemFileDechunker, IsInactiveWithAnEmptyList) {
  Dechunker d({255, 48}, {{0, 300}});
  d.dechunker.SetEStringVars(d.source, {});
  EXPECT_FALSE(d.dechunker.Active());
}

TEST(SystemFileDechunker, JoinsAStringOf300Bytes) {
  const Dechunker d({255, 48}, {{0, 300}});
  const std::string text = TextOf(300);
  EXPECT_EQ(text + Blanks(4), d.Dechunked(Segment(text.substr(0, 255)) + text.substr(255) + Blanks(3), 38));
}

TEST(SystemFileDechunker, JoinsAStringOf600BytesIntoOneCellLess) {
  const Dechunker d({255, 255, 96, 0}, {{0, 600}});
  const std::string text = TextOf(600);
  const std::string inFile =
      Segment(text.substr(0, 255)) + Segment(text.substr(255, 255)) + text.substr(510) + Blanks(6) + "after!!!";
  EXPECT_EQ(text + "after!!!", d.Dechunked(inFile, 76));
}

TEST(SystemFileDechunker, TakesASegmentUpToItsLastNonNulByte) {
  const Dechunker d({255, 48}, {{0, 300}});
  const std::string text = TextOf(300);
  for (const std::size_t length : {252u, 253u, 254u, 255u}) {
    std::string inFile = Segment(text.substr(0, length)) + text.substr(length);
    inFile.resize(304, ' ');
    EXPECT_EQ(text + Blanks(4), d.Dechunked(inFile, 38)) << length;
  }
}

TEST(SystemFileDechunker, KeepsNulBytesInsideASegment) {
  const Dechunker d({255, 48}, {{0, 300}});
  std::string text = TextOf(300);
  text[252] = text[100] = '\0';
  std::string inFile = Segment(text.substr(0, 254)) + text.substr(254);
  inFile.resize(304, ' ');
  EXPECT_EQ(text + Blanks(4), d.Dechunked(inFile, 38));
}

TEST(SystemFileDechunker, TakesAtLeast252BytesOfASegment) {
  const Dechunker d({255, 48}, {{0, 300}});
  const std::string inFile = std::string(256, '\0') + TextOf(48);
  EXPECT_EQ(std::string(252, '\0') + TextOf(48) + Blanks(4), d.Dechunked(inFile, 38));
}

TEST(SystemFileDechunker, CopiesTheCellsAroundTheStrings) {
  // N, S of 300 bytes, N, M, T of 600 bytes, N.
  const Dechunker d({0, 255, 48, 0, 8, 255, 255, 96, 0}, {{1, 300}, {5, 600}});
  const std::string s = TextOf(300), t = TextOf(600);
  const std::string inFile = "before!!" + Segment(s.substr(0, 255)) + s.substr(255) + Blanks(3) + "between1between2" +
                             Segment(t.substr(0, 255)) + Segment(t.substr(255, 255)) + t.substr(510) + Blanks(6) +
                             "after!!!";
  EXPECT_EQ("before!!" + s + Blanks(4) + "between1between2" + t + "after!!!", d.Dechunked(inFile, 1 + 38 + 2 + 75 + 1));
}

TEST(SystemFileDechunker, JoinsAdjacentStrings) {
  const Dechunker d({255, 48, 255, 48}, {{0, 300}, {2, 300}});
  const std::string text = TextOf(300);
  const std::string one = Segment(text.substr(0, 255)) + text.substr(255) + Blanks(3);
  EXPECT_EQ(text + Blanks(4) + text + Blanks(4), d.Dechunked(one + one, 76));
}

TEST(SystemFileDechunker, CopiesAStringThatIsNotVeryLong) {
  const Dechunker d({5, 20}, {{0, 5}, {1, 20}});
  // The bytes after the width become blanks.
  EXPECT_EQ("short   a text of 20 bytes..    ", d.Dechunked("shortxxxa text of 20 bytes..xxxx", 4));
}

// The types of the variables that hold a string of the width in a file: 255 for each 252 bytes of it, and the rest.
std::vector<int> SegmentTypes(int width) {
  std::vector<int> types(static_cast<std::size_t>(width / 252), 255);
  if (width % 252 != 0) types.push_back(width % 252);
  return types;
}

// A case of that file. Each segment holds as much text as it can.
std::string Chunked(const std::string& text) {
  std::string inFile, rest = text;
  for (std::size_t segment = 0; segment < text.size() / 252; ++segment) {
    std::string piece = rest.substr(0, 255);
    rest.erase(0, piece.size());
    piece.resize(256, ' ');
    inFile += piece;
  }
  inFile += rest;
  inFile.resize((text.size() + text.size() / 252 * 4 + 7) / 8 * 8, ' ');
  return inFile;
}

TEST(SystemFileDechunker, JoinsEveryWidth) {
  for (int width = 256; width <= 1600; ++width) {
    const Dechunker d(SegmentTypes(width), {{0, width}});
    const std::string text = TextOf(static_cast<std::size_t>(width));
    const auto cells = static_cast<std::size_t>((width + 7) / 8);
    ASSERT_EQ(text + Blanks(cells * 8 - text.size()), d.Dechunked(Chunked(text), cells)) << "width " << width;
  }
}

TEST(SystemFileDechunker, JoinsTheWidestString) {
  const Dechunker d(SegmentTypes(32767), {{0, 32767}});
  const std::string text = TextOf(32767);
  EXPECT_EQ(text + " ", d.Dechunked(Chunked(text), 4096));
}

TEST(SystemFileDechunkerDeathTest, PaddingOfAWholeCellAsserts) {
  const Dechunker d({8, 0}, {{0, 0}});
  EXPECT_DEATH(d.Dechunked("abcdefgh12345678", 2), testing::HasSubstr("assertion failed: padlen < 8"));
}

}  // namespace
}  // namespace SystemFileDechunker_test
