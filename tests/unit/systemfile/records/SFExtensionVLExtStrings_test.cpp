// Record 21: what the value labels of strings wider than 8 bytes do to a dictionary, and what is written for one.

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

namespace SFExtensionVLExtStrings_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSubtype = 21;
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

using Labels = std::vector<std::pair<std::string, std::string>>;

// The bytes of entries, for a file of the byte order.
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

// Columns: N is a number, S8 has 8 bytes, S20 and T20 have 20. S20 has the label "old" from another record.
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

class SFExtensionVLExtStringsInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionVLExtStringsInEitherOrder,
                         testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(SFExtensionVLExtStringsInEitherOrder, SetsTheLabelsOfTheNamedVariable) {
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

TEST(SFExtensionVLExtStrings, ReplacesTheLabelsOfTheVariable) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"new", "new"}})));
  EXPECT_THAT(TextsOf(LabelsOf(read, kS20)), ElementsAre("new"));
}

TEST(SFExtensionVLExtStrings, EmptyEntryReplacesTheLabelsOfTheVariable) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {}).Entry("T20", 20, {{"t", "other"}})));
  EXPECT_TRUE(read.source.GetVariable(kS20).GetValueLabels().IsValid());
  EXPECT_THAT(LabelsOf(read, kS20), IsEmpty());
}

TEST(SFExtensionVLExtStrings, NegativeCountGivesNoLabels) {
  Entries entries;
  entries.Text("S20").Number(20).Number(-1).Entry("T20", 20, {{"t", "other"}});
  const ReadDictionary read(FileWith(entries));
  EXPECT_THAT(LabelsOf(read, kS20), IsEmpty());
  EXPECT_THAT(TextsOf(LabelsOf(read, kT20)), ElementsAre("other"));
}

TEST(SFExtensionVLExtStrings, FindsTheVariableInAnyCase) {
  EXPECT_THAT(TextsOf(LabelsOf(ReadDictionary(FileWith(Entries().Entry("s20", 20, {{"new", "new"}}))), kS20)),
              ElementsAre("new"));
}

TEST(SFExtensionVLExtStrings, FindsTheVariableByItsLongName) {
  SystemFileBuilder file;
  const std::string entry = Entries().Entry("LongName", 20, {{"a", "label"}}).Bytes();
  file.Header().String("A", 20).Extension(13, 1, 10, "A=LongName");
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(entry.size()), entry).End();
  EXPECT_THAT(TextsOf(LabelsOf(ReadDictionary(file.Bytes()), 0)), ElementsAre("label"));
}

TEST(SFExtensionVLExtStrings, PadsShortValuesWithBlanks) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"ab", "two"}, {"", "none"}})));
  const QUAV_ValueLabelMap labels(read.source.GetVariable(kS20).GetValueLabels());
  EXPECT_STREQ("two", labels.GetLabel(Padded("ab", 20)));
  EXPECT_STREQ("none", labels.GetLabel(Padded("", 20)));
}

// The values end in the first byte of a character each: the writer cut them, or its encoding was another one.
TEST(SFExtensionVLExtStrings, ValuesKeepAllTheirBytes) {
  SetUTF8mode(1);
  const std::string head(19, 'v');
  const Labels labels = {
      {head + "\xC3", "one"}, {head + "\xC4", "two"}, {std::string("a\0b\xFF ", 5) + head.substr(4), "raw"}};
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, labels)));
  EXPECT_THAT(LabelsOf(read, kS20), testing::UnorderedElementsAreArray(labels));
  SetUTF8mode(0);
}

TEST(SFExtensionVLExtStrings, LabelMayHaveMoreThan255Bytes) {
  const std::string label(100000, 'x');
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"a", label}, {"b", ""}})));
  EXPECT_THAT(LabelsOf(read, kS20), ElementsAre(std::pair(Padded("a", 20), label), std::pair(Padded("b", 20), "")));
}

TEST(SFExtensionVLExtStrings, SecondLabelOfAValueReplacesTheFirst) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"a", "first"}, {"a ", "second"}})));
  EXPECT_THAT(TextsOf(LabelsOf(read, kS20)), ElementsAre("second"));
}

