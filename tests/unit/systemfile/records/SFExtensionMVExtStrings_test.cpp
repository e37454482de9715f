// Record 22: what the missing values of strings wider than 8 bytes do to a dictionary, and what is written for one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionMVExtStrings_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSubtype = 22;
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

// The bytes of entries, for a file of the byte order.
class Entries {
 public:
  explicit Entries(std::endian order = std::endian::native) : m_bytes(order) {}

  Entries& Head(std::string_view name, int count, std::int32_t valueLength) {
    m_bytes.I32(static_cast<std::int32_t>(name.size())).Raw(name);
    m_bytes.Raw(std::string(1, static_cast<char>(count))).I32(valueLength);
    return *this;
  }
  // All values have the same length.
  Entries& Entry(std::string_view name, const std::vector<std::string>& values) {
    Head(name, static_cast<int>(values.size()), static_cast<std::int32_t>(values[0].size()));
    for (const std::string& value : values) m_bytes.Raw(value);
    return *this;
  }
  Entries& Number(std::int32_t number) {
    m_bytes.I32(number);
    return *this;
  }
  Entries& Raw(std::string_view bytes) {
    m_bytes.Raw(bytes);
    return *this;
  }
  const std::string& Bytes() const { return m_bytes.Bytes(); }

 private:
  SystemFileBuilder m_bytes;
};

// The code of the missing values, and the text of each stored value.
struct MissingValues {
  int code;
  std::vector<std::string> values;
};

MissingValues MissingOf(const QUAV_DataSource& source, int column) {
  std::array<const OBS*, 3> cells;
  const int code = source.GetVariable(column).GetMissingValues(cells[0], cells[1], cells[2]);
  MissingValues missing{code, {}};
  for (int i = 0; i < std::abs(code); ++i) missing.values.emplace_back(CellText(cells[static_cast<std::size_t>(i)]), 8);
  return missing;
}

// ---- Reading ----

// Columns: N is a number, S8 has 8 bytes, S20 and T20 have 20. S20 has the missing value "old".
std::string FileWith(std::string_view bytes, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("N").String("S8", 8);
  file.Variable({.name = "S20", .type = 20, .missingCount = 1, .missing = {"old"}}).Continuation().Continuation();
  file.String("T20", 20);
  return file.Extension(kSubtype, 1, static_cast<std::int32_t>(bytes.size()), bytes).End().Bytes();
}
std::string FileWith(const Entries& entries) { return FileWith(entries.Bytes()); }
constexpr int kN = 0, kS8 = 1, kS20 = 2, kT20 = 3;

std::vector<std::string> Missing(const ReadDictionary& read, int column) {
  return MissingOf(read.source, column).values;
}

class SFExtensionMVExtStringsInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionMVExtStringsInEitherOrder,
                         testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(SFExtensionMVExtStringsInEitherOrder, SetsTheValuesOfTheNamedVariable) {
  Entries entries(GetParam());
  entries.Entry("S20", {"abcdefgh", "second  ", "third   "}).Entry("T20", {"other   "});
  const ReadDictionary read(FileWith(entries.Bytes(), GetParam()));
  EXPECT_EQ(3, MissingOf(read.source, kS20).code);
  EXPECT_THAT(Missing(read, kS20), ElementsAre("abcdefgh", "second  ", "third   "));
  EXPECT_EQ(1, MissingOf(read.source, kT20).code);
  EXPECT_THAT(Missing(read, kT20), ElementsAre("other   "));
}

TEST(SFExtensionMVExtStrings, ReadsTwoValues) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", {"first   ", "second  "})));
  EXPECT_EQ(2, MissingOf(read.source, kS20).code);
  EXPECT_THAT(Missing(read, kS20), ElementsAre("first   ", "second  "));
}

TEST(SFExtensionMVExtStrings, FindsTheVariableInAnyCase) {
  EXPECT_THAT(Missing(ReadDictionary(FileWith(Entries().Entry("s20", {"new     "}))), kS20), ElementsAre("new     "));
}

