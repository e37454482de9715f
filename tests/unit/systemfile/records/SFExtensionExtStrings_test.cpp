// Record 14: which runs of columns the very long strings join, and what is written for a dictionary.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionExtStrings_test {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSubtype = 14;

// Returns the name and type of each column as "NAME 300". A string whose format has another width also gets that width:
// "NAME 300 A250".
std::vector<std::string> ColumnsOf(const QUAV_DataSource& source) {
  std::vector<std::string> columns;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    const QUAV_Variable& variable = source.GetVariable(column);
    std::string text = variable.GetName() + (' ' + std::to_string(variable.GetType()));
    const QUAV_Format format = variable.GetFormat();
    const bool isUsual = format == QUAV_Format(kFormatString, variable.GetType(), 0);
    if (variable.GetType() != 0 && !isUsual) text += " A" + std::to_string(format.Width());
    columns.push_back(text);
  }
  return columns;
}

// ---- Reading ----

SystemFileBuilder& Add(SystemFileBuilder& file, int subtype, std::string_view text) {
  return file.Extension(subtype, 1, static_cast<std::int32_t>(text.size()), text);
}

// The variables A of 300 bytes, a number, and B of 600 bytes; the strings are in segments. The file has both records.
std::string FileWith(std::string_view text, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().String("A", 255).String("ALPHA0", 48).Number("N");
  file.String("B", 255).String("BETA0", 255).String("BETA1", 96);
  Add(file, 13, "A=Alpha\tN=Number\tB=Beta");
  return Add(file, kSubtype, text).End().Bytes();
}
const std::vector<std::string> kInSegments{"Alpha 255", "ALPHA0 48", "Number 0", "Beta 255", "BETA0 255", "BETA1 96"};
const std::vector<std::string> kWithoutTheNameOfASegment{"Alpha 255", " 48",       "Number 0",
                                                         "Beta 255",  "BETA0 255", "BETA1 96"};
const std::vector<std::string> kJoined{"Alpha 300", "Number 0", "Beta 600"};

class SFExtensionExtStringsInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionExtStringsInEitherOrder,
                         testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(SFExtensionExtStringsInEitherOrder, JoinsTheSegments) {
  const ReadDictionary read(FileWith("A=300\0\tB=600\0\t"s, GetParam()));
  EXPECT_EQ(kJoined, ColumnsOf(read.source));
  EXPECT_EQ(38u + 1 + 75, read.source.GetObsAreaSize());
}

TEST(SFExtensionExtStrings, OptionsKeepTheCaseSizeOfTheFile) {
  const ReadDictionary read(FileWith("A=300\0\tB=600\0\t"s));
  EXPECT_EQ(32 + 6 + 1 + 32 + 32 + 12, read.options.layout.NominalCaseSize());
  EXPECT_TRUE(read.options.layout.Dechunker().Active());
}

TEST(SFExtensionExtStrings, KeepsTheRestOfTheFirstSegment) {
  SystemFileBuilder file;
  file.Header().Variable({.name = "A", .type = 255, .label = "the label"});
  for (int i = 0; i < 31; ++i) file.Continuation();
  file.String("ALPHA0", 48);
  Add(file, 13, "A=Alpha");
  Add(file, kSubtype, "A=300\0\t"s).End();
  const ReadDictionary read(file.Bytes());
  EXPECT_THAT(ColumnsOf(read.source), ElementsAre("Alpha 300"));
  EXPECT_STREQ("the label", read.source.GetVariable(0).GetLabel());
}

TEST(SFExtensionExtStrings, EntriesMayHaveAnyOrder) {
  const ReadDictionary read(FileWith("B=600\0\tA=300\0\t"s));
  EXPECT_EQ(kJoined, ColumnsOf(read.source));
}

TEST(SFExtensionExtStrings, JoinsOnlyTheListedStrings) {
  EXPECT_THAT(ColumnsOf(ReadDictionary(FileWith("A=300\0\t"s)).source),
              ElementsAre("Alpha 300", "Number 0", "Beta 255", "BETA0 255", "BETA1 96"));
  EXPECT_THAT(ColumnsOf(ReadDictionary(FileWith("B=600\0\t"s)).source),
              ElementsAre("Alpha 255", "ALPHA0 48", "Number 0", "Beta 600"));
}

