// Which records the check finds fatal, and what it leaves to the opening to report.

#include "datasrc/SystemFileCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tests/support/FaultyStream.h"
#include "tests/support/TempFile.h"

namespace SystemFileCheck_test {
namespace {

constexpr int kHeaderSize = 176;
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

// The bytes of a system file, written field by field. Nothing here is shared with the reader or the writer.
class FileBytes {
 public:
  explicit FileBytes(bool turned = false, const std::string& magic = "$FL2") : m_turned(turned) {
    m_bytes = magic + std::string(60, ' ');
    I32(2);  // layout code
    m_bytes.resize(kHeaderSize, ' ');
  }

  FileBytes& I32(std::int32_t number) {
    auto raw = std::bit_cast<std::array<char, 4>>(number);
    if (m_turned) std::ranges::reverse(raw);
    return Bytes(std::string(raw.begin(), raw.end()));
  }
  FileBytes& Bytes(const std::string& bytes) {
    m_bytes += bytes;
    return *this;
  }
  FileBytes& Variable(std::int32_t type, std::int32_t nMissing = 0, const std::string& label = "") {
    I32(2).I32(type).I32(label.empty() ? 0 : 1).I32(nMissing).I32(0x50802).I32(0x50802).Bytes("NAME    ");
    if (!label.empty()) I32(static_cast<std::int32_t>(label.size())).Bytes(Padded(label, 4));
    return Bytes(std::string(static_cast<std::size_t>(std::abs(nMissing)) * 8, '\0'));
  }
  // The first record of a string of the width and those of its further cells.
  FileBytes& String(std::int32_t width) {
    Variable(width);
    for (int cells = (width + 7) / 8; cells > 1; --cells) Variable(-1);
    return *this;
  }
  FileBytes& Labels(const std::vector<std::string>& labels, const std::vector<std::int32_t>& slots) {
    I32(3).I32(static_cast<std::int32_t>(labels.size()));
    for (const std::string& label : labels) {
      Bytes("valuebyt");
      Bytes(Padded(static_cast<char>(label.size()) + label, 8));
    }
    I32(4).I32(static_cast<std::int32_t>(slots.size()));
    for (const std::int32_t slot : slots) I32(slot);
    return *this;
  }
  FileBytes& Documents(int lines) {
    return I32(6).I32(lines).Bytes(std::string(static_cast<std::size_t>(lines) * 80, 'd'));
  }
  FileBytes& Extension(std::int32_t subtype, std::int32_t unitSize, std::int32_t nUnits, const std::string& contents) {
    return I32(7).I32(subtype).I32(unitSize).I32(nUnits).Bytes(contents);
  }
  FileBytes& End() { return I32(999).I32(0); }

  long long Size() const { return std::ssize(m_bytes); }
  const std::string& Text() const { return m_bytes; }

 private:
  static std::string Padded(std::string text, std::size_t unit) {
    text.resize((text.size() + unit - 1) / unit * unit, ' ');
    return text;
  }