TEST(SFExtensionMVExtStrings, FindsTheVariableByItsLongName) {
  SystemFileBuilder file;
  const std::string entry = Entries().Entry("LongName", {"missing "}).Bytes();
  file.Header().String("A", 20).Extension(13, 1, 10, "A=LongName");
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(entry.size()), entry).End();
  EXPECT_THAT(Missing(ReadDictionary(file.Bytes()), 0), ElementsAre("missing "));
}

TEST(SFExtensionMVExtStrings, AcceptsAShortString) {
  EXPECT_THAT(Missing(ReadDictionary(FileWith(Entries().Entry("S8", {"missing "}))), kS8), ElementsAre("missing "));
}

TEST(SFExtensionMVExtStrings, PadsShortValuesWithBlanks) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", {"abcd", "efgh"}).Entry("T20", {"xy"})));
  EXPECT_THAT(Missing(read, kS20), ElementsAre("abcd    ", "efgh    "));
  EXPECT_THAT(Missing(read, kT20), ElementsAre("xy      "));
}

TEST(SFExtensionMVExtStrings, ValuesOfLength0AreBlank) {
  EXPECT_THAT(Missing(ReadDictionary(FileWith(Entries().Head("S20", 2, 0).Entry("T20", {"other   "}))), kS20),
              ElementsAre("        ", "        "));
}

TEST(SFExtensionMVExtStrings, ValueEndsAtANulByte) {
  EXPECT_THAT(Missing(ReadDictionary(FileWith(Entries().Entry("S20", {std::string("ab\0defgh", 8)}))), kS20),
              ElementsAre("ab      "));
}

TEST(SFExtensionMVExtStrings, IsNotInTheExtensionStore) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", {"missing "})));
  EXPECT_FALSE(read.source.HasExtension(kSubtype));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

TEST(SFExtensionMVExtStrings, EmptyRecordChangesNothing) {
  SystemFileDataSource source;
  source.MakeVariable(20, nullptr).SetName("S20");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSubtype, source, options, SystemFileExtensionRecord());
  EXPECT_EQ(0, MissingOf(source, 0).code);
}

// ---- Ignored entries ----

struct Ignored {
  const char* name;
  Entries entries;
};

class SFExtensionMVExtStringsIgnored : public testing::TestWithParam<Ignored> {};

TEST_P(SFExtensionMVExtStringsIgnored, DoesNotAffectOtherEntries) {
  Entries entries = GetParam().entries;
  const ReadDictionary read(FileWith(entries.Entry("T20", {"other   "})));
  EXPECT_THAT(Missing(read, kN), IsEmpty());
  EXPECT_THAT(Missing(read, kS8), IsEmpty());
  EXPECT_THAT(Missing(read, kS20), ElementsAre("old     "));
  EXPECT_THAT(Missing(read, kT20), ElementsAre("other   "));
}

INSTANTIATE_TEST_SUITE_P(Entries, SFExtensionMVExtStringsIgnored,
                         testing::Values(Ignored{"UnknownName", Entries().Entry("X", {"missing "})},  //
                                         Ignored{"EmptyName", Entries().Entry("", {"missing "})},     //
                                         Ignored{"Number", Entries().Entry("N", {"missing "})},       //
                                         Ignored{"Of9Bytes", Entries().Entry("S20", {"ninebytes"})},  //
                                         Ignored{"Of20Bytes",
                                                 Entries().Entry("S20", {std::string(20, 'a'), std::string(20, 'b')})},
                                         Ignored{"NoValues", Entries().Head("S20", 0, 8)},  //
                                         Ignored{"NoValuesOfTheLargestLength", Entries().Head("S20", 0, kLargest)},
                                         Ignored{"NegativeCount", Entries().Head("S20", -2, 8)},  //
                                         Ignored{"LeastCount", Entries().Head("S20", -128, 8)}),
                         kRowName);

// ---- Malformed contents ----

struct Malformed {
  const char* name;
  Entries entries;
  const char* expression;
};

class SFExtensionMVExtStringsMalformed : public testing::TestWithParam<Malformed> {};

