#include "systemfile/GroupWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/ByteOrder.h"
#include "tests/support/Reading.h"

namespace GroupWriter_test {
namespace {

std::string Group(const std::vector<int>& codes, const FileCase& literals = {}) {
  SystemFileBuilder group;
  for (const int code : codes) group.Raw(std::string(1, static_cast<char>(code)));
  return group.Case(literals).Bytes();
}

// The part of a group that has these codes in use.
BegunGroup Begun(int codes, const std::string& bytes) {
  BegunGroup begun;
  begun.codes = codes;
  begun.size = bytes.size();
  std::copy_n(AsBytes(bytes.data()), bytes.size(), begun.bytes.begin());
  return begun;
}

void Write(GroupWriter& writer, double value) {
  const OBS cell = NumberCell(value);
  writer.Write(&cell);
}

TEST(GroupWriter, ContinuesTheGroupThatIsBegun) {
  FaultyStream stream("");
  GroupWriter writer(stream, 1, Begun(2, Group({253, 101, 0, 0, 0, 0, 0, 0}, {5.0})));
  EXPECT_EQ(2, writer.CodeIndex());
  Write(writer, 0.5);
  Write(writer, 2.0);
  EXPECT_EQ(4, writer.CodeIndex());
  EXPECT_EQ(0, writer.GroupStart());
  writer.Flush();
  EXPECT_EQ(Group({253, 101, 253, 102, 0, 0, 0, 0}, {5.0, 0.5}), stream.Bytes());
}

TEST(GroupWriter, BeginsAGroupOfItsOwnAfterTheOneThatWasBegun) {
  FaultyStream stream("");
  GroupWriter writer(stream, 1, Begun(7, Group({101, 101, 101, 101, 101, 101, 101, 0})));
  Write(writer, 2.0);
  EXPECT_EQ(0, writer.CodeIndex());
  EXPECT_EQ(8, writer.GroupStart());
  Write(writer, 3.0);
  writer.Flush();
  EXPECT_EQ(Group({101, 101, 101, 101, 101, 101, 101, 102}) + Group({103, 0, 0, 0, 0, 0, 0, 0}), stream.Bytes());
}

TEST(GroupWriter, ReportsAStreamThatTakesLess) {
  FaultyStream stream("", FaultyStream::kShortens, 1);
  GroupWriter writer(stream, 1);
  Write(writer, 0.5);
  try {
    writer.Flush();
    FAIL() << "nothing was thrown";
  } catch (const SystemFileException& fault) {
    EXPECT_EQ(1202, fault.Number());
    EXPECT_TRUE(fault.System());
  }
}

}  // namespace
}  // namespace GroupWriter_test