TEST(SFExtensionVLExtStrings, ReadsLabelsOfAVeryLongString) {
  const std::string value(600, 'v');
  const std::string entry = Entries().Entry("A", 600, {{value, "label"}}).Bytes();
  const std::string veryLong("A=600\0\t", 7);
  SystemFileBuilder file;
  file.Header().String("A", 255).String("A0", 255).String("A1", 96).Extension(13, 1, 3, "A=A");
  file.Extension(14, 1, 7, veryLong);
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(entry.size()), entry).End();
  EXPECT_THAT(LabelsOf(ReadDictionary(file.Bytes()), 0), ElementsAre(std::pair(value, "label")));
}

TEST(SFExtensionVLExtStrings, IsNotInTheExtensionStore) {
  const ReadDictionary read(FileWith(Entries().Entry("S20", 20, {{"a", "label"}})));
  EXPECT_FALSE(read.source.HasExtension(kSubtype));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

TEST(SFExtensionVLExtStrings, AcceptsAnyUnitSize) {
  const std::string entry = Entries().Entry("S20", 20, {{"abc", "news"}}).Bytes();
  ASSERT_EQ(0u, entry.size() % 5);
  EXPECT_THAT(TextsOf(LabelsOf(ReadDictionary(FileWith(entry, std::endian::native, 5)), kS20)), ElementsAre("news"));
}

TEST(SFExtensionVLExtStrings, EmptyRecordChangesNothing) {
  SystemFileDataSource source;
  source.MakeVariable(20, nullptr).SetName("S20");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSubtype, source, options, SystemFileExtensionRecord());
  EXPECT_FALSE(source.GetVariable(0).GetValueLabels().IsValid());
}

// ---- Ignored entries ----

struct Ignored {
  const char* name;
  std::string variable;
  std::int32_t width;
};

class SFExtensionVLExtStringsIgnored : public testing::TestWithParam<Ignored> {};

TEST_P(SFExtensionVLExtStringsIgnored, DoesNotAffectOtherEntries) {
  Entries entries;
  entries.Entry(GetParam().variable, GetParam().width, {{"a", "label"}, {"b", "label"}});
  entries.Entry("T20", 20, {{"t", "other"}});
  const ReadDictionary read(FileWith(entries));
  EXPECT_FALSE(read.source.GetVariable(kN).GetValueLabels().IsValid());
  EXPECT_FALSE(read.source.GetVariable(kS8).GetValueLabels().IsValid());
  EXPECT_THAT(TextsOf(LabelsOf(read, kS20)), ElementsAre("old"));
  EXPECT_THAT(TextsOf(LabelsOf(read, kT20)), ElementsAre("other"));
}

INSTANTIATE_TEST_SUITE_P(Entries, SFExtensionVLExtStringsIgnored,
                         testing::Values(Ignored{"UnknownName", "X", 20},           //
                                         Ignored{"EmptyName", "", 20},              //
                                         Ignored{"NarrowerWidth", "S20", 19},       //
                                         Ignored{"WiderWidth", "S20", 21},          //
                                         Ignored{"WidthOfTheCells", "S20", 24},     //
                                         Ignored{"WidestNumber", "S20", kLargest},  //
                                         Ignored{"Number", "N", 20},                //
                                         Ignored{"ShortString", "S8", 20}),
                         kRowName);

