// A file in zlib blocks that this library made once: `penguins` with the same cases appended. It is kept so that later
// versions read what earlier ones wrote.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/Reading.h"

namespace zlib_test {
namespace {

const std::string kFile = std::string(SOURCE_DIR) + "/tests/golden/files/zlib_penguins.quav";
const std::string kOriginal = std::string(SOURCE_DIR) + "/examples/penguins.quav";

TEST(GoldenZlibFile, HasTheCasesOfTheOriginalTwice) {
  const SystemFileDataSource file(kFile, "", false);
  EXPECT_EQ(2, file.GetCompressionLevel());
  EXPECT_EQ(2 * 344, file.RowCount());
  auto expected = AllCells(SystemFileDataSource(kOriginal, "", false));
  const auto once = expected;
  expected.insert(expected.end(), once.begin(), once.end());
  EXPECT_EQ(expected, AllCells(file));
}

TEST(GoldenZlibFile, HasABlockAndATableFromEachWriting) {
  std::ifstream file(kFile, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ("$FL3", bytes.substr(0, 4));
  std::vector<std::size_t> marks;
  for (std::size_t at = 0; (at = bytes.find_first_of('Z', at)) != bytes.npos; ++at)
    for (const char* mark : {"ZBLK", "ZTAB", "ZEND"})
      if (bytes.compare(at, 4, mark) == 0) marks.push_back(at);
  ASSERT_EQ(6u, marks.size());
  EXPECT_EQ(bytes.size() - 4, marks.back());
}

TEST(GoldenZlibFile, ReadsAllCasesWithoutItsLastTable) {
  std::ifstream file(kFile, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const TempFile cut(bytes.substr(0, bytes.rfind("ZTAB")));
  EXPECT_EQ(2u * 344, AllCells(SystemFileDataSource(cut.Name(), "", false)).size());
}

}  // namespace
}  // namespace zlib_test
