// The record of value labels of strings wider than 8 bytes: what it says to the dictionary, and what is written of one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSubtype = 21;
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

using Labels = std::vector<std::pair<std::string, std::string>>;

// The fields of entries, as a file of the order has them.
class Entries {
 public:
  explicit Entries(std::endian order = std::endian::native) : m_bytes(order) {}

  Entries& Number(std::int32_t number) {
    m_bytes.I32(number);
    return *this;
  }
  Entries& Text(std::string_view text) {
    m_bytes.I32(static_cast<std::int32_t>(text.size())).Raw(text);
    return *this;
  }
  Entries& Entry(std::string_view name, std::int32_t width, const Labels& labels) {
    Text(name).Number(width).Number(static_cast<std::int32_t>(labels.size()));
    for (const auto& [value, label] : labels) Text(value).Text(label);
    return *this;
  }
  const std::string& Bytes() const { return m_bytes.Bytes(); }

 private:
  SystemFileBuilder m_bytes;
};

// ---- Reading ----

// Columns: N a number, S8 of 8 bytes, S20 and T20 of 20; S20 has the label "old" from a record of its own.
std::string FileWith(std::string_view bytes, std::endian order = std::endian::native, int unitSize = 1) {
  SystemFileBuilder file(order);
  file.Header().Number("N").String("S8", 8).String("S20", 20).String("T20", 20).Labels({{"old", "old"}}, {3});
  const auto units = static_cast<std::int32_t>(bytes.size()) / unitSize;
  return file.Extension(kSubtype, unitSize, units, bytes).End().Bytes();
}
std::string FileWith(const Entries& entries) { return FileWith(entries.Bytes()); }
constexpr int kN = 0, kS8 = 1, kS20 = 2, kT20 = 3;

Labels LabelsOf(const QUAV_DataSource& source, int column) {
  Labels labels;
  QUAV_ValueLabelMap map(source.GetVariable(column).GetValueLabels());
  if (map.Size() == 0) return labels;
  std::string value;
  const char* label = nullptr;
  for (map.Reset(); map.GetNextPair(value, label) != 0;) labels.emplace_back(value, label);
  return labels;
}
Labels LabelsOf(const ReadDictionary& read, int column) { return LabelsOf(read.source, column); }

std::string Padded(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}

std::vector<std::string> TextsOf(const Labels& labels) {
  std::vector<std::string> texts;
  for (const auto& [value, label] : labels) texts.push_back(label);
  return texts;
}

class LongStringLabels : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, LongStringLabels, testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(LongStringLabels, BelongToTheVariableOfTheName) {
  Entries entries(GetParam());
  entries.Entry("S20", 20, {{Padded("abcdefghijkl", 20), "twelve"}, {Padded("x", 20), "one"}});
  entries.Entry("T20", 20, {{Padded("t", 20), "other"}});
  const ReadDictionary read(FileWith(entries.Bytes(), GetParam()));
  const QUAV_ValueLabelMap labels(read.source.GetVariable(kS20).GetValueLabels());
  EXPECT_EQ(20, labels.Type());
  EXPECT_EQ(2, labels.Size());
  EXPECT_STREQ("twelve", labels.GetLabel("abcdefghijkl"));
  EXPECT_STREQ("one", labels.GetLabel("x"));
  EXPECT_THAT(LabelsOf(read, kT20), ElementsAre(std::pair(Padded("t", 20), "other")));
}

TEST(LongStringLabelsRead, ReplaceThoseOfTheVariable) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"new", "new"}})));
  EXPECT_THAT(TextsOf(LabelsOf(read, kS20)), ElementsAre("new"));
}

TEST(LongStringLabelsRead, OfNoneReplaceThoseOfTheVariable) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {}).Entry("T20", 20, {{"t", "other"}})));
  EXPECT_TRUE(read.source.GetVariable(kS20).GetValueLabels().IsValid());
  EXPECT_THAT(LabelsOf(read, kS20), IsEmpty());
}