TEST(SFExtensionVLExtStrings, LabelsOfANumberAreNotText) {
  // Width 0 fits the number, and allows only empty values.
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

class SFExtensionVLExtStringsMalformed : public testing::TestWithParam<Malformed> {};

TEST_P(SFExtensionVLExtStringsMalformed, Throws1204) {
  // The fault is the same for an existing variable and for an unknown one.
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
    Names, SFExtensionVLExtStringsMalformed,
    testing::Values(
        Malformed{"TooFewBytes", Bytes(12), "r+13 < endr"},
        Malformed{"TooFewBytesForASecondEntry", Entries().Entry("S20", 20, {}).Number(0), "r+13 < endr"},
        Malformed{"LengthPastTheEnd", Entries().Number(100).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"LengthUpToTheEnd", Entries().Number(12).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        // The words after the name must not be the last bytes.
        Malformed{"NothingAfterTheWords", Entries().Number(4).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"LargestLength", Entries().Number(kLargest).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"NegativeLength", Entries().Number(-1).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"},
        Malformed{"LeastLength", Entries().Number(kLeast).Number(0).Number(0).Number(0), "r+nameLength+8 < endr"}),
    kRowName);

Entries Head(std::int32_t width, std::int32_t count, const char* name = "S20") {
  return Entries().Text(name).Number(width).Number(count);
}

INSTANTIATE_TEST_SUITE_P(
    Values, SFExtensionVLExtStringsMalformed,
    testing::Values(
        Malformed{"NoValue", Head(20, 2).Text("a").Text("label"), "r + 4 <= endr"},
        Malformed{"LargestCount", Head(20, kLargest).Text("a").Text("label"), "r + 4 <= endr"},
        Malformed{"WiderThanTheVariable", Head(20, 1).Text(std::string(21, 'a')).Text("label"), "valLen <= varType"},
        Malformed{"WiderThanTheWidthInTheFile", Head(4, 1).Text("abcde").Text("label"), "valLen <= varType"},
        Malformed{"NegativeWidth", Head(-1, 1).Text("").Text("label"), "valLen <= varType"},
        Malformed{"NegativeLength", Head(20, 1).Number(-1).Text("label"), "valLen <= varType"},
        Malformed{"LeastLength", Head(20, 1).Number(kLeast).Text("label"), "valLen <= varType"},
        Malformed{"LengthPastTheEnd", Head(20, 1).Number(13).Number(0).Number(0).Number(0), "r + valLen <= endr"},
        Malformed{"LargestLength", Head(kLargest, 1).Number(kLargest).Number(0), "r + valLen <= endr"},
        Malformed{"NoValueOfAnUnknownVariable", Head(20, 2, "X").Text("a").Text("label"), "r + 4 <= endr"}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    Labels, SFExtensionVLExtStringsMalformed,
    testing::Values(Malformed{"NoLabel", Head(20, 1).Text("value"), "r + 4 <= endr"},
                    Malformed{"LengthPastTheEnd", Head(20, 1).Text("a").Number(5).Number(0), "r + labelLen <= endr"},
                    Malformed{"LargestLength", Head(20, 1).Text("a").Number(kLargest), "r + labelLen <= endr"},
                    Malformed{"NegativeLength", Head(20, 1).Text("a").Number(-1), "labelLen >= 0"},
                    Malformed{"LeastLength", Head(20, 1).Text("a").Number(kLeast), "labelLen >= 0"}),
    kRowName);

TEST(SFExtensionVLExtStrings, MalformedRecordFailsTheOpening) {
  const TempFile file(FileWith(Bytes(12)));
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
}

TEST_P(SFExtensionVLExtStringsInEitherOrder, ContentsCutInsideAnEntryThrow1204) {
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

// At most 13 bytes are left for the entry.
TEST(SFExtensionVLExtStrings, EntryOfAtMost13BytesThrows1204) {
  const std::string whole = Entries().Entry("S20", 20, {{"a", "new"}}).Bytes();
  for (std::size_t left = 1; left <= 13; ++left)
    EXPECT_THAT(FaultOf(FileWith(whole + std::string(left, '\0'))), IsFault(1204, "r+13 < endr")) << left;
  EXPECT_FALSE(FaultOf(FileWith(whole + Entries().Entry("", 20, {{"", ""}}).Bytes())));
}

// A file of the widest string with values of one to three bytes.
std::string WidestWithLabels(int count) {
  Entries entries;
  entries.Text("S").Number(32767).Number(count);
  for (int i = 0; i < count; ++i) entries.Text(std::to_string(i)).Text("label " + std::to_string(i));
  SystemFileBuilder file;
  file.Header().String("S", 255);
  for (int i = 0; i < 129; ++i) file.String("S" + std::to_string(i), 255);
  file.String("LAST", 7).Extension(13, 1, 3, "S=S").Extension(14, 1, 9, std::string("S=32767\0\t", 9));
  const std::string& bytes = entries.Bytes();
  return file.Extension(kSubtype, 1, static_cast<std::int32_t>(bytes.size()), bytes).End().Bytes();
}

// In their whole width they would take 3 GB.
TEST(LongStringLabelsRead, OfTheWidestStringTakeTheMemoryOfTheirText) {
  constexpr int kValues = 100'000;
  const ReadDictionary read(WidestWithLabels(kValues));
  ASSERT_EQ(1u, read.source.ColumnCount());
  QUAV_ValueLabelMap labels(read.source.GetVariable(0).GetValueLabels());
  EXPECT_EQ(kValues, labels.Size());
  EXPECT_STREQ("label 0", labels.GetLabel("0"));
  EXPECT_STREQ("label 99999", labels.GetLabel("99999"));
  EXPECT_EQ(nullptr, labels.GetLabel("100000"));
  std::string value;
  const char* label = nullptr;
  labels.Reset();
  ASSERT_EQ(1, labels.GetNextPair(value, label));
  EXPECT_EQ(32767u, value.size());
}

TEST(LongStringLabelsWrite, ThatOneRecordCannotHoldFailTheWriting) {
  const TempFile from(WidestWithLabels(65'540));
  const SystemFileDataSource source(from.Name(), "", false);
  const TempFile to("");
  SystemFileDataSource written;
  written.CopyDictionary(source);
  written.SetFileSpec(to.Name().c_str());
  const auto error = ErrorOf([&] { written.CommitDictionary(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1202, error->Number());
}

// ---- Writing ----

// What the handler writes for a dictionary, and the dictionary afterwards.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

void Label(QUAV_DataSource& source, int column, const Labels& labels) {
  QUAV_ValueLabelMap map(source.GetVariable(column).GetType());
  map.AddTextPairs(labels);
  source.GetVariable(column).SetValueLabels(map);
}

TEST(SFExtensionVLExtStrings, WritesStringsOfMoreThan8Bytes) {
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
  // The expected values fill their width, as in the dictionary.
  Entries expected;
  expected.Entry("Nine", 9, LabelsOf(source, 2)).Entry("Twenty", 20, LabelsOf(source, 4));
  EXPECT_EQ(expected.Bytes(), writing.Contents());
}

TEST(SFExtensionVLExtStrings, WritesTheseBytes) {
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

TEST(SFExtensionVLExtStrings, WritingRemovesTheLabelsFromTheDictionary) {
  MemorySource source;
  source.AddText("Eight", 8);
  source.AddText("Nine", 9);
  for (const int column : {0, 1}) Label(source, column, {{"a", "label"}});
  const Writing writing(source);
  EXPECT_THAT(TextsOf(LabelsOf(writing.saved, 0)), ElementsAre("label"));
  EXPECT_FALSE(writing.saved.GetVariable(1).GetValueLabels().IsValid());
  EXPECT_THAT(TextsOf(LabelsOf(source, 1)), ElementsAre("label"));
}

TEST(SFExtensionVLExtStrings, NoLabelsGiveNoRecord) {
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

TEST(SFExtensionVLExtStrings, WritesALabelOfMoreThan255Bytes) {
  const std::string label(1000, 'x');
  MemorySource source;
  source.AddText("Name", 9);
  Label(source, 0, {{"a", label}});
  EXPECT_THAT(Writing(source).Contents(), testing::EndsWith(Entries().Text(label).Bytes()));
}

TEST(SFExtensionVLExtStrings, VeryLongStringHasOneEntry) {
  MemorySource source;
  source.AddText("VeryLongString", 600);
  Label(source, 0, {{std::string(600, 'v'), "label"}});
  EXPECT_EQ(Entries().Entry("VeryLongString", 600, {{std::string(600, 'v'), "label"}}).Bytes(),
            Writing(source).Contents());
}

TEST(SFExtensionVLExtStrings, ReadsBackTheWrittenLabels) {
  MemorySource source;
  source.AddText("S20", 20);
  Label(source, 0, {{"abc", "first"}, {"abcdefghijklmnopqrst", std::string(300, 'l')}, {"", "blank"}});
  const ReadDictionary read(FileWith(Writing(source).Contents()));
  EXPECT_EQ(LabelsOf(source, 0), LabelsOf(read, kS20));
}

}  // namespace
}  // namespace SFExtensionVLExtStrings_test
