#include "systemfile/GroupReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/ByteOrder.h"
#include "tests/support/Reading.h"

namespace GroupReader_test {
namespace {

std::string Group(const std::vector<int>& codes, const FileCase& literals = {}) {
  SystemFileBuilder group;
  for (const int code : codes) group.Raw(std::string(1, static_cast<char>(code)));
  return group.Case(literals).Bytes();
}

std::string BytesOf(const BegunGroup& part) { return {AsText(part.bytes.data()), part.size}; }

TEST(GroupReader, GivesThePartOfAGroupBeforeTheNextCell) {
  // A plain group is decoded ahead only if a whole window follows it.
  const std::string plain = Group({101, 253, 102, 253, 103, 104, 105, 106}, {0.5, 1.5});
  const std::string filled = Group({101, 253, 102, 253, 103, 0, 0, 0}, {0.5, 1.5});
  for (const std::string& bytes : {plain, plain + std::string(800, '\1'), filled}) {
    FaultyStream stream(bytes);
    GroupReader reader(stream, 1);
    for (int cell = 0; cell < 5; ++cell) {
      const BegunGroup part = reader.UsedPart();
      ASSERT_EQ(cell, part.codes);
      if (cell != 0) {
        const std::size_t literals = (cell > 1 ? 1UL : 0UL) + (cell > 3 ? 1UL : 0UL);
        EXPECT_EQ(bytes.substr(0, 8 + 8 * literals), BytesOf(part)) << cell;
      }
      OBS read;
      ASSERT_EQ(1, reader.Read(&read, nullptr));
    }
  }
}

TEST(GroupReader, GivesNoPartAfterAFullGroup) {
  FaultyStream stream(Group({101, 102, 103, 104, 105, 106, 107, 108}));
  GroupReader reader(stream, 8);
  std::vector<OBS> cells(8);
  ASSERT_EQ(8, reader.Read(cells.data(), nullptr));
  EXPECT_EQ(0, reader.UsedPart().codes);
  EXPECT_EQ(8, reader.GroupStart());
}

// Whatever is read at once, and whether the last group was read before or after.
TEST(GroupReader, EndsWhereTheDataEndedWhenItBegan) {
  for (const int added : {1, 20}) {
    const TempFile file(Group({101, 102, 103, 0, 0, 0, 0, 0}));
    QUAV_FileStream stream;
    ASSERT_TRUE(stream.Open(file.Name().c_str(), "rb"));
    GroupReader reader(stream, 1);
    OBS cell;
    ASSERT_EQ(1, reader.Read(&cell, nullptr));
    std::string longer = Group({101, 102, 103, 104, 105, 106, 107, 108});
    for (int i = 0; i < added; ++i) longer += Group({1, 1, 1, 1, 1, 1, 1, 1});
    file.SetBytes(longer);
    for (const double value : {2.0, 3.0}) {
      ASSERT_EQ(1, reader.Read(&cell, nullptr));
      EXPECT_EQ(NumberCell(value), cell);
    }
    EXPECT_EQ(0, reader.Read(&cell, nullptr));
    EXPECT_TRUE(reader.AtEnd());
  }
}

}  // namespace
}  // namespace GroupReader_test