TEST(LongStringLabelsRead, OfANegativeCountAreNone) {
  Entries entries;
  entries.Text("S20").Number(20).Number(-1).Entry("T20", 20, {{"t", "other"}});
  const ReadDictionary read(FileWith(entries));
  EXPECT_THAT(LabelsOf(read, kS20), IsEmpty());
  EXPECT_THAT(TextsOf(LabelsOf(read, kT20)), ElementsAre("other"));
}

TEST(LongStringLabelsRead, FindTheirVariableInAnyCase) {
  EXPECT_THAT(TextsOf(LabelsOf(ReadDictionary(FileWith(Entries().Entry("s20", 20, {{"new", "new"}}))), kS20)),
              ElementsAre("new"));
}

TEST(LongStringLabelsRead, FindTheirVariableByItsLongName) {
  SystemFileBuilder file;
  const std::string entry = Entries().Entry("LongName", 20, {{"a", "label"}}).Bytes();
  file.Header().String("A", 20).Extension(13, 1, 10, "A=LongName");
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(entry.size()), entry).End();
  EXPECT_THAT(TextsOf(LabelsOf(ReadDictionary(file.Bytes()), 0)), ElementsAre("label"));
}

TEST(LongStringLabelsRead, HaveShorterValuesFilledWithBlanks) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"ab", "two"}, {"", "none"}})));
  const QUAV_ValueLabelMap labels(read.source.GetVariable(kS20).GetValueLabels());
  EXPECT_STREQ("two", labels.GetLabel(Padded("ab", 20)));
  EXPECT_STREQ("none", labels.GetLabel(Padded("", 20)));
}

// The values end in the first byte of a character each: the writer cut them, or its encoding was another one.
TEST(LongStringLabelsRead, HaveValuesWithAllTheirBytes) {
  SetUTF8mode(1);
  const std::string head(19, 'v');
  const Labels labels = {
      {head + "\xC3", "one"}, {head + "\xC4", "two"}, {std::string("a\0b\xFF ", 5) + head.substr(4), "raw"}};
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, labels)));
  EXPECT_THAT(LabelsOf(read, kS20), testing::UnorderedElementsAreArray(labels));
  SetUTF8mode(0);
}

TEST(LongStringLabelsRead, MayHaveMoreThan255Bytes) {
  const std::string label(100000, 'x');
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"a", label}, {"b", ""}})));
  EXPECT_THAT(LabelsOf(read, kS20), ElementsAre(std::pair(Padded("a", 20), label), std::pair(Padded("b", 20), "")));
}

TEST(LongStringLabelsRead, OfOneValueTwiceAreTheSecond) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"a", "first"}, {"a ", "second"}})));
  EXPECT_THAT(TextsOf(LabelsOf(read, kS20)), ElementsAre("second"));
}

TEST(LongStringLabelsRead, MayBeOfAVeryLongString) {
  const std::string value(600, 'v');
  const std::string entry = Entries().Entry("A", 600, {{value, "label"}}).Bytes();
  const std::string veryLong("A=600\0\t", 7);
  SystemFileBuilder file;
  file.Header().String("A", 255).String("A0", 255).String("A1", 96).Extension(13, 1, 3, "A=A");
  file.Extension(14, 1, 7, veryLong);
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(entry.size()), entry).End();
  EXPECT_THAT(LabelsOf(ReadDictionary(file.Bytes()), 0), ElementsAre(std::pair(value, "label")));
}

TEST(LongStringLabelsRead, MakeNoRecordForTheExtensionStore) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"a", "label"}})));
  EXPECT_FALSE(read.source.HasExtension(kSubtype));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

TEST(LongStringLabelsRead, AreNotHeldToAUnitSize) {
  const std::string entry = Entries().Entry("S20", 20, {{"abc", "news"}}).Bytes();
  ASSERT_EQ(0u, entry.size() % 5);
  EXPECT_THAT(TextsOf(LabelsOf(ReadDictionary(FileWith(entry, std::endian::native, 5)), kS20)), ElementsAre("news"));
}

TEST(LongStringLabelsRead, OfARecordWithoutContentsAreNone) {
  SystemFileDataSource source;
  source.MakeVariable(20, nullptr).SetName("S20");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSubtype, source, options, SystemFileExtensionRecord());
  EXPECT_FALSE(source.GetVariable(0).GetValueLabels().IsValid());
}

