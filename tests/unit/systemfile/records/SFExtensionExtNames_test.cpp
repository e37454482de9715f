// Record 13: what the long names do to a dictionary, and what is written for one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionExtNames_test {
namespace {

using testing::ElementsAre;

constexpr int kSubtype = 13;
constexpr int kVeryLongStrings = 14;

std::vector<std::string> NamesOf(const QUAV_DataSource& source) {
  std::vector<std::string> names;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    names.emplace_back(source.GetVariable(column).GetName());
  return names;
}

// Returns each pair as "first=second".
std::vector<std::string> PairsOf(const SystemFileOptions& options) {
  std::vector<std::string> pairs;
  for (const Rename& rename : options.renames) pairs.push_back(rename.first + "=" + rename.second);
  return pairs;
}

// ---- Reading ----

std::string FileWith(std::string_view text, int unitSize = 1) {
  const auto units = static_cast<std::int32_t>(text.size()) / unitSize;
  SystemFileBuilder file;
  file.Header().Number("B").Number("A").Number("C").Extension(kSubtype, unitSize, units, text).End();
  return file.Bytes();
}

TEST(SFExtensionExtNames, LongNamesReplaceShortNames) {
  const ReadDictionary read(FileWith("B=Beta\tA=Alpha\tC=Gamma"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("Beta", "Alpha", "Gamma"));
  EXPECT_TRUE(read.options.hasLongNames);
}

TEST(SFExtensionExtNames, KeepsLongNamesUnchanged) {
  const ReadDictionary read(FileWith("A=MixedCase_1.x\tB=\xC3\xA4rger"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("\xC3\xA4rger", "MixedCase_1.x", "C"));
}

TEST(SFExtensionExtNames, VariableWithoutALongNameKeepsItsShortName) {
  const ReadDictionary read(FileWith("A=Alpha"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("B", "Alpha", "C"));
}

TEST(SFExtensionExtNames, KeepsPairsThatBelongToNoVariable) {
  const ReadDictionary read(FileWith("X=Unused\tA=Alpha"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("B", "Alpha", "C"));
  EXPECT_THAT(PairsOf(read.options), ElementsAre("X=Unused", "A=Alpha"));
}

TEST(SFExtensionExtNames, KeepsPairsInTheOrderOfTheRecord) {
  const ReadDictionary read(FileWith("C=Gamma\tA=Alpha\tB=Beta"));
  EXPECT_THAT(PairsOf(read.options), ElementsAre("C=Gamma", "A=Alpha", "B=Beta"));
}

TEST(SFExtensionExtNames, LongNamesMayExchangeTheShortNames) {
  const ReadDictionary read(FileWith("A=B\tB=A"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("A", "B", "C"));
}

TEST(SFExtensionExtNames, ComparesShortNamesByBytes) {
  const ReadDictionary read(FileWith("a=Alpha\tB =Beta"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("B", "A", "C"));
}

TEST(SFExtensionExtNames, FirstOfTwoLongNamesCounts) {
  const ReadDictionary read(FileWith("A=First\tA=Second"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("B", "First", "C"));
}

TEST(SFExtensionExtNames, LongNameMayBeEmpty) {
  const ReadDictionary read(FileWith("A=\tB=Beta\tC="));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("Beta", "", ""));
  EXPECT_THAT(PairsOf(read.options), ElementsAre("A=", "B=Beta", "C="));
}

TEST(SFExtensionExtNames, ShortNameMayBeEmpty) {
  const ReadDictionary read(FileWith("=Nothing\tA=Alpha"));
  EXPECT_THAT(PairsOf(read.options), ElementsAre("=Nothing", "A=Alpha"));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("B", "Alpha", "C"));
}

TEST(SFExtensionExtNames, TextMayEndWithATab) {
  const ReadDictionary read(FileWith("A=Alpha\tB=Beta\t"));
  EXPECT_THAT(PairsOf(read.options), ElementsAre("A=Alpha", "B=Beta"));
}

TEST(SFExtensionExtNames, LongNameMayHaveAnyLength) {
  const std::string name(5000, 'x');
  const ReadDictionary read(FileWith("A=" + name));
  EXPECT_THAT(NamesOf(read.source), ElementsAre("B", name, "C"));
}

TEST(SFExtensionExtNames, SecondRecordAddsItsPairs) {
  SystemFileBuilder file;
  file.Header().Number("A").Number("B");
  file.Extension(kSubtype, 1, 7, "A=Alpha").Extension(kSubtype, 1, 6, "B=Beta").End();
  const ReadDictionary read(file.Bytes());
  EXPECT_THAT(NamesOf(read.source), ElementsAre("Alpha", "Beta"));
  EXPECT_THAT(PairsOf(read.options), ElementsAre("A=Alpha", "B=Beta"));
}

TEST(SFExtensionExtNames, ReadsAReversedFile) {
  SystemFileBuilder file(kReversedOrder);
  file.Header().Number("A").Extension(kSubtype, 1, 7, "A=Alpha").End();
  EXPECT_THAT(NamesOf(ReadDictionary(file.Bytes()).source), ElementsAre("Alpha"));
}

TEST(SFExtensionExtNames, IsNotInTheExtensionStore) {
  const ReadDictionary read(FileWith("A=Alpha"));
  EXPECT_FALSE(read.source.HasExtension(kSubtype));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

TEST(SFExtensionExtNames, FileWithoutTheRecordHasNoLongNames) {
  const ReadDictionary read(SystemFileBuilder().Header().Number("A").End().Bytes());
  EXPECT_FALSE(read.options.hasLongNames);
}

TEST(SFExtensionExtNames, EmptyRecordChangesNoNames) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  SystemFileOptions options;
  SystemFileExtensionRecord record;
  record.UnitSize(1);
  SystemFileExtensionHandler::Read(kSubtype, source, options, record);
  EXPECT_TRUE(options.hasLongNames);
  EXPECT_THAT(PairsOf(options), ElementsAre());
  EXPECT_THAT(NamesOf(source), ElementsAre("A"));
}

struct MalformedNames {
  const char* name;
  std::string text;
  const char* expression;
};

constexpr char kNoEqualSign[] = "i != notFound && extString[i] == '='";
constexpr char kNoTab[] = "j == len || extString[j] == '\\t'";

class SFExtensionExtNamesMalformed : public testing::TestWithParam<MalformedNames> {};

TEST_P(SFExtensionExtNamesMalformed, Throws1204) {
  const auto fault = FaultOf(FileWith(GetParam().text));
  EXPECT_THAT(fault, IsFault(1204, GetParam().expression));
  ASSERT_TRUE(fault);
  EXPECT_FALSE(fault->System());
}

INSTANTIATE_TEST_SUITE_P(Texts, SFExtensionExtNamesMalformed,
                         testing::Values(MalformedNames{"NameAlone", "A", kNoEqualSign},                  //
                                         MalformedNames{"TabAlone", "\t", kNoEqualSign},                  //
                                         MalformedNames{"NameAndTab", "A\tB=Beta", kNoEqualSign},         //
                                         MalformedNames{"NameAtTheEnd", "A=Alpha\tB", kNoEqualSign},      //
                                         MalformedNames{"TwoTabs", "A=Alpha\t\tB=Beta", kNoEqualSign},    //
                                         MalformedNames{"TwoTabsAtTheEnd", "A=Alpha\t\t", kNoEqualSign},  //
                                         MalformedNames{"TwoEqualSigns", "A=Alpha=Aleph", kNoTab},        //
                                         MalformedNames{"TwoEqualSignsInARow", "A==", kNoTab},            //
                                         MalformedNames{"EqualSignInsteadOfATab", "A=Alpha\tB=Beta=C=Gamma", kNoTab}),
                         kRowName);

TEST(SFExtensionExtNames, OtherUnitSizeThrows1204) {
  for (const int unitSize : {2, 4, 8})
    EXPECT_THAT(FaultOf(FileWith("A=Alphas", unitSize)), IsFault(1204, "rec.UnitSize()==1")) << unitSize;
}

TEST(SFExtensionExtNames, MalformedRecordFailsTheOpening) {
  const TempFile file(FileWith("A"));
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
}

TEST(SFExtensionExtNames, TextCutInsideAShortNameThrows1204) {
  const std::string text = "A=Alpha\tB=Beta\tC=Gamma";
  for (std::size_t size = 1; size <= text.size(); ++size) {
    const std::string cut = text.substr(0, size);
    const bool endsInAName = cut == "A" || cut.ends_with("\tB") || cut.ends_with("\tC");
    const auto fault = FaultOf(FileWith(cut));
    EXPECT_EQ(endsInAName ? kNoEqualSign : "", fault ? fault->Expression() : "") << cut;
  }
}

// ---- Writing ----

// What the handler writes for a dictionary, and the dictionary afterwards. As for a file, the handler of the very long
// strings runs first: it forms the short names.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kVeryLongStrings, kSubtype}) {}
};

TEST(SFExtensionExtNames, WritesEveryColumn) {
  MemorySource source;
  for (const char* name : {"Zeta", "ALPHA", "VeryLongName", "b"}) source.AddNumber(name);
  const Writing writing(source);
  EXPECT_EQ(1, writing.record.UnitSize());
  EXPECT_EQ("ZETA=Zeta\tALPHA=ALPHA\tVERYLONG=VeryLongName\tB=b", writing.Contents());
}

TEST(SFExtensionExtNames, SingleColumnHasNoTab) {
  MemorySource source;
  source.AddNumber("Age");
  EXPECT_EQ("AGE=Age", Writing(source).Contents());
}

TEST(SFExtensionExtNames, WritingGivesTheDictionaryItsShortNames) {
  MemorySource source;
  for (const char* name : {"Zeta", "VeryLongName1", "VeryLongName2"}) source.AddNumber(name);
  const Writing writing(source);
  EXPECT_THAT(NamesOf(writing.saved), ElementsAre("ZETA", "VERYLONG", "V3_A"));
  EXPECT_THAT(PairsOf(writing.options), ElementsAre("Zeta=ZETA", "VeryLongName1=VERYLONG", "VeryLongName2=V3_A"));
  EXPECT_THAT(NamesOf(source), ElementsAre("Zeta", "VeryLongName1", "VeryLongName2"));
}

TEST(SFExtensionExtNames, WritesOneNameForASplitString) {
  MemorySource source;
  source.AddText("LongString", 600);
  source.AddNumber("Number");
  const Writing writing(source);
  EXPECT_EQ("LONGSTRI=LongString\tNUMBER=Number", writing.Contents());
  EXPECT_THAT(NamesOf(writing.saved), ElementsAre("LONGSTRI", "LONGS0", "LONGS1", "NUMBER"));
}

TEST(SFExtensionExtNames, WritingSetsHasLongNames) {
  MemorySource source;
  source.AddNumber("A");
  EXPECT_TRUE(Writing(source).options.hasLongNames);
  // A dictionary without columns sets the flag too, but has no record.
  const Writing writing((MemorySource()));
  EXPECT_TRUE(writing.options.hasLongNames);
  EXPECT_EQ(0, writing.record.NUnits());
  EXPECT_EQ(nullptr, writing.record.Contents());
}

TEST(SFExtensionExtNames, ReadsBackTheWrittenNames) {
  MemorySource source;
  const std::vector<std::string> names{"Zeta", "VeryLongName1", "VeryLongName2", "V2_A", "\xC3\xA4rger"};
  for (const std::string& name : names) source.AddNumber(name.c_str());
  const Writing writing(source);
  SystemFileBuilder file;
  file.Header();
  for (const std::string& name : NamesOf(writing.saved)) file.Number(name);
  const std::string text = writing.Contents();
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(text.size()), text).End();
  EXPECT_EQ(names, NamesOf(ReadDictionary(file.Bytes()).source));
}

}  // namespace
}  // namespace SFExtensionExtNames_test