  std::string m_bytes;
  bool m_turned;
};

std::optional<FatalRecord> FatalOf(const std::string& bytes) {
  FaultyStream stream(bytes);
  return FindFatalRecord(stream);
}
std::optional<FatalRecord> FatalOf(const FileBytes& file) { return FatalOf(file.Text()); }

std::optional<FatalRecord> FatalOfFile(const std::string& name) {
  QUAV_FileStream stream(name.c_str(), "rb", false);
  return FindFatalRecord(stream);
}

MATCHER_P2(IsFatal, assertion, place, "is \"" + std::string(assertion) + "\" at " + place) {
  if (!arg) {
    *result_listener << "which is none";
    return false;
  }
  *result_listener << "which is \"" << arg->assertion << "\" at " << arg->place.Text();
  return arg->assertion == assertion && arg->place.Text() == place;
}

constexpr char kNoContents[] = "m_nUnits && m_unitSize";

std::string At(const std::string& record, long long offset) { return record + ", byte " + std::to_string(offset); }

// A fatal record at the very end of a file, to see whether the check arrives there.
FileBytes& Fatal(FileBytes& file) { return file.Extension(12, 0, 0, ""); }

class SystemFileCheck : public testing::TestWithParam<bool> {
 protected:
  FileBytes m_file{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(InEitherByteOrder, SystemFileCheck, testing::Bool(),
                         [](const auto& order) { return order.param ? "Reversed" : "Native"; });

TEST_P(SystemFileCheck, FindsNothingInASoundFile) {
  m_file.Variable(0, -3, "label").String(20).Variable(0, 2).Labels({"", "one", std::string(120, 'x')}, {1, 5});
  m_file.Documents(2).Extension(3, 4, 8, std::string(32, 'x')).Extension(99, 1, 1, "y").End();
  EXPECT_FALSE(FatalOf(m_file));
}

TEST_P(SystemFileCheck, ReadsEveryKindOfRecord) {
  m_file.Variable(0, -3, "label").String(20).Variable(0, 2).Labels({"", "one", std::string(120, 'x')}, {1, 5});
  m_file.Documents(2).Extension(3, 4, 8, std::string(32, 'x')).Variable(8, 1, "exactly8");
  const long long offset = m_file.Size();
  EXPECT_THAT(FatalOf(Fatal(m_file)), IsFatal(kNoContents, At("record 7/12", offset)));
}

TEST_P(SystemFileCheck, FindsAnExtensionRecordWithoutUnits) {
  EXPECT_THAT(FatalOf(m_file.Variable(0).Extension(12, 4, 0, "").End()), IsFatal(kNoContents, "record 7/12, byte 208"));
}

TEST_P(SystemFileCheck, FindsAnExtensionRecordOfUnitsWithoutSize) {
  EXPECT_TRUE(FatalOf(m_file.Variable(0).Extension(12, 0, 4, "").End()));
}

TEST_P(SystemFileCheck, FindsAnExtensionRecordOfUnitsWithoutSizeAndANegativeCount) {
  EXPECT_TRUE(FatalOf(m_file.Variable(0).Extension(12, 0, -4, "").End()));
}

TEST_P(SystemFileCheck, FindsAnExtensionRecordOfASubtypeBelowZero) {
  EXPECT_THAT(FatalOf(m_file.Variable(0).Extension(-1, 1, 4, "four").End()),
              IsFatal("0 <= type", "record 7/-1, byte 208"));
}

TEST_P(SystemFileCheck, IgnoresASubtypeBelowZeroWithTruncatedContents) {
  EXPECT_FALSE(FatalOf(m_file.Variable(0).Extension(-1, 1, 4, "thr")));
}

TEST_P(SystemFileCheck, FindsASlotAtWhichNoVariableBegins) {
  m_file.Variable(0).Labels({"one"}, {1, 7, 8});
  EXPECT_THAT(FatalOf(m_file), IsFatal("0 <= index", "record 3, byte 208"));
}

TEST_P(SystemFileCheck, CountsNoSlotForAVariableAfterAnotherRecord) {
  EXPECT_TRUE(FatalOf(m_file.Variable(0).Documents(0).Variable(0).Labels({"one"}, {2})));
}

TEST_P(SystemFileCheck, CountsSlotsByWidthsAndNotByContinuationRecords) {
  // One record of width 20 without its two continuations: the next variable is at slot 4 all the same.
  EXPECT_FALSE(FatalOf(m_file.Variable(20).Variable(0).Labels({"one"}, {4}).End()));
}

// The long name of A is empty when the second record of sets asks for the members of the first.
TEST_P(SystemFileCheck, FindsASetWhoseMemberHasAnEmptyLongName) {
  m_file.Variable(0).Extension(7, 1, 13, "$s=C 1 L name").Extension(13, 1, 5, "NAME=");
  const long long offset = m_file.Size();
  m_file.Extension(19, 1, 17, "$t=E 1 1 1 0  abc").End();
  EXPECT_THAT(FatalOf(m_file), IsFatal("! str.empty()", At("record 7/19", offset)));
}

TEST_P(SystemFileCheck, AcceptsAnEmptyLongNameWithoutASet) {
  EXPECT_FALSE(
      FatalOf(m_file.Variable(0).Extension(13, 1, 5, "NAME=").Extension(19, 1, 17, "$t=E 1 1 1 0  abc").End()));
}

TEST_P(SystemFileCheck, StopsAtTheFirstFatalRecord) {
  m_file.Variable(0).Extension(12, 4, 0, "").Extension(-1, 1, 1, "a").End();
  EXPECT_THAT(FatalOf(m_file), IsFatal(kNoContents, "record 7/12, byte 208"));
}

struct SlotCase {
  const char* name;
  std::int32_t slot;
  bool isFatal;
};

class Slots : public testing::TestWithParam<SlotCase> {};

// Slots of the file: 1 a number, 2 to 4 a string of 20 bytes, 5 one of 8 bytes, 6 to 37 one of 255, 38 a number.
INSTANTIATE_TEST_SUITE_P(OfTheFile, Slots,
                         testing::Values(SlotCase{"Least", kLeast, true}, SlotCase{"BelowZero", -1, true},
                                         SlotCase{"Zero", 0, true}, SlotCase{"First", 1, false},
                                         SlotCase{"LongString", 2, false}, SlotCase{"SecondCell", 3, true},
                                         SlotCase{"LastCell", 4, true}, SlotCase{"ShortString", 5, false},
                                         SlotCase{"WidestString", 6, false}, SlotCase{"ItsLastCell", 37, true},
                                         SlotCase{"Last", 38, false}, SlotCase{"AfterTheLast", 39, true},
                                         SlotCase{"Most", kMost, true}),
                         [](const auto& row) { return row.param.name; });

TEST_P(Slots, AreFatalWhereNoVariableBegins) {
  FileBytes file;
  file.Variable(0).String(20).String(8).String(255).Variable(0).Labels({"one"}, {1, GetParam().slot}).End();
  EXPECT_EQ(GetParam().isFatal, FatalOf(file).has_value());
}

struct StopCase {
  const char* name;
  FileBytes file;
};

class StopsAt : public testing::TestWithParam<StopCase> {};

FileBytes WithFatal(FileBytes file) { return Fatal(file); }

// What the opening reports as an error, with a fatal record after it that the check must not reach.
INSTANTIATE_TEST_SUITE_P(
    WhatTheOpeningReports, StopsAt,
    testing::Values(
        StopCase{"AnotherMagic", WithFatal(FileBytes(false, "$FL9").Variable(0))},
        StopCase{"AnUnknownRecord", WithFatal(FileBytes().Variable(0).I32(8))},
        StopCase{"ALoneIndexRecord", WithFatal(FileBytes().Variable(0).I32(4).I32(1).I32(9))},
        StopCase{"LabelsWithoutAnIndex", WithFatal(FileBytes().Variable(0).I32(3).I32(0).I32(6).I32(0))},
        StopCase{"LabelsForNoVariable", WithFatal(FileBytes().Variable(0).I32(3).I32(0).I32(4).I32(0))},
        StopCase{"LabelsForFewerThanNone", WithFatal(FileBytes().Variable(0).I32(3).I32(0).I32(4).I32(-1))},
        StopCase{"TooWideAString", WithFatal(FileBytes().Variable(256))},
        StopCase{"TooManyMissingValues", WithFatal(FileBytes().Variable(0, 4))},
        StopCase{"TooManyMissingValuesOfARange", WithFatal(FileBytes().Variable(0, -4))},
        StopCase{"AnExtensionOfNegativeSize", WithFatal(FileBytes().Variable(0).Extension(12, -1, 4, ""))},
        StopCase{"AnExtensionOfNegativeCount", WithFatal(FileBytes().Variable(0).Extension(12, 4, -1, ""))},
        StopCase{"AnExtensionLongerThanTheFile", WithFatal(FileBytes().Variable(0).Extension(12, kMost, kMost, ""))},
        StopCase{"AnExtensionThatItsHandlerRefuses", WithFatal(FileBytes().Variable(0).Extension(3, 1, 2, "ab"))},
        StopCase{"MoreSlotsThanTheFileHolds",
                 WithFatal(FileBytes().Variable(0).I32(3).I32(0).I32(4).I32(kMost).I32(9))},
        StopCase{"MoreLabelsThanTheFileHolds", WithFatal(FileBytes().Variable(0).I32(3).I32(kMost))},
        StopCase{"MoreDocumentsThanTheFileHolds", WithFatal(FileBytes().Variable(0).I32(6).I32(kMost))},
        StopCase{"TheEnd", WithFatal(FileBytes().Variable(0).End())}),
    [](const auto& row) { return row.param.name; });

TEST_P(StopsAt, AndFindsNothing) { EXPECT_FALSE(FatalOf(GetParam().file)); }

TEST(SystemFileCheckEdges, TakesANegativeCountOfLabelsForNone) {
  FileBytes file;
  file.Variable(0).I32(3).I32(-5).I32(4).I32(1).I32(2);
  EXPECT_TRUE(FatalOf(file));
}

TEST(SystemFileCheckEdges, TakesANegativeCountOfDocumentLinesForNone) {
  FileBytes file;
  file.Variable(0).I32(6).I32(-5);
  EXPECT_TRUE(FatalOf(Fatal(file)));
}

TEST(SystemFileCheckEdges, TakesANegativeLengthOfALabelForNone) {
  FileBytes file;
  file.I32(2).I32(0).I32(1).I32(0).I32(0).I32(0).Bytes("NAME    ").I32(kLeast);
  EXPECT_TRUE(FatalOf(Fatal(file)));
}

TEST(SystemFileCheckEdges, ReadsTheHighestSubtype) {
  FileBytes file;
  file.Variable(0).Extension(kMost, 1, 4, "four");
  EXPECT_TRUE(FatalOf(Fatal(file)));
}

TEST(SystemFileCheckEdges, ReadsAZlibFileAsWell) {
  FileBytes file(false, "$FL3");
  file.Variable(0);
  EXPECT_TRUE(FatalOf(Fatal(file)));
}

TEST(SystemFileCheckEdges, FindsNothingInAFileThatIsCutAnywhereBeforeTheFatalRecordIsWhole) {
  FileBytes file;
  file.Variable(0, 1, "label").String(9).Labels({"one", "two"}, {1}).Documents(1).Extension(99, 1, 2, "ab");
  const auto whole = static_cast<std::size_t>(Fatal(file).Size());
  for (std::size_t size = 1; size < whole; ++size) EXPECT_FALSE(FatalOf(file.Text().substr(0, size))) << size;
  EXPECT_TRUE(FatalOf(file));
}

TEST(SystemFileCheckEdges, LeavesTheFileClosedToOtherSources) {
  FileBytes file;
  const TempFile onDisk(file.Variable(0).Extension(16, 8, 1, "12345678").End().Text());
  EXPECT_FALSE(FatalOfFile(onDisk.Name()));
  EXPECT_FALSE(SystemFileDataSource::IsOpen(onDisk.Name().c_str()));
}

TEST(SystemFileCheckEdges, FindsNothingInAFileThatDoesNotExist) {
  EXPECT_FALSE(FatalOfFile(testing::TempDir() + "no such file"));
}

TEST(SystemFileCheckEdges, FindsNothingInAnEmptyFile) { EXPECT_FALSE(FatalOfFile("/dev/null")); }

TEST(SystemFileCheckEdges, FindsNothingInAFolder) { EXPECT_FALSE(FatalOfFile(testing::TempDir())); }

// What ends the process still does so outside of the check.
TEST(SystemFileCheckDeathTest, LeavesNoScopeBehind) {
  FileBytes file;
  const std::string bytes = Fatal(file.Variable(0)).Text();
  EXPECT_TRUE(FatalOf(bytes));
  const TempFile onDisk(bytes);
  EXPECT_DEATH(SystemFileDataSource(onDisk.Name(), "", false), "assertion failed: m_nUnits && m_unitSize");
}

}  // namespace
}  // namespace SystemFileCheck_test