struct Separated {
  const char* name;
  std::string text;
};

class SFExtensionExtStringsSeparators : public testing::TestWithParam<Separated> {};

TEST_P(SFExtensionExtStringsSeparators, AreAccepted) {
  EXPECT_EQ(kJoined, ColumnsOf(ReadDictionary(FileWith(GetParam().text)).source));
}

INSTANTIATE_TEST_SUITE_P(Texts, SFExtensionExtStringsSeparators,
                         testing::Values(Separated{"ByNulAndTab", "A=300\0\tB=600\0\t"s},  //
                                         Separated{"ByTabAndNul", "A=300\t\0B=600\t\0"s},  //
                                         Separated{"ByTab", "A=300\tB=600\t"s},            //
                                         Separated{"ByNul", "A=300\0B=600\0"s},            //
                                         Separated{"ByTwoTabs", "A=300\t\tB=600\t\t"s},    //
                                         Separated{"ByTwoNuls", "A=300\0\0B=600\0\0"s},    //
                                         Separated{"WithNothingAfterTheLast", "A=300\0\tB=600"s},
                                         Separated{"WithLeadingZeros", "A=00300\0\tB=0600\0\t"s}),
                         kRowName);

// ---- A second record ----

// A 300 bytes and B 600 bytes in segments, and a record for each text.
std::string FileWithLists(const std::vector<std::string>& texts, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().String("A", 255).String("ALPHA0", 48).Number("N");
  file.String("B", 255).String("BETA0", 255).String("BETA1", 96);
  Add(file, 13, "A=Alpha\tN=Number\tB=Beta");
  for (const std::string& text : texts) Add(file, kSubtype, text);
  file.End();
  return file
      .Case({std::string(255, 'a') + " ", FileText(std::string(45, 'a'), 48), 7.0, std::string(255, 'b') + " ",
             std::string(255, 'b') + " ", FileText(std::string(90, 'b'), 96)})
      .Bytes();
}

struct SecondList {
  const char* name;
  std::string text;
};

class SFExtensionExtStringsSecondList : public testing::TestWithParam<SecondList> {};

TEST_P(SFExtensionExtStringsSecondList, IsIgnoredAfterOneThatJoinedStrings) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const TempFile onDisk(FileWithLists({"A=300\0\tB=600\0\t"s, GetParam().text}, order));
    const SystemFileDataSource source(onDisk.Name(), "", false);
    EXPECT_EQ(kJoined, ColumnsOf(source));
    EXPECT_EQ(CellsOf(std::vector<FileCase>{{std::string(300, 'a'), 7.0, std::string(600, 'b')}}), AllCells(source));
  }
}

TEST_P(SFExtensionExtStringsSecondList, LeavesTheLayoutAsItIs) {
  const ReadDictionary read(FileWithLists({"A=300\0\t"s, GetParam().text}));
  EXPECT_EQ((std::vector<std::string>{"Alpha 300", "Number 0", "Beta 255", "BETA0 255", "BETA1 96"}),
            ColumnsOf(read.source));
  EXPECT_EQ(38 + 1 + 76, read.options.layout.NominalCaseSize());
  EXPECT_EQ((SystemFileLayout::ColumnWidths{{0, 300}}), read.options.layout.VeryLongStrings());
}

INSTANTIATE_TEST_SUITE_P(Lists, SFExtensionExtStringsSecondList,
                         testing::Values(SecondList{"TheSame", "A=300\0\tB=600\0\t"s},  //
                                         SecondList{"SomeOfThem", "A=300\0\t"s},        //
                                         SecondList{"Other", "B=600\0\t"s},             //
                                         SecondList{"Number", "N=8\0\t"s},              //
                                         SecondList{"Unreadable", "no equal sign"s},    //
                                         SecondList{"ThatDoesNotFit", "B=900\0\t"s},    //
                                         SecondList{"UnknownName", "X=300\0\t"s}),
                         kRowName);

