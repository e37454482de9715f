#include "tools/systemfile/RecordLookAhead.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;

constexpr int kHeaderSize = 176;
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

// Builds the bytes of a system file, field by field. It shares no code with the reader or the writer.
class FileBytes {
 public:
  explicit FileBytes(bool reversed = false, const std::string& magic = "$FL2") : m_reversed(reversed) {
    m_bytes = magic + std::string(60, ' ');
    I32(2);  // layout code
    m_bytes.resize(kHeaderSize, ' ');
  }

  FileBytes& I32(std::int32_t number) {
    auto raw = std::bit_cast<std::array<char, 4>>(number);
    if (m_reversed) std::ranges::reverse(raw);
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
  // Adds the first record of a string and the records of its further cells.
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
  bool m_reversed;
};

std::optional<tool::FatalFlaw> FlawOf(const std::string& bytes) {
  std::string copy = bytes;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(fmemopen(copy.data(), copy.size(), "rb"), std::fclose);
  return tool::FindFatalFlaw(stream.get());
}
std::optional<tool::FatalFlaw> FlawOf(const FileBytes& file) { return FlawOf(file.Text()); }

// Adds a flaw at the end of a file, to check that the walk arrives there.
FileBytes& Flaw(FileBytes& file) { return file.Extension(12, 0, 0, ""); }

class RecordLookAhead : public testing::TestWithParam<bool> {
 protected:
  FileBytes m_file{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(InEitherByteOrder, RecordLookAhead, testing::Bool(),
                         [](const auto& order) { return order.param ? "Reversed" : "Native"; });

TEST_P(RecordLookAhead, FindsNothingInASoundFile) {
  m_file.Variable(0, -3, "label").String(20).Variable(0, 2).Labels({"", "one", std::string(120, 'x')}, {1, 5});
  m_file.Documents(2).Extension(3, 4, 8, std::string(32, 'x')).Extension(99, 1, 1, "y").End();
  EXPECT_FALSE(FlawOf(m_file));
}

TEST_P(RecordLookAhead, WalksPastEveryKindOfRecord) {
  m_file.Variable(0, -3, "label").String(20).Variable(0, 2).Labels({"", "one", std::string(120, 'x')}, {1, 5});
  m_file.Documents(2).Extension(3, 4, 8, std::string(32, 'x')).Variable(8, 1, "exactly8");
  const long long offset = m_file.Size();
  const auto flaw = FlawOf(Flaw(m_file));
  ASSERT_TRUE(flaw);
  EXPECT_EQ(offset, flaw->offset);
}

TEST_P(RecordLookAhead, FindsAnExtensionRecordWithoutUnits) {
  const auto flaw = FlawOf(m_file.Variable(0).Extension(12, 4, 0, "").End());
  ASSERT_TRUE(flaw);
  EXPECT_THAT(flaw->trouble, HasSubstr("extension record of subtype 12 has no contents"));
}

TEST_P(RecordLookAhead, FindsAnExtensionRecordWithUnitSizeZero) {
  EXPECT_TRUE(FlawOf(m_file.Variable(0).Extension(12, 0, 4, "").End()));
}

TEST_P(RecordLookAhead, FindsUnitSizeZeroWithANegativeCount) {
  EXPECT_TRUE(FlawOf(m_file.Variable(0).Extension(12, 0, -4, "").End()));
}

TEST_P(RecordLookAhead, FindsANegativeSubtype) {
  const auto flaw = FlawOf(m_file.Variable(0).Extension(-1, 1, 4, "four").End());
  ASSERT_TRUE(flaw);
  EXPECT_THAT(flaw->trouble, HasSubstr("subtype -1"));
}

TEST_P(RecordLookAhead, IgnoresNegativeSubtypeWithTruncatedContents) {
  EXPECT_FALSE(FlawOf(m_file.Variable(0).Extension(-1, 1, 4, "thr")));
}

TEST_P(RecordLookAhead, ReportsTheOffsetOfTheSlot) {
  m_file.Variable(0).Labels({"one"}, {1, 7, 8});
  const auto flaw = FlawOf(m_file);
  ASSERT_TRUE(flaw);
  EXPECT_THAT(flaw->trouble, HasSubstr("slot 7"));
  EXPECT_EQ(m_file.Size() - 8, flaw->offset);
}

TEST_P(RecordLookAhead, CountsNoSlotForAVariableAfterAnotherRecord) {
  EXPECT_TRUE(FlawOf(m_file.Variable(0).Documents(0).Variable(0).Labels({"one"}, {2})));
}

TEST_P(RecordLookAhead, CountsSlotsByWidthsAndNotByContinuationRecords) {
  // The record of width 20 lacks its two continuations, but the next variable is still at slot 4.
  EXPECT_FALSE(FlawOf(m_file.Variable(20).Variable(0).Labels({"one"}, {4}).End()));
}

struct SlotCase {
  const char* name;
  std::int32_t slot;
  bool isFlaw;
};

class RecordLookAheadSlots : public testing::TestWithParam<SlotCase> {};

// Slots of the file: 1 a number, 2 to 4 a string of 20 bytes, 5 one of 8 bytes, 6 to 37 one of 255, 38 a number.
INSTANTIATE_TEST_SUITE_P(OfTheFile, RecordLookAheadSlots,
                         testing::Values(SlotCase{"Least", kLeast, true}, SlotCase{"Negative", -1, true},
                                         SlotCase{"Zero", 0, true}, SlotCase{"First", 1, false},
                                         SlotCase{"LongString", 2, false}, SlotCase{"SecondCell", 3, true},
                                         SlotCase{"LastCell", 4, true}, SlotCase{"ShortString", 5, false},
                                         SlotCase{"WidestString", 6, false}, SlotCase{"LastCellOfTheWidest", 37, true},
                                         SlotCase{"Last", 38, false}, SlotCase{"AfterTheLast", 39, true},
                                         SlotCase{"Most", kMost, true}),
                         [](const auto& row) { return row.param.name; });

TEST_P(RecordLookAheadSlots, FindsASlotAtWhichNoVariableBegins) {
  FileBytes file;
  file.Variable(0).String(20).String(8).String(255).Variable(0).Labels({"one"}, {1, GetParam().slot}).End();
  EXPECT_EQ(GetParam().isFlaw, FlawOf(file).has_value());
}

struct StopCase {
  const char* name;
  FileBytes file;
};

class RecordLookAheadStops : public testing::TestWithParam<StopCase> {};

FileBytes WithFlaw(FileBytes file) { return Flaw(file); }

// Errors that the library reports, each followed by a flaw that the walk must not reach.
INSTANTIATE_TEST_SUITE_P(
    WhatTheLibraryReports, RecordLookAheadStops,
    testing::Values(
        StopCase{"OtherMagic", WithFlaw(FileBytes(false, "$FL9").Variable(0))},
        StopCase{"UnknownRecord", WithFlaw(FileBytes().Variable(0).I32(8))},
        StopCase{"IndexRecordWithoutLabels", WithFlaw(FileBytes().Variable(0).I32(4).I32(1).I32(9))},
        StopCase{"LabelsWithoutAnIndex", WithFlaw(FileBytes().Variable(0).I32(3).I32(0).I32(6).I32(0))},
        StopCase{"LabelsForNoVariable", WithFlaw(FileBytes().Variable(0).I32(3).I32(0).I32(4).I32(0))},
        StopCase{"LabelsForANegativeCount", WithFlaw(FileBytes().Variable(0).I32(3).I32(0).I32(4).I32(-1))},
        StopCase{"StringTooWide", WithFlaw(FileBytes().Variable(256))},
        StopCase{"TooManyMissingValues", WithFlaw(FileBytes().Variable(0, 4))},
        StopCase{"TooManyMissingValuesWithARange", WithFlaw(FileBytes().Variable(0, -4))},
        StopCase{"ExtensionOfNegativeSize", WithFlaw(FileBytes().Variable(0).Extension(12, -1, 4, ""))},
        StopCase{"ExtensionOfNegativeCount", WithFlaw(FileBytes().Variable(0).Extension(12, 4, -1, ""))},
        StopCase{"SubtypeTooHigh", WithFlaw(FileBytes().Variable(0).Extension(1 << 20, 1, 4, "four"))},
        StopCase{"ExtensionLongerThanTheFile", WithFlaw(FileBytes().Variable(0).Extension(12, kMost, kMost, ""))},
        StopCase{"MoreSlotsThanTheFileHolds", WithFlaw(FileBytes().Variable(0).I32(3).I32(0).I32(4).I32(kMost).I32(9))},
        StopCase{"MoreLabelsThanTheFileHolds", WithFlaw(FileBytes().Variable(0).I32(3).I32(kMost))},
        StopCase{"MoreDocumentsThanTheFileHolds", WithFlaw(FileBytes().Variable(0).I32(6).I32(kMost))},
        StopCase{"TheEnd", WithFlaw(FileBytes().Variable(0).End())}),
    [](const auto& row) { return row.param.name; });

TEST_P(RecordLookAheadStops, FindsNoFlawAfterAnError) { EXPECT_FALSE(FlawOf(GetParam().file)); }

TEST(RecordLookAheadEdges, TreatsANegativeLabelCountAsZero) {
  FileBytes file;
  file.Variable(0).I32(3).I32(-5).I32(4).I32(1).I32(2);
  EXPECT_TRUE(FlawOf(file));
}

TEST(RecordLookAheadEdges, TreatsANegativeDocumentLineCountAsZero) {
  FileBytes file;
  file.Variable(0).I32(6).I32(-5);
  EXPECT_TRUE(FlawOf(Flaw(file)));
}

TEST(RecordLookAheadEdges, TreatsANegativeLabelLengthAsZero) {
  FileBytes file;
  file.I32(2).I32(0).I32(1).I32(0).I32(0).I32(0).Bytes("NAME    ").I32(kLeast);
  EXPECT_TRUE(FlawOf(Flaw(file)));
}

TEST(RecordLookAheadEdges, WalksPastTheHighestSubtype) {
  FileBytes file;
  file.Variable(0).Extension((1 << 20) - 1, 1, 4, "four");
  EXPECT_TRUE(FlawOf(Flaw(file)));
}

TEST(RecordLookAheadEdges, ReadsAZlibFile) {
  FileBytes file(false, "$FL3");
  file.Variable(0);
  EXPECT_TRUE(FlawOf(Flaw(file)));
}

TEST(RecordLookAheadEdges, FindsNothingInAFileTruncatedBeforeTheFlawIsComplete) {
  FileBytes file;
  file.Variable(0, 1, "label").String(9).Labels({"one", "two"}, {1}).Documents(1).Extension(3, 1, 2, "ab");
  const auto whole = static_cast<std::size_t>(Flaw(file).Size());
  for (std::size_t size = 1; size < whole; ++size) EXPECT_FALSE(FlawOf(file.Text().substr(0, size))) << size;
  EXPECT_TRUE(FlawOf(file));
}

// Encrypted files are read this way.
TEST(RecordLookAheadEdges, ReadsAStreamOfTheLibrary) {
  FileBytes file;
  file.Variable(0, 1, "label").Labels({"one", "two"}, {1}).Extension(3, 1, 2, "ab");
  const std::string name = testing::TempDir() + "stream-of-records";
  std::ofstream(name, std::ios::binary) << file.Text();
  QUAV_FileStream sound(name.c_str(), "rb", false);
  EXPECT_FALSE(tool::FindFatalFlaw(sound));
  std::ofstream(name, std::ios::binary) << Flaw(file).Text();
  QUAV_FileStream flawed(name.c_str(), "rb", false);
  const auto flaw = tool::FindFatalFlaw(flawed);
  ASSERT_TRUE(flaw);
  EXPECT_EQ(FlawOf(file)->offset, flaw->offset);
  std::remove(name.c_str());
}

TEST(RecordLookAheadEdges, FindsNothingInAMissingFile) {
  EXPECT_FALSE(tool::FindFatalFlaw(testing::TempDir() + "no such file"));
}

TEST(RecordLookAheadEdges, FindsNothingInAnEmptyFile) { EXPECT_FALSE(tool::FindFatalFlaw("/dev/null")); }

TEST(RecordLookAheadEdges, FindsNothingInAFolder) { EXPECT_FALSE(tool::FindFatalFlaw(testing::TempDir())); }

TEST(FatalFlaw, TextNamesTheTroubleAndTheByte) {
  EXPECT_EQ("a record is odd (at byte 300)", (tool::FatalFlaw{"a record is odd", 300}.Text()));
}

}  // namespace