TEST_P(SFExtensionMVExtStringsMalformed, Throws1204) {
  const auto fault = FaultOf(FileWith(GetParam().entries));
  EXPECT_THAT(fault, IsFault(1204, GetParam().expression));
  ASSERT_TRUE(fault);
  EXPECT_FALSE(fault->System());
}

const std::string kBytes(10, '\0');

INSTANTIATE_TEST_SUITE_P(
    Names, SFExtensionMVExtStringsMalformed,
    testing::Values(Malformed{"TooFewBytes", Entries().Raw(std::string(13, '\0')), "r+13 < endr"},
                    Malformed{"LengthPastTheEnd", Entries().Number(100).Raw(kBytes), "r+nameLength+5 < endr"},
                    // The count and the length must not be the last bytes.
                    Malformed{"NothingAfterTheWords", Entries().Number(5).Raw(kBytes), "r+nameLength+5 < endr"},
                    Malformed{"LengthUpToTheEnd", Entries().Number(10).Raw(kBytes), "r+nameLength+5 < endr"},
                    Malformed{"LargestLength", Entries().Number(kLargest).Raw(kBytes), "r+nameLength+5 < endr"},
                    Malformed{"NegativeLength", Entries().Number(-1).Raw(kBytes), "r+nameLength+5 < endr"},
                    Malformed{"LeastLength", Entries().Number(kLeast).Raw(kBytes), "r+nameLength+5 < endr"}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    Values, SFExtensionMVExtStringsMalformed,
    testing::Values(
        Malformed{"OneByteTooFew", Entries().Head("S20", 1, 8).Raw("1234567"), "r+rule*mvlen <= endr"},
        Malformed{"OneValueTooFew", Entries().Head("S20", 3, 8).Raw(std::string(16, 'a')), "r+rule*mvlen <= endr"},
        Malformed{"LargestLength", Entries().Head("S20", 3, kLargest).Raw("12345678"), "r+rule*mvlen <= endr"},
        // In 32 bits the product would be small.
        Malformed{"LengthThatOverflows", Entries().Head("S20", 3, 0x55555556).Raw("12345678"), "r+rule*mvlen <= endr"},
        Malformed{"NegativeLength", Entries().Head("S20", 1, -8).Raw("12345678"), "r+rule*mvlen <= endr"},
        Malformed{"LeastLength", Entries().Head("S20", 2, kLeast).Raw("12345678"), "r+rule*mvlen <= endr"},
        Malformed{"TooFewOfAnUnknownVariable", Entries().Head("X", 1, 8).Raw("1234567"), "r+rule*mvlen <= endr"}),
    kRowName);

TEST(SFExtensionMVExtStrings, MoreThanThreeValuesThrow1204) {
  for (const int count : {4, 5, 127}) {
    const std::string bytes = Entries().Head("S20", count, 1).Raw(std::string(200, 'x')).Bytes();
    EXPECT_THAT(FaultOf(FileWith(bytes)), IsFault(1204, "rule <= 3")) << count;
  }
}

TEST(SFExtensionMVExtStrings, MalformedRecordFailsTheOpening) {
  const TempFile file(FileWith(Entries().Head("S20", 4, 1).Raw("abcd")));
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
}

TEST_P(SFExtensionMVExtStringsInEitherOrder, ContentsCutInsideAnEntryThrow1204) {
  Entries entries(GetParam());
  const std::size_t first = entries.Entry("S20", {"abcdefgh", "second  "}).Bytes().size();
  const std::string bytes = entries.Entry("T20", {"other   "}).Bytes();
  for (std::size_t size = 1; size <= bytes.size(); ++size) {
    const auto fault = FaultOf(FileWith(bytes.substr(0, size), GetParam()));
    const bool isWhole = size == first || size == bytes.size();
    EXPECT_EQ(isWhole ? 0 : 1204, fault ? fault->Number() : 0) << size;
  }
}

TEST(SFExtensionMVExtStrings, EntryOfAtMost13BytesThrows1204) {
  const std::string whole = Entries().Entry("S20", {"missing "}).Bytes();
  for (std::size_t left = 1; left <= 13; ++left)
    EXPECT_THAT(FaultOf(FileWith(whole + std::string(left, '\0'))), IsFault(1204, "r+13 < endr")) << left;
  EXPECT_FALSE(FaultOf(FileWith(whole + Entries().Entry("T20", {"ab"}).Bytes())).has_value());
}

// ---- Writing ----

// What the handler writes for a dictionary, and the dictionary afterwards.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

TEST(SFExtensionMVExtStrings, WritesStringsOfMoreThan8Bytes) {
  MemorySource source;
  source.AddNumber("Number");
  source.AddText("Eight", 8);
  source.AddText("Nine", 9);
  source.AddText("None", 20);
  source.AddText("Twenty", 20);
  const double number = 9.0;
  source.GetVariable(0).SetMissingValues(&number, nullptr, nullptr);
  source.GetVariable(1).SetMissingValues("eight", nullptr, nullptr);
  source.GetVariable(2).SetMissingValues("a", "abcdefgh", "more than 8 bytes");
  source.GetVariable(4).SetMissingValues("x", nullptr, nullptr);
  const Writing writing(source);
  EXPECT_EQ(1, writing.record.UnitSize());
  SystemFileBuilder expected;
  expected.I32(4).Raw("Nine").Raw("\x03").I32(8).Raw("a       ").Raw("abcdefgh").Raw("more tha");
  expected.I32(6).Raw("Twenty").Raw("\x01").I32(8).Raw("x       ");
  EXPECT_EQ(expected.Bytes(), writing.Contents());
}

TEST(SFExtensionMVExtStrings, WritesARangeAsSingleValues) {
  for (const int code : {-2, -3}) {
    MemorySource source;
    source.AddText("S", 9);
    const OBS cell = CellsOf(FileValue("value"))[0];
    source.GetVariable(0).SetMissingValues(code, &cell, &cell, &cell);
    Entries expected;
    expected.Entry("S", std::vector<std::string>(static_cast<std::size_t>(-code), "value   "));
    EXPECT_EQ(expected.Bytes(), Writing(source).Contents()) << code;
  }
}

TEST(SFExtensionMVExtStrings, WritingRemovesTheValuesFromTheDictionary) {
  MemorySource source;
  source.AddText("Eight", 8);
  source.AddText("Nine", 9);
  for (const int column : {0, 1}) source.GetVariable(column).SetMissingValues("a", "b", nullptr);
  const Writing writing(source);
  EXPECT_EQ(2, MissingOf(writing.saved, 0).code);
  EXPECT_EQ(0, MissingOf(writing.saved, 1).code);
  EXPECT_EQ(2, MissingOf(source, 1).code);
}

TEST(SFExtensionMVExtStrings, NoMissingValuesGiveNoRecord) {
  MemorySource source;
  source.AddText("Eight", 8);
  source.AddText("None", 20);
  source.GetVariable(0).SetMissingValues("a", nullptr, nullptr);
  const Writing writing(source);
  EXPECT_EQ(0, writing.record.NUnits());
  EXPECT_EQ(nullptr, writing.record.Contents());
}

TEST(SFExtensionMVExtStrings, VeryLongStringHasOneEntry) {
  MemorySource source;
  source.AddText("VeryLongString", 600);
  source.GetVariable(0).SetMissingValues("missing", nullptr, nullptr);
  EXPECT_EQ(Entries().Entry("VeryLongString", {"missing "}).Bytes(), Writing(source).Contents());
}

TEST(SFExtensionMVExtStrings, ReadsBackTheWrittenValues) {
  MemorySource source;
  source.AddText("S20", 20);
  source.GetVariable(0).SetMissingValues("a", "bcdefghi", "");
  const ReadDictionary read(FileWith(Writing(source).Contents()));
  EXPECT_THAT(Missing(read, kS20), ElementsAre("a       ", "bcdefghi", "        "));
}

}  // namespace
}  // namespace SFExtensionMVExtStrings_test