// ---- Entries that are passed by ----

struct PassedBy {
  const char* name;
  std::string variable;
  std::int32_t width;
};

class EntriesPassedBy : public testing::TestWithParam<PassedBy> {};

TEST_P(EntriesPassedBy, LeaveTheOthers) {
  Entries entries;
  entries.Entry(GetParam().variable, GetParam().width, {{"a", "label"}, {"b", "label"}});
  entries.Entry("T20", 20, {{"t", "other"}});
  const ReadDictionary read(FileWith(entries));
  EXPECT_FALSE(read.source.GetVariable(kN).GetValueLabels().IsValid());
  EXPECT_FALSE(read.source.GetVariable(kS8).GetValueLabels().IsValid());
  EXPECT_THAT(TextsOf(LabelsOf(read, kS20)), ElementsAre("old"));
  EXPECT_THAT(TextsOf(LabelsOf(read, kT20)), ElementsAre("other"));
}

INSTANTIATE_TEST_SUITE_P(LongStringLabelsRead, EntriesPassedBy,
                         testing::Values(PassedBy{"UnknownName", "X", 20},           //
                                         PassedBy{"EmptyName", "", 20},              //
                                         PassedBy{"NarrowerWidth", "S20", 19},       //
                                         PassedBy{"WiderWidth", "S20", 21},          //
                                         PassedBy{"WidthOfTheCells", "S20", 24},     //
                                         PassedBy{"WidestNumber", "S20", kLargest},  //
                                         PassedBy{"Number", "N", 20},                //
                                         PassedBy{"ShortString", "S8", 20}),
                         kRowName);

TEST(LongStringLabelsRead, OfANumberAreNotTakenForText) {
  // A width of 0 fits the number, and leaves room for empty values alone.
  const ReadDictionary read(FileWith(Entries().Entry("N", 0, {{"", "label"}})));
  const QUAV_ValueLabelMap labels(read.source.GetVariable(kN).GetValueLabels());
  EXPECT_EQ(1, labels.Size());
  EXPECT_EQ(0, labels.Type());
}

// ---- Malformed contents ----

struct Malformed {
  const char* name;
  Entries entries;
  const char* expression;
};

class MalformedLabels : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedLabels, AreAFault) {
  // The same for a variable that there is and for one that there is not.
  const auto fault = FaultOf(FileWith(GetParam().entries));
  EXPECT_THAT(fault, IsFault(1204, GetParam().expression));
  ASSERT_TRUE(fault);
  EXPECT_FALSE(fault->System());
}

Entries Bytes(std::size_t count) {
  Entries entries;
  while (entries.Bytes().size() + 4 <= count) entries.Number(0);
  return entries;
}

