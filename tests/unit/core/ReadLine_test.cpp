#include "datasrc/ReadLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/RowName.h"

namespace ReadLine_test {
namespace {

using namespace std::string_view_literals;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Returns a file with these bytes, positioned at its start.
File FileOf(std::string_view bytes) {
  File file(std::tmpfile());
  std::fwrite(bytes.data(), 1, bytes.size(), file.get());
  std::rewind(file.get());
  return file;
}

std::vector<std::string> Lines(std::string_view bytes, int size) {
  const File file = FileOf(bytes);
  std::vector<char> buffer(static_cast<std::size_t>(size));
  std::vector<std::string> lines;
  while (const char* line = ReadLine(buffer.data(), size, file.get())) lines.emplace_back(line);
  return lines;
}

struct LinesRow {
  const char* name;
  std::string_view bytes;
  int size;
  std::vector<std::string> lines;
};

void PrintTo(const LinesRow& row, std::ostream* out) { *out << row.name; }

class ReadLineInput : public testing::TestWithParam<LinesRow> {};

TEST_P(ReadLineInput, IsReadLineByLine) { EXPECT_EQ(Lines(GetParam().bytes, GetParam().size), GetParam().lines); }

INSTANTIATE_TEST_SUITE_P(ReadLine, ReadLineInput,
                         testing::Values(LinesRow{"EmptyFile", "", 80, {}}, LinesRow{"OneLineFeed", "\n", 80, {"\n"}},
                                         LinesRow{"LineFeeds", "ab\ncd\n", 80, {"ab\n", "cd\n"}},
                                         LinesRow{"LastLineWithoutLineFeed", "ab\ncd", 80, {"ab\n", "cd"}},
                                         LinesRow{"EmptyLines", "\n\na\n", 80, {"\n", "\n", "a\n"}},
                                         LinesRow{"CarriageReturnsAndLineFeeds", "ab\r\ncd\r\n", 80, {"ab\n", "cd\n"}},
                                         LinesRow{"CarriageReturns", "ab\rcd\r", 80, {"ab\n", "cd\n"}},
                                         LinesRow{"TwoCarriageReturns", "ab\r\rcd", 80, {"ab\n", "\n", "cd"}},
                                         LinesRow{"CarriageReturnLineFeedLineFeed", "a\r\n\nb", 80, {"a\n", "\n", "b"}},
                                         LinesRow{"LineFeedCarriageReturn", "a\n\rb", 80, {"a\n", "\n", "b"}},
                                         LinesRow{"NulsAreSkipped", "\0a\0\0b\0\nc\0"sv, 80, {"ab\n", "c"}},
                                         LinesRow{"NulsAfterTheLastLine", "a\n\0\0"sv, 80, {"a\n"}},
                                         LinesRow{"NulAfterCarriageReturn", "a\r\0\nb"sv, 80, {"a\n", "\n", "b"}},
                                         LinesRow{"LongLineInPieces", "abcdefg\n", 4, {"abc", "def", "g\n"}},
                                         LinesRow{"LineThatJustFits", "abc\nd\n", 5, {"abc\n", "d\n"}},
                                         LinesRow{"LineFeedThatDoesNotFit", "abc\nd\n", 4, {"abc", "\n", "d\n"}},
                                         LinesRow{"PairOfWhichOneByteFits", "ab\r\nc", 4, {"ab\n", "c"}},
                                         LinesRow{"PairThatDoesNotFit", "abc\r\nd", 4, {"abc", "\n", "d"}},
                                         LinesRow{"NulsTakeNoRoom", "a\0b\0c\0d"sv, 4, {"abc", "d"}},
                                         LinesRow{"BytesAbove127", "\xFF\xE4\n", 80, {"\xFF\xE4\n"}}),
                         kRowName);

TEST(ReadLine, ReturnsTheBuffer) {
  const File file = FileOf("abc\n");
  std::array<char, 10> buffer{};
  EXPECT_EQ(ReadLine(buffer.data(), 10, file.get()), buffer.data());
}

TEST(ReadLine, WritesOnlyTheLineAndItsTerminator) {
  const File file = FileOf("abcdef");
  std::array<char, 6> buffer{'-', '-', '-', '-', '-', '-'};
  ReadLine(buffer.data(), 4, file.get());
  EXPECT_EQ(std::string_view(buffer.data(), 6), "abc\0--"sv);
}

TEST(ReadLine, SizeOneReadsNothing) {
  const File file = FileOf("abc");
  char buffer[] = "before";
  EXPECT_EQ(ReadLine(buffer, 1, file.get()), buffer);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(std::getc(file.get()), 'a');
}

TEST(ReadLine, SizeZeroReturnsNull) {
  const File file = FileOf("abc");
  char buffer[] = "before";
  EXPECT_EQ(ReadLine(buffer, 0, file.get()), nullptr);
  EXPECT_STREQ(buffer, "before");
}

}  // namespace
}  // namespace ReadLine_test
