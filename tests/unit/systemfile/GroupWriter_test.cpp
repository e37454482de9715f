#include "systemfile/GroupWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "casecodes/GroupDecoder.h"
#include "casecodes/GroupEncoder.h"
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

// The groups of all cells at once, the last one filled up.
std::string GroupsOf(const std::vector<OBS>& cells) {
  std::vector<OBS> filled = cells;
  const std::size_t last = cells.size() % kCodesPerGroup;
  filled.resize(cells.size() + (kCodesPerGroup - last) % kCodesPerGroup, NumberCell(1.0));
  std::vector<std::byte> bytes(filled.size() / kCodesPerGroup * kMaxGroupSize);
  OpenGroup open;
  const auto inGroups = static_cast<int>(cells.size() - last);
  std::byte* end = EncodeCellsPlainly(filled.data(), inGroups, open, bytes.data());
  if (last != 0) {
    std::byte* const group = end;
    end = EncodeCellsPlainly(filled.data() + inGroups, kCodesPerGroup, open, group);
    std::fill(group + last, group + kCodesPerGroup, std::byte{0});
  }
  std::string text;
  for (const std::byte* byte = bytes.data(); byte != end; ++byte) text += static_cast<char>(*byte);
  return text;
}

TEST(GroupWriter, WritesCasesOfAnySizeAsTheGroupsOfAllTheirCells) {
  std::mt19937 random(49);
  for (const int size : {1, 2, 3, 7, 8, 9, 15, 16, 17, 23, 50, 511, 512, 513, 519, 520, 521, 1023, 1025, 4099}) {
    for (const int cases : {1, 2, 3, 8, 5000 / size}) {
      SCOPED_TRACE(std::to_string(cases) + " cases of " + std::to_string(size) + " cells");
      std::vector<OBS> cells(static_cast<std::size_t>(size) * static_cast<std::size_t>(cases));
      for (OBS& cell : cells) cell = NumberCell(static_cast<double>(random() % 300) / (random() % 4 == 0 ? 7.0 : 1.0));
      FaultyStream stream("");
      GroupWriter writer(stream, size);
      for (int row = 0; row < cases; ++row) {
        // Each case alone in memory, so that a sanitizer sees a cell that is read beyond it.
        const auto begin = cells.begin() + static_cast<std::ptrdiff_t>(row) * size;
        const std::vector<OBS> own(begin, begin + size);
        const std::vector<OBS> before(cells.begin(), begin);
        if (row % 97 == 0) {
          EXPECT_EQ(std::ssize(before) % kCodesPerGroup, writer.CodeIndex());
          EXPECT_EQ(std::ssize(GroupsOf({before.begin(), before.end() - writer.CodeIndex()})), writer.GroupStart());
        }
        writer.Write(own.data());
      }
      writer.Flush();
      ASSERT_TRUE(GroupsOf(cells) == stream.Bytes());
    }
  }
}

TEST(GroupWriter, ContinuesABegunGroupWithCasesOfAnySize) {
  std::mt19937 random(50);
  for (std::ptrdiff_t codes = 1; codes < kCodesPerGroup; ++codes) {
    for (const int size : {1, 2, 7, 8, 9, 15, 16, 17, 513}) {
      SCOPED_TRACE(std::to_string(codes) + " codes, then cases of " + std::to_string(size) + " cells");
      std::vector<OBS> cells(static_cast<std::size_t>(codes + 5 * size));
      for (OBS& cell : cells) cell = NumberCell(random() % 2 == 0 ? 0.5 : 3.0);
      FaultyStream stream("");
      GroupWriter writer(stream, size,
                         Begun(static_cast<int>(codes), GroupsOf({cells.begin(), cells.begin() + codes})));
      for (auto row = cells.begin() + codes; row != cells.end(); row += size)
        writer.Write(std::vector<OBS>(row, row + size).data());
      writer.Flush();
      EXPECT_TRUE(GroupsOf(cells) == stream.Bytes());
    }
  }
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