TEST(SFExtensionExtStrings, AppliesASecondListWhenTheFirstJoinedNothing) {
  for (const std::string& first : {"no equal sign"s, "A=900\0\t"s, "X=300\0\t"s}) {
    const TempFile onDisk(FileWithLists({first, "A=300\0\tB=600\0\t"s}));
    const SystemFileDataSource source(onDisk.Name(), "", false);
    EXPECT_EQ(kJoined, ColumnsOf(source)) << first;
    EXPECT_EQ(CellsOf(std::vector<FileCase>{{std::string(300, 'a'), 7.0, std::string(600, 'b')}}), AllCells(source));
  }
}

// A string of 32767 bytes, and a second record 14 that cannot be read. Without joined cases the reader would deliver
// bytes that follow its buffer.
TEST(SFExtensionExtStrings, DamagedSecondListLeavesTheCasesToTheFirst) {
  constexpr std::size_t kCells = 130 * 32 + 1;  // of a case in the file
  std::ifstream in(SAMPLES_DIR "/found/second_record14_bad.quav", std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), {});
  ASSERT_EQ(233296u, bytes.size());
  std::vector<std::vector<OBS>> expected;
  for (std::size_t row = 0; row < 3; ++row) {
    const std::string inFile = bytes.substr(bytes.size() - (3 - row) * kCells * 8, kCells * 8);
    std::string text;
    for (std::size_t at = 0; text.size() < 32767; at += 256) {
      std::string segment = inFile.substr(at, std::min<std::size_t>(255, 32767 - text.size()));
      while (segment.size() > 252 && segment.back() == '\0') segment.pop_back();
      text += segment;
    }
    expected.push_back(CellsOf(FileCase{FileText(text, 32767)}));
  }
  const SystemFileDataSource source(SAMPLES_DIR "/found/second_record14_bad.quav", "", false);
  EXPECT_TRUE(expected == AllCells(source));
}

// ---- Appending ----

// Strings of 253 to 255 bytes are stored in segments only where a record says so; this system writes them whole.
TEST(SFExtensionExtStrings, StringsOfAnyWidthAreAppendedInTheFormOfTheFile) {
  for (const int compression : {0, 1})
    for (const int width : {100, 252, 253, 254, 255, 256, 503, 504, 505, 507}) {
      const int rest = width % 252;
      SystemFileBuilder file;
      file.Header({.compression = compression, .cases = 0}).Number("N").String("A", width < 252 ? width : 255);
      for (int segment = 1; segment < width / 252; ++segment) file.String("ALPHA" + std::to_string(segment), 255);
      if (width > 252 && rest != 0) file.String("AREST", rest);
      file.Number("LAST");
      Add(file, 13, "N=Number\tA=Alpha\tLAST=Last");
      Add(file, kSubtype, "A=" + std::to_string(width) + "\0\t"s).End();
      const TempFile onDisk(file.Bytes());
      const std::string text = std::string(static_cast<std::size_t>(width - 1), 'x') + "y";
      const FileCase row{1.0, text, 2.0};
      const std::vector<OBS> cells = CellsOf(row);
      {
        SystemFileDataSource source(onDisk.Name(), "", false);
        ASSERT_EQ((std::vector<std::string>{"Number 0", "Alpha " + std::to_string(width), "Last 0"}),
                  ColumnsOf(source));
        ASSERT_EQ(cells.size(), source.GetObsAreaSize());
        for (int i = 0; i < 3; ++i) {
          const auto exact = std::make_unique<OBS[]>(cells.size());  // a sanitizer sees any byte after it
          std::ranges::copy(cells, exact.get());
          source.AddRow(exact.get());
        }
        source.Close();
      }
      const SystemFileDataSource source(onDisk.Name(), "", false);
      EXPECT_EQ(3, source.RowCount());
      EXPECT_EQ((std::vector<std::vector<OBS>>(3, cells)), AllCells(source)) << width << " in form " << compression;
    }
}

TEST(SFExtensionExtStrings, AppendOfRowsWithAnotherLayoutThrows1209) {
  const TempFile onDisk(FileWithLists({"A=300\0\tB=600\0\t"s}));
  SystemFileDataSource source(onDisk.Name(), "", false);
  const std::vector<OBS> row(source.GetObsAreaSize());
  source.DeleteVariables(0, 0);
  const auto error = ErrorOf([&] { source.AddRow(row.data()); });
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(1209, error->Number());
}