INSTANTIATE_TEST_SUITE_P(
    Names, MalformedLabels,
    testing::Values(
        Malformed{"TooFewBytes", Bytes(12), "r+13 < endr"},
        Malformed{"TooFewBytesForASecondEntry", Entries().Entry("S20", 20, {}).Number(0), "r+13 < endr"},
        Malformed{"LengthBehindTheEnd", Entries().Number(100).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"LengthUpToTheEnd", Entries().Number(12).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        // The words behind the name must not be the last bytes.
        Malformed{"NothingBehindTheWords", Entries().Number(4).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"LargestLength", Entries().Number(kLargest).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"NegativeLength", Entries().Number(-1).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"LeastLength", Entries().Number(kLeast).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"}),
    kRowName);

Entries Head(std::int32_t width, std::int32_t count, const char* name = "S20") {
  return Entries().Text(name).Number(width).Number(count);
}

INSTANTIATE_TEST_SUITE_P(
    Values, MalformedLabels,
    testing::Values(
        Malformed{"NoValue", Head(20, 2).Text("a").Text("label"), "r + 4 <= endr"},
        Malformed{"LargestCount", Head(20, kLargest).Text("a").Text("label"), "r + 4 <= endr"},
        Malformed{"WiderThanTheVariable", Head(20, 1).Text(std::string(21, 'a')).Text("label"), "valLen <= varType"},
        Malformed{"WiderThanTheWidthInTheFile", Head(4, 1).Text("abcde").Text("label"), "valLen <= varType"},
        Malformed{"NegativeWidth", Head(-1, 1).Text("").Text("label"), "valLen <= varType"},
        Malformed{"NegativeLength", Head(20, 1).Number(-1).Text("label"), "valLen <= varType"},
        Malformed{"LeastLength", Head(20, 1).Number(kLeast).Text("label"), "valLen <= varType"},
        Malformed{"LengthBehindTheEnd", Head(20, 1).Number(13).Number(0).Number(0).Number(0), "r + valLen <= endr"},
        Malformed{"LargestLength", Head(kLargest, 1).Number(kLargest).Number(0), "r + valLen <= endr"},
        Malformed{"NoValueOfAnUnknownVariable", Head(20, 2, "X").Text("a").Text("label"), "r + 4 <= endr"}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    Labels, MalformedLabels,
    testing::Values(Malformed{"NoLabel", Head(20, 1).Text("value"), "r + 4 <= endr"},
                    Malformed{"LengthBehindTheEnd", Head(20, 1).Text("a").Number(5).Number(0), "r + labelLen <= endr"},
                    Malformed{"LargestLength", Head(20, 1).Text("a").Number(kLargest), "r + labelLen <= endr"},
                    Malformed{"NegativeLength", Head(20, 1).Text("a").Number(-1), "labelLen >= 0"},
                    Malformed{"LeastLength", Head(20, 1).Text("a").Number(kLeast), "labelLen >= 0"}),
    kRowName);

TEST(LongStringLabelsRead, ThatAreMalformedFailTheOpening) {
  const TempFile file(FileWith(Bytes(12)));
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
}

TEST_P(LongStringLabels, CutAtAnyByteAreAFaultBetweenEntries) {
  Entries entries(GetParam());
  entries.Entry("S20", 20, {{"abcdefghijklmnopqrst", "label"}, {"b", ""}});
  const std::size_t first = entries.Bytes().size();
  const std::string bytes = entries.Entry("T20", 20, {{"a", "the other label"}}).Bytes();
  for (std::size_t size = 1; size <= bytes.size(); ++size) {
    const auto fault = FaultOf(FileWith(bytes.substr(0, size), GetParam()));
    const bool isWhole = size == first || size == bytes.size();
    EXPECT_EQ(isWhole ? 0 : 1204, fault ? fault->Number() : 0) << size;
  }
}

// Of 13 bytes at most that are left for an entry.
TEST(LongStringLabelsRead, NeedMoreThan13BytesForAnEntry) {
  const std::string whole = Entries().Entry("S20", 20, {{"a", "new"}}).Bytes();
  for (std::size_t left = 1; left <= 13; ++left)
    EXPECT_THAT(FaultOf(FileWith(whole + std::string(left, '\0'))), IsFault(1204, "r+13 < endr")) << left;
  EXPECT_FALSE(FaultOf(FileWith(whole + Entries().Entry("", 20, {{"", ""}}).Bytes())));
}

// Values of one byte each for the widest string would take 32 KiB apiece: a small file could claim all memory.
TEST(LongStringLabelsRead, AreRefusedWhenTheirValuesWouldTakeTooMuchMemory) {
  constexpr int kValues = 8193;  // of 32768 bytes: 32768 more than 256 MiB
  Entries entries;
  entries.Text("S").Number(32767).Number(kValues);
  for (int i = 0; i < kValues; ++i) entries.Text("v").Text("");
  SystemFileBuilder file;
  file.Header().String("S", 255);
  for (int i = 0; i < 129; ++i) file.String("S" + std::to_string(i), 255);
  file.String("LAST", 7).Extension(13, 1, 3, "S=S").Extension(14, 1, 9, std::string("S=32767\0\t", 9));
  const std::string& bytes = entries.Bytes();
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(bytes.size()), bytes).End();
  EXPECT_THAT(FaultOf(file.Bytes()), IsFault(1204, "valueBytes <= 268435456"));
}

// ---- Writing ----

// What the handler writes of a dictionary, and what it leaves of it.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

void Label(QUAV_DataSource& source, int column, const Labels& labels) {
  QUAV_ValueLabelMap map(source.GetVariable(column).GetType());
  map.AddTextPairs(labels);
  source.GetVariable(column).SetValueLabels(map);
}

TEST(LongStringLabelsWritten, AreThoseOfMoreThan8Bytes) {
  MemorySource source;
  source.AddNumber("Number");
  source.AddText("Eight", 8);
  source.AddText("Nine", 9);
  source.AddText("None", 20);
  source.AddText("Twenty", 20);
  QUAV_ValueLabelMap numbers(0);
  numbers.AddPair(1.0, "one");
  source.GetVariable(0).SetValueLabels(numbers);
  Label(source, 1, {{"a", "in the label record"}});
  Label(source, 2, {{"a", "nine"}});
  Label(source, 4, {{"a", "first"}, {"b", ""}});
  const Writing writing(source);
  EXPECT_EQ(1, writing.record.UnitSize());
  // The values fill whole cells, as the dictionary has them.
  Entries expected;
  expected.Entry("Nine", 9, LabelsOf(source, 2)).Entry("Twenty", 20, LabelsOf(source, 4));
  EXPECT_EQ(expected.Bytes(), writing.Contents());
}

TEST(LongStringLabelsWritten, HaveTheseBytes) {
  MemorySource source;
  source.AddText("Name", 12);
  source.AddText("Other", 9);
  Label(source, 0, {{"abcdefghijkl", "twelve"}});
  Label(source, 1, {{"x", ""}});
  SystemFileBuilder expected;
  expected.I32(4).Raw("Name").I32(12).I32(1).I32(12).Raw("abcdefghijkl").I32(6).Raw("twelve");
  expected.I32(5).Raw("Other").I32(9).I32(1).I32(9).Raw("x        ").I32(0);
  EXPECT_EQ(expected.Bytes(), Writing(source).Contents());
}

TEST(LongStringLabelsWritten, AreTakenAwayFromTheDictionary) {
  MemorySource source;
  source.AddText("Eight", 8);
  source.AddText("Nine", 9);
  for (const int column : {0, 1}) Label(source, column, {{"a", "label"}});
  const Writing writing(source);
  EXPECT_THAT(TextsOf(LabelsOf(writing.saved, 0)), ElementsAre("label"));
  EXPECT_FALSE(writing.saved.GetVariable(1).GetValueLabels().IsValid());
  EXPECT_THAT(TextsOf(LabelsOf(source, 1)), ElementsAre("label"));
}

TEST(LongStringLabelsWritten, OfNoneMakeNoRecord) {
  MemorySource source;
  source.AddText("Eight", 8);
  source.AddText("Empty", 20);
  source.AddText("None", 20);
  Label(source, 0, {{"a", "label"}});
  Label(source, 1, {});
  const Writing writing(source);
  EXPECT_EQ(0, writing.record.NUnits());
  EXPECT_EQ(nullptr, writing.record.Contents());
}

TEST(LongStringLabelsWritten, KeepALabelOfMoreThan255Bytes) {
  const std::string label(1000, 'x');
  MemorySource source;
  source.AddText("Name", 9);
  Label(source, 0, {{"a", label}});
  EXPECT_THAT(Writing(source).Contents(), testing::EndsWith(Entries().Text(label).Bytes()));
}

TEST(LongStringLabelsWritten, OfAVeryLongStringAreOneEntry) {
  MemorySource source;
  source.AddText("VeryLongString", 600);
  Label(source, 0, {{std::string(600, 'v'), "label"}});
  EXPECT_EQ(Entries().Entry("VeryLongString", 600, {{std::string(600, 'v'), "label"}}).Bytes(),
            Writing(source).Contents());
}

TEST(LongStringLabelsWritten, AreReadAgain) {
  MemorySource source;
  source.AddText("S20", 20);
  Label(source, 0, {{"abc", "first"}, {"abcdefghijklmnopqrst", std::string(300, 'l')}, {"", "blank"}});
  const ReadDictionary read(FileWith(Writing(source).Contents()));
  EXPECT_EQ(LabelsOf(source, 0), LabelsOf(read, kS20));
}

}  // namespace