// ---- Dropped lists ----

struct Dropped {
  const char* name;
  std::string text;
};

class SFExtensionExtStringsDropped : public testing::TestWithParam<Dropped> {};

TEST_P(SFExtensionExtStringsDropped, KeepsTheSegments) {
  const ReadDictionary read(FileWith(GetParam().text));
  EXPECT_EQ(kInSegments, ColumnsOf(read.source));
  EXPECT_FALSE(read.options.layout.Dechunker().Active());
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

INSTANTIATE_TEST_SUITE_P(ForTheName, SFExtensionExtStringsDropped,
                         testing::Values(Dropped{"NoEqualSign", "A 300\0\t"s},                           //
                                         Dropped{"EqualSignAfter16Bytes", "ABCDEFGHIJKLMNOP=300\0\t"s},  //
                                         Dropped{"SeparatorsAlone", "\0\t"s},                            //
                                         Dropped{"UnknownName", "X=300\0\t"s},                           //
                                         Dropped{"NameAfterTheLastOne", "Z=300\0\t"s},                   //
                                         Dropped{"LongName", "Alpha=300\0\t"s},                          //
                                         Dropped{"OtherCase", "a=300\0\t"s},                             //
                                         Dropped{"EmptyName", "=300\0\t"s},                              //
                                         Dropped{"NameOfASegment", "ALPHA0=48\0\t"s},                    //
                                         // One bad entry drops the good ones after it.
                                         Dropped{"BadEntryFirst", "X=300\0\tA=300\0\t"s}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(ForTheWidth, SFExtensionExtStringsDropped,
                         testing::Values(Dropped{"SixDigits", "A=000300\0\t"s},                     //
                                         Dropped{"ManyDigits", "A="s + std::string(50, '0')},       //
                                         Dropped{"Sign", "A=+300\0\t"s},                            //
                                         Dropped{"Minus", "A=-300\0\t"s},                           //
                                         Dropped{"LeadingBlank", "A= 300\0\t"s},                    //
                                         Dropped{"TrailingBlank", "A=300 \0\t"s},                   //
                                         Dropped{"Letter", "A=30O\0\t"s},                           //
                                         Dropped{"NextEntryWithoutASeparator", "A=300B=600\0\t"s},  //
                                         Dropped{"Hexadecimal", "A=0x12C\0\t"s}),
                         kRowName);

// The width is a number, but the segments do not fit it.
INSTANTIATE_TEST_SUITE_P(ForTheSegments, SFExtensionExtStringsDropped,
                         testing::Values(Dropped{"NoDigits", "A=\0\t"s},                       //
                                         Dropped{"Nothing", "A="s},                            //
                                         Dropped{"Zero", "A=0\0\t"s},                          //
                                         Dropped{"WidestNumber", "A=99999\0\t"s},              //
                                         Dropped{"WidestString", "A=32767\0\t"s},              //
                                         Dropped{"WiderThanTheWidestString", "A=32768\0\t"s},  //
                                         Dropped{"LastSegmentTooNarrow", "A=301\0\t"s},        //
                                         Dropped{"LastSegmentTooWide", "A=292\0\t"s},          //
                                         Dropped{"WidthOfTheFirstSegment", "A=255\0\t"s},      //
                                         Dropped{"NumberAsASegment", "A=504\0\t"s},            //
                                         Dropped{"PastTheLastColumn", "B=852\0\t"s},           //
                                         Dropped{"NumberAsAString", "N=8\0\t"s}),
                         kRowName);

TEST(SFExtensionExtStrings, DropsAListWithoutLongNames) {
  SystemFileBuilder file;
  file.Header().String("A", 255).String("ALPHA0", 48);
  const ReadDictionary read(Add(file, kSubtype, "A=300\0\t"s).End().Bytes());
  EXPECT_THAT(ColumnsOf(read.source), ElementsAre("A 255", "ALPHA0 48"));
  EXPECT_FALSE(read.options.layout.Dechunker().Active());
}

TEST(SFExtensionExtStrings, DropsAListWithALongNameThatNoVariableHas) {
  SystemFileBuilder file;
  file.Header().String("A", 255).String("ALPHA0", 48);
  Add(file, 13, "B=Beta");
  const ReadDictionary read(Add(file, kSubtype, "B=300\0\t"s).End().Bytes());
  EXPECT_THAT(ColumnsOf(read.source), ElementsAre("A 255", "ALPHA0 48"));
}

TEST(SFExtensionExtStrings, EmptyRecordChangesNoColumns) {
  SystemFileDataSource source;
  source.MakeVariable(8, nullptr).SetName("A");
  SystemFileOptions options;
  SystemFileExtensionRecord record;
  record.UnitSize(1);
  SystemFileExtensionHandler::Read(kSubtype, source, options, record);
  EXPECT_THAT(ColumnsOf(source), ElementsAre("A 8"));
  EXPECT_EQ(1, options.layout.NominalCaseSize());
}

// Names that were already removed stay removed.
TEST(SFExtensionExtStrings, BadEntryDropsTheWholeList) {
  EXPECT_EQ(kWithoutTheNameOfASegment, ColumnsOf(ReadDictionary(FileWith("A=300\0\tX=600\0\t"s)).source));
  EXPECT_EQ(kWithoutTheNameOfASegment, ColumnsOf(ReadDictionary(FileWith("A=300\0\tB=6x0\0\t"s)).source));
  EXPECT_EQ(kWithoutTheNameOfASegment, ColumnsOf(ReadDictionary(FileWith("A=300\0\tgarbage"s)).source));
}

// The entry itself is good: its names are removed before the text after it is checked.
TEST(SFExtensionExtStrings, ThirdSeparatorDropsTheList) {
  for (const std::string& text : {"A=300\0\t\0"s, "A=300\t\t\tB=600"s, "A=300\0\0\0\0\0"s})
    EXPECT_EQ(kWithoutTheNameOfASegment, ColumnsOf(ReadDictionary(FileWith(text)).source))
        << testing::PrintToString(text);
}

TEST(SFExtensionExtStrings, OpeningRepairsTheNamesThatADroppedListRemoved) {
  const TempFile file(FileWith("A=300\0\tX=600\0\t"s));
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_THAT(ColumnsOf(source), ElementsAre("Alpha 255", "v1 48", "Number 0", "Beta 255", "BETA0 255", "BETA1 96"));
}

// ---- Skipped entries ----

TEST(SFExtensionExtStrings, SkipsAnEntryThatDoesNotFit) {
  EXPECT_THAT(ColumnsOf(ReadDictionary(FileWith("A=400\0\tB=600\0\t"s)).source),
              ElementsAre("Alpha 255", "ALPHA0 48", "Number 0", "Beta 600"));
  EXPECT_THAT(ColumnsOf(ReadDictionary(FileWith("A=300\0\tB=99999\0\t"s)).source),
              ElementsAre("Alpha 300", "Number 0", "Beta 255", "BETA0 255", "BETA1 96"));
}

TEST(SFExtensionExtStrings, SkipsAnEntryForColumnsThatAreTaken) {
  EXPECT_EQ(kJoined, ColumnsOf(ReadDictionary(FileWith("A=300\0\tA=300\0\tB=600\0\tB=600\0\t"s)).source));
}

TEST(SFExtensionExtStrings, SkipsAnEntryThatOverlapsAnother) {
  SystemFileBuilder file;
  file.Header().String("AAAAAA", 255).String("AAAAAB", 255).String("AAAAAC", 48);
  Add(file, 13, "AAAAAA=AAAAAx\tAAAAAB=AAAAAy\tAAAAAC=AAAAAz");
  // The second entry would enclose the string of the first.
  Add(file, kSubtype, "AAAAAB=300\0\tAAAAAA=552\0\t"s).End();
  EXPECT_THAT(ColumnsOf(ReadDictionary(file.Bytes()).source), ElementsAre("AAAAAx 255", "AAAAAy 300"));
}

TEST(SFExtensionExtStrings, EntryForTheColumnAfterAStringChangesNothing) {
  SystemFileBuilder file;
  file.Header().String("AAAAAA", 255).String("AAAAAB", 255).String("AAAAAC", 48);
  Add(file, 13, "AAAAAA=AAAAAx\tAAAAAB=AAAAAy\tAAAAAC=AAAAAz");
  Add(file, kSubtype, "AAAAAA=504\0\tAAAAAC=48\0\t"s).End();
  EXPECT_THAT(ColumnsOf(ReadDictionary(file.Bytes()).source), ElementsAre("AAAAAx 504", "AAAAAz 48"));
}

// ---- Segments ----

struct Segments {
  const char* name;
  std::vector<std::pair<std::string, int>> columns;
  int width;
  bool fits;
};

class SFExtensionExtStringsSegments : public testing::TestWithParam<Segments> {};

TEST_P(SFExtensionExtStringsSegments, AreCheckedByWidthAndName) {
  SystemFileBuilder file;
  file.Header();
  for (const auto& [name, type] : GetParam().columns) type == 0 ? file.Number(name) : file.String(name, type);
  Add(file, 13, GetParam().columns[0].first + "=LongNames");
  Add(file, kSubtype, GetParam().columns[0].first + "=" + std::to_string(GetParam().width) + "\0\t"s).End();
  const ReadDictionary read(file.Bytes());
  EXPECT_EQ(GetParam().fits ? 1u : GetParam().columns.size(), read.source.ColumnCount());
  EXPECT_EQ(GetParam().fits, read.options.layout.Dechunker().Active());
  EXPECT_STREQ("LongNames", read.source.GetVariable(0).GetName());
  EXPECT_EQ(GetParam().fits ? GetParam().width : GetParam().columns[0].second, read.source.GetVariable(0).GetType());
}

INSTANTIATE_TEST_SUITE_P(LastSegment, SFExtensionExtStringsSegments,
                         testing::Values(Segments{"AsWideAsTheRest", {{"LONGN", 255}, {"X", 48}}, 300, true},
                                         Segments{"UpToTheNextCell", {{"LONGN", 255}, {"X", 48}}, 293, true},
                                         Segments{"PastTheNextCell", {{"LONGN", 255}, {"X", 48}}, 292, false},
                                         Segments{"Narrower", {{"LONGN", 255}, {"X", 47}}, 300, false},
                                         Segments{"OfOneByteInUpTo8", {{"LONGN", 255}, {"X", 8}}, 253, true},
                                         Segments{"OfOneByteIn9", {{"LONGN", 255}, {"X", 9}}, 253, false},
                                         Segments{"Of8BytesIn8", {{"LONGN", 255}, {"X", 8}}, 260, true},
                                         Segments{"Of9BytesIn8", {{"LONGN", 255}, {"X", 8}}, 261, false},
                                         Segments{"Of9BytesIn16", {{"LONGN", 255}, {"X", 16}}, 261, true},
                                         Segments{"Of9BytesIn17", {{"LONGN", 255}, {"X", 17}}, 261, false},
                                         Segments{"OfAnyName", {{"LONGN", 255}, {"ANOTHER", 4}}, 256, true},
                                         Segments{"ThatIsANumber", {{"LONGN", 255}, {"X", 0}}, 253, false}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(
    WholeSegments, SFExtensionExtStringsSegments,
    testing::Values(Segments{"WithoutALastOne", {{"LONGN", 255}, {"LONGN0", 255}}, 504, true},
                    Segments{"OneWithoutALastOne", {{"LONGN", 255}}, 252, true},
                    Segments{"WithTheirPrefix", {{"LONGN", 255}, {"LONGNAME", 255}, {"X", 96}}, 600, true},
                    Segments{"WithPartOfThePrefix", {{"LONGN", 255}, {"LONG1", 255}, {"X", 96}}, 600, false},
                    Segments{"WithAnotherName", {{"LONGN", 255}, {"OTHER0", 255}, {"X", 96}}, 600, false},
                    Segments{"OfAnotherWidth", {{"LONGN", 255}, {"LONGN0", 254}, {"X", 96}}, 600, false},
                    Segments{"ThatIsANumber", {{"LONGN", 255}, {"LONGN0", 0}, {"X", 96}}, 600, false},
                    Segments{"WithAFirstOneOfAnotherWidth", {{"LONGN", 254}, {"X", 48}}, 300, false}),
    kRowName);

// The prefix comes from the long name.
TEST(SFExtensionExtStrings, SegmentNamesFollowTheLongName) {
  SystemFileBuilder file;
  file.Header().String("V1_A", 255).String("VERYL0", 255).String("VERYL1", 96);
  Add(file, 13, "V1_A=VeryLongName");
  Add(file, kSubtype, "V1_A=600\0\t"s).End();
  EXPECT_THAT(ColumnsOf(ReadDictionary(file.Bytes()).source), ElementsAre("VeryLongName 600"));
}

TEST(SFExtensionExtStrings, JoinsTheWidestString) {
  SystemFileBuilder file;
  file.Header().String("S", 255);
  for (int i = 0; i < 129; ++i) file.String("STRIN" + std::to_string(i), 255);
  file.String("LAST", 7);
  Add(file, 13, "S=String");
  Add(file, kSubtype, "S=32767\0\t"s).End();
  EXPECT_THAT(ColumnsOf(ReadDictionary(file.Bytes()).source), ElementsAre("String 32767"));
}

TEST(SFExtensionExtStrings, ShortNameOfAnEntryHasUpTo15Bytes) {
  SystemFileBuilder file;
  file.Header().String("A", 255).String("A0", 48);
  Add(file, 13, "A=ABCDEFGHIJKLMNO");
  Add(file, 13, "ABCDEFGHIJKLMNO=Alpha");
  Add(file, kSubtype, "ABCDEFGHIJKLMNO=300\0\t"s).End();
  EXPECT_THAT(ColumnsOf(ReadDictionary(file.Bytes()).source), ElementsAre("Alpha 300"));
}

// ---- Hostile text ----

TEST(SFExtensionExtStrings, TextCutAtAnyByteJoinsTheWholeEntries) {
  const std::string text = "A=300\0\tB=600\0\t"s;
  for (std::size_t size = 1; size <= text.size(); ++size) {
    const ReadDictionary read(FileWith(text.substr(0, size)));
    const std::vector<std::string> columns = ColumnsOf(read.source);
    const bool hasA = size >= 5, hasB = size >= 12;
    // Text cut inside the second entry after its name keeps the first one.
    const bool isCutInAName = size == 8;
    if (!hasA)
      EXPECT_EQ(kInSegments, columns) << size;
    else if (isCutInAName)
      EXPECT_EQ(kWithoutTheNameOfASegment, columns) << size;
    else if (hasB)
      EXPECT_EQ(kJoined, columns) << size;
    else
      EXPECT_THAT(columns, ElementsAre("Alpha 300", "Number 0", "Beta 255", "BETA0 255", "BETA1 96")) << size;
  }
}

TEST(SFExtensionExtStrings, TextWithAnyByteChangedKeepsTheCells) {
  const std::string text = "A=300\0\tB=600\0\t"s;
  for (std::size_t at = 0; at < text.size(); ++at)
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = text;
      changed[at] = static_cast<char>(byte);
      const ReadDictionary read(FileWith(changed));
      // No column is added, and no bytes are lost.
      EXPECT_LE(read.source.ColumnCount(), 6u) << at << " " << byte;
      EXPECT_GE(read.source.ColumnCount(), 3u) << at << " " << byte;
      EXPECT_EQ(115, read.options.layout.NominalCaseSize()) << at << " " << byte;
    }
}

TEST(SFExtensionExtStrings, JoinsTheStringsInCases) {
  const std::string a(300, 'a'), b(600, 'b');
  SystemFileBuilder file;
  file.Raw(FileWith("B=600\0\tA=300\0\t"s));
  file.Case({std::string(255, 'a') + " " + std::string(45, 'a'), 7.0,
             std::string(255, 'b') + " " + std::string(255, 'b') + " " + std::string(90, 'b')});
  const TempFile onDisk(file.Bytes());
  const SystemFileDataSource source(onDisk.Name(), "", false);
  EXPECT_EQ(CellsOf(std::vector<FileCase>{{a, 7.0, b}}), AllCells(source));
}

// ---- Writing ----

// What the handler writes for a dictionary, and the dictionary afterwards.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

TEST(SFExtensionExtStrings, WritesStringsOfMoreThan255Bytes) {
  MemorySource source;
  source.AddText("Alpha", 300);
  source.AddNumber("Number");
  source.AddText("Short", 255);
  source.AddText("VeryLongName", 32767);
  source.AddText("Least", 256);
  const Writing writing(source);
  EXPECT_EQ(1, writing.record.UnitSize());
  EXPECT_EQ("ALPHA=300\0\tVERYLONG=32767\0\tLEAST=256\0\t"s, writing.Contents());
}

TEST(SFExtensionExtStrings, WritesShortNames) {
  MemorySource source;
  source.AddText("VeryLongName1", 300);
  source.AddText("VeryLongName2", 300);
  EXPECT_EQ("VERYLONG=300\0\tV2_A=300\0\t"s, Writing(source).Contents());
}

TEST(SFExtensionExtStrings, WritingSplitsTheStringsInTheDictionary) {
  MemorySource source;
  source.AddNumber("Number");
  source.AddText("Alpha", 300);
  source.AddText("Longer", 600);
  const Writing writing(source);
  EXPECT_THAT(ColumnsOf(writing.saved),
              ElementsAre("Number 0", "Alpha 255", "ALPHA0 48", "Longer 255", "LONGE0 255", "LONGE1 96"));
  EXPECT_EQ(1u + 32 + 6 + 32 + 32 + 12, writing.saved.GetObsAreaSize());
  EXPECT_THAT(ColumnsOf(source), ElementsAre("Number 0", "Alpha 300", "Longer 600"));
}

TEST(SFExtensionExtStrings, NoVeryLongStringsGiveNoRecord) {
  MemorySource source;
  source.AddNumber("Number");
  source.AddText("Short", 255);
  const Writing writing(source);
  EXPECT_EQ(0, writing.record.NUnits());
  EXPECT_EQ(nullptr, writing.record.Contents());
  EXPECT_THAT(ColumnsOf(writing.saved), ElementsAre("Number 0", "Short 255"));
}

TEST(SFExtensionExtStrings, WritingFormsShortNamesWithoutVeryLongStrings) {
  MemorySource source;
  source.AddNumber("Number");
  const Writing writing(source);
  ASSERT_EQ(1u, writing.options.renames.size());
  EXPECT_EQ("Number", writing.options.renames[0].first);
  EXPECT_EQ("NUMBER", writing.options.renames[0].second);
  EXPECT_THAT(Writing((MemorySource())).options.renames, IsEmpty());
}

TEST(SFExtensionExtStrings, WritesTheVariableNameWhenItHasNoShortName) {
  MemorySource source;
  source.AddText("Alpha", 300);
  QUAV_FileStream file;
  SystemFileOptions options;
  options.renames = {{"Other", "OTHER"}};
  SystemFileDataSource::SaveDS saved(&source, file, options);
  SystemFileExtensionRecord record;
  SystemFileExtensionHandler::Write(kSubtype, saved, record);
  EXPECT_EQ("Alpha=300\0\t"s, std::string(AsText(record.Contents()), static_cast<std::size_t>(record.Size())));
}

TEST(SFExtensionExtStrings, ReadsBackTheWrittenStrings) {
  const TempFile file("");
  {
    SystemFileDataSource source;
    source.MakeVariable(0, nullptr).SetName("Number");
    source.MakeVariable(300, nullptr).SetName("Alpha");
    source.MakeVariable(32767, nullptr).SetName("Widest");
    source.MakeVariable(255, nullptr).SetName("Short");
    source.MakeVariable(504, nullptr).SetName("WholeSegments");
    source.SetFileSpec(file.Name().c_str());
    source.CommitDictionary();
    source.Close();
  }
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_THAT(ColumnsOf(source),
              ElementsAre("Number 0", "Alpha 300", "Widest 32767", "Short 255", "WholeSegments 504"));
}

}  // namespace
}  // namespace SFExtensionExtStrings_test
