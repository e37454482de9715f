// The magic, the order of the records, the end of the variable part, and every way in which a dictionary can be
// truncated or malformed.

#include "systemfile/DictionaryReader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace DictionaryReader_test {
namespace {

SystemFileBuilder WithHeader(const FileHeader& header = {}, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header(header);
  return file;
}

// ---- The magic ----

FileKind KindOf(const std::string& bytes) {
  FaultyStream stream(bytes);
  return TestMagic(stream);
}

TEST(DictionaryReader, MagicIdentifiesThreeKindsOfFile) {
  EXPECT_EQ(FileKind::plain, KindOf("$FL2"));
  EXPECT_EQ(FileKind::zlib, KindOf("$FL3"));
  EXPECT_EQ(FileKind::encrypted, KindOf("\x1C\x01\x02\x03\x04\x05\x06\x07"
                                        "ENCRYPTEDSAV"));
}

TEST(DictionaryReader, MagicOfPlainAndZlibFilesTakes4Bytes) {
  for (const char* magic : {"$FL2", "$FL3"}) {
    FaultyStream stream(std::string(magic) + "and more");
    TestMagic(stream);
    EXPECT_EQ(4, stream.Tell());
  }
}

std::optional<SystemFileException> MagicFault(const std::string& bytes) {
  try {
    KindOf(bytes);
  } catch (const SystemFileException& fault) {
    return fault;
  }
  return std::nullopt;
}

constexpr char kUnknownMagic[] =
    "std::string(magic) == \"$FL2\" || std::string(magic) == \"$FL3\" || std::string( magic2 ) == \"ENCRYPTEDSAV\"";

TEST(DictionaryReader, ShortMagicThrows1205) {
  const std::string other = "abcd0123ENCRYPTEDSAV";
  for (std::size_t size = 0; size < 4; ++size)
    EXPECT_THAT(MagicFault(std::string("$FL2").substr(0, size)), IsFault(1205, "nRead == 4")) << size;
  for (std::size_t size = 4; size < 8; ++size)
    EXPECT_THAT(MagicFault(other.substr(0, size)), IsFault(1205, "nRead == 4")) << size;
  for (std::size_t size = 8; size < 20; ++size)
    EXPECT_THAT(MagicFault(other.substr(0, size)), IsFault(1205, "nRead == 12")) << size;
}

TEST(DictionaryReader, UnknownMagicThrows1204) {
  for (const char* bytes : {"$FL1 and then something", "$fl2 and then something", "a text, not a file of ours",
                            "abcd0123ENCRYPTEDSAW", "abcd0123encryptedsav", "ENCRYPTEDSAV and then something"})
    EXPECT_THAT(MagicFault(bytes), IsFault(1204, kUnknownMagic)) << bytes;
}

// ---- The whole dictionary ----

class DictionaryReaderInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, DictionaryReaderInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(DictionaryReaderInEitherOrder, ReadsUpToTheFirstCase) {
  auto file = WithHeader({}, GetParam()).Number("A").String("S", 20).Labels({{1.0, "one"}}, {1}).Documents({"a line"});
  const auto row0 = static_cast<long>(file.Extension(99, 1, 3, "abc").End().Size());
  const ReadDictionary read(file.Case({1.0, "text"}).Bytes());
  EXPECT_EQ(row0, read.stream.Tell());
  EXPECT_EQ(2u, read.source.ColumnCount());
}

TEST_P(DictionaryReaderInEitherOrder, EndsAfterAnyFiller) {
  const auto file = WithHeader({}, GetParam()).Number("A").I32(999).I32(-12345);
  EXPECT_EQ(static_cast<long>(file.Size()), ReadDictionary(file.Bytes()).stream.Tell());
}

TEST_P(DictionaryReaderInEitherOrder, AcceptsADictionaryWithoutVariables) {
  const ReadDictionary read(WithHeader({.nominalCaseSize = 5}, GetParam()).End().Bytes());
  EXPECT_EQ(0u, read.source.ColumnCount());
  EXPECT_EQ(0, read.options.layout.NominalCaseSize());
}

TEST(DictionaryReader, ReadsVariablesAfterOtherRecords) {
  const ReadDictionary read(
      WithHeader().Number("A").Extension(99, 1, 1, "x").Number("B").Documents({"a line"}).String("S", 8).End().Bytes());
  ASSERT_EQ(3u, read.source.ColumnCount());
  EXPECT_STREQ("B", read.source.GetVariable(1).GetName());
  EXPECT_STREQ("S", read.source.GetVariable(2).GetName());
}

TEST(DictionaryReaderDeathTest, SlotOfAVariableAfterOtherRecordsAsserts) {
  const std::string bytes =
      WithHeader().Number("A").Extension(99, 1, 1, "x").Number("B").Labels({{1.0, "one"}}, {2}).End().Bytes();
  EXPECT_DEATH(ReadDictionary{bytes}, testing::HasSubstr("assertion failed: 0 <= index"));
}

// ---- The end of the variable part ----

TEST_P(DictionaryReaderInEitherOrder, IgnoresTheCaseSizeInTheHeader) {
  const ReadDictionary read(
      WithHeader({.nominalCaseSize = 1000}, GetParam()).Number("A").String("S", 20).Number("B").End().Bytes());
  EXPECT_EQ(5, read.options.layout.NominalCaseSize());
}

TEST(DictionaryReader, MapsTheNumericCellsOfAReversedFile) {
  const ReadDictionary read(
      WithHeader({}, kReversedOrder).Number("A").String("S", 20).Number("B").String("T", 1).End().Bytes());
  const bool* map = read.options.layout.NumericCellMap();
  ASSERT_NE(nullptr, map);
  EXPECT_EQ((std::vector<bool>{true, false, false, false, true, false}), std::vector<bool>(map, map + 6));
}

TEST(DictionaryReader, MapsNumericCellsWhateverCaseSizeTheHeaderHas) {
  for (const std::int32_t claimed : {-1, 0, 1, 1000}) {
    const ReadDictionary read(
        WithHeader({.nominalCaseSize = claimed}, kReversedOrder).String("S", 8).Number("A").End().Bytes());
    const bool* map = read.options.layout.NumericCellMap();
    ASSERT_NE(nullptr, map);
    EXPECT_EQ((std::vector<bool>{false, true}), std::vector<bool>(map, map + 2));
  }
}

TEST(DictionaryReader, FileInNativeOrderHasNoNumericCellMap) {
  EXPECT_EQ(nullptr, ReadDictionary(WithHeader().Number("A").End().Bytes()).options.layout.NumericCellMap());
}

TEST(DictionaryReader, FileWithoutNumbersHasNoNumericCellMap) {
  const ReadDictionary read(WithHeader({}, kReversedOrder).String("S", 8).End().Bytes());
  EXPECT_EQ(nullptr, read.options.layout.NumericCellMap());
}

struct Weight {
  const char* name;
  std::int32_t index;
  int column;
};

class DictionaryReaderWeight : public testing::TestWithParam<Weight> {};

// Slots: A 1, S 2 to 4, B 5.
TEST_P(DictionaryReaderWeight, IndexIsASlotOfTheFile) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const ReadDictionary read(
        WithHeader({.weightIndex = GetParam().index}, order).Number("A").String("S", 20).Number("B").End().Bytes());
    EXPECT_EQ(GetParam().column, read.source.GetWeightVarIndex());
  }
}

INSTANTIATE_TEST_SUITE_P(Indexes, DictionaryReaderWeight,
                         testing::Values(Weight{"ZeroIsNone", 0, -1},                      //
                                         Weight{"First", 1, 0},                            //
                                         Weight{"Last", 5, 2},                             //
                                         Weight{"StringIsAccepted", 2, 1},                 //
                                         Weight{"InsideAStringIsNone", 3, -1},             //
                                         Weight{"AfterTheLastIsNone", 6, -1},              //
                                         Weight{"FarAfterTheLastIsNone", 0x7FFFFFFF, -1},  //
                                         Weight{"NegativeIsNone", -1, -1}),
                         kRowName);

TEST(DictionaryReader, WeightIndexCountsOnlyVariablesBeforeTheFirstOtherRecord) {
  const ReadDictionary read(
      WithHeader({.weightIndex = 2}).Number("A").Extension(99, 1, 1, "x").Number("B").End().Bytes());
  EXPECT_EQ(-1, read.source.GetWeightVarIndex());
}

// ---- Malformed and truncated dictionaries ----

struct BadDictionary {
  const char* name;
  int number;
  const char* expression;
  void (*build)(SystemFileBuilder& file);  // adds to a header and one numeric variable
};

class DictionaryReaderFault : public testing::TestWithParam<BadDictionary> {};

TEST_P(DictionaryReaderFault, NamesTheFailedCheck) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    auto file = WithHeader({}, order).Number("A");
    GetParam().build(file);
    const auto fault = FaultOf(file.Bytes());
    ASSERT_THAT(fault, IsFault(GetParam().number, GetParam().expression));
    EXPECT_FALSE(fault->System());
    EXPECT_NE("", fault->File());
    EXPECT_LT(0, fault->Line());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Dictionaries, DictionaryReaderFault,
    testing::Values(
        BadDictionary{"NoRecordType", 1205, "len == sizeof(recType)", [](SystemFileBuilder&) {}},
        BadDictionary{"RecordTypeCut", 1205, "len == sizeof(recType)", [](SystemFileBuilder& f) { f.Raw("abc"); }},
        BadDictionary{"UnknownRecordType", 1204, "false", [](SystemFileBuilder& f) { f.I32(8).End(); }},
        BadDictionary{"RecordType0", 1204, "false", [](SystemFileBuilder& f) { f.I32(0).End(); }},
        BadDictionary{"RecordType1", 1204, "false", [](SystemFileBuilder& f) { f.I32(1).End(); }},
        BadDictionary{"RecordType5", 1204, "false", [](SystemFileBuilder& f) { f.I32(5).End(); }},
        BadDictionary{"NegativeRecordType", 1204, "false", [](SystemFileBuilder& f) { f.I32(-2).End(); }},
        BadDictionary{"LoneIndexRecord", 1204, "false", [](SystemFileBuilder& f) { f.Index({1}).End(); }},
        BadDictionary{"NoEndFiller", 1205, "len == sizeof(padding)", [](SystemFileBuilder& f) { f.I32(999); }},
        BadDictionary{"EndFillerCut", 1205, "len == sizeof(padding)",
                      [](SystemFileBuilder& f) { f.I32(999).Raw("abc"); }},
        BadDictionary{"NoLabelCount", 1205, "len == sizeof(nLabels)", [](SystemFileBuilder& f) { f.I32(3); }},
        BadDictionary{"LabelCountCut", 1205, "len == sizeof(nLabels)",
                      [](SystemFileBuilder& f) { f.I32(3).Raw("abc"); }},
        BadDictionary{"NoLabelValue", 1205, "len == header.size()", [](SystemFileBuilder& f) { f.I32(3).I32(1); }},
        BadDictionary{"NoLabelLength", 1205, "len == header.size()",
                      [](SystemFileBuilder& f) { f.I32(3).I32(1).F64(1.0); }},
        BadDictionary{"NoLabelText", 1205, "len == paddedLen",
                      [](SystemFileBuilder& f) { f.I32(3).I32(1).F64(1.0).Raw("\x03"); }},
        BadDictionary{"LabelTextCut", 1205, "len == paddedLen",
                      [](SystemFileBuilder& f) { f.I32(3).I32(1).F64(1.0).Raw("\x03").Text("abc", 6); }},
        BadDictionary{"EmptyLabelWithoutFiller", 1205, "len == paddedLen",
                      [](SystemFileBuilder& f) { f.I32(3).I32(1).F64(1.0).Raw(std::string(1, '\0')).Text("", 6); }},
        BadDictionary{"NoIndexRecord", 1205, "len == 2*sizeof(int32)",
                      [](SystemFileBuilder& f) {
                        f.LabelsAlone({{1.0, "one"}});
                      }},
        BadDictionary{"IndexRecordWithoutCount", 1205, "len == 2*sizeof(int32)",
                      [](SystemFileBuilder& f) {
                        f.LabelsAlone({{1.0, "one"}}).I32(4).Raw("abc");
                      }},
        BadDictionary{"LabelsWithoutIndexRecord", 1204, "h[0] == 4",
                      [](SystemFileBuilder& f) {
                        f.LabelsAlone({{1.0, "one"}}).End();
                      }},
        BadDictionary{"IndexOfNoVariables", 1204, "h[1] > 0",
                      [](SystemFileBuilder& f) {
                        f.Labels({{1.0, "one"}}, {}).End();
                      }},
        BadDictionary{"IndexOfNegativeCount", 1204, "h[1] > 0",
                      [](SystemFileBuilder& f) {
                        f.LabelsAlone({{1.0, "one"}}).I32(4).I32(-1).End();
                      }},
        BadDictionary{"IndexListCut", 1205, "len == nVars*sizeof(int32)",
                      [](SystemFileBuilder& f) {
                        f.LabelsAlone({{1.0, "one"}}).I32(4).I32(2).I32(1).Raw("abc");
                      }},
        BadDictionary{"ExtensionHeaderCut", 1205, "len == 3*sizeof(int32)",
                      [](SystemFileBuilder& f) { f.I32(7).I32(99).I32(1).Raw("abc"); }},
        BadDictionary{"NoExtensionHeader", 1205, "len == 3*sizeof(int32)", [](SystemFileBuilder& f) { f.I32(7); }},
        BadDictionary{"ExtensionContentsCut", 1205, "len == h[2]*h[1]",
                      [](SystemFileBuilder& f) { f.Extension(99, 4, 2, "abcdefg"); }},
        BadDictionary{"NoExtensionContents", 1205, "len == h[2]*h[1]",
                      [](SystemFileBuilder& f) { f.Extension(99, 4, 2, ""); }}),
    kRowName);

TEST(DictionaryReader, FaultNamesTheSourceFileThatThrewIt) {
  const auto fault = FaultOf(WithHeader().Number("A").LabelsAlone({{1.0, "one"}}).End().Bytes());
  ASSERT_TRUE(fault);
  EXPECT_THAT(fault->File(), testing::HasSubstr("LabelRecord.cpp"));
}

TEST(DictionaryReader, FaultOfAFailingStreamHasTheSystemError) {
  FaultyStream stream(WithHeader().Number("A").End().Bytes(), FaultyStream::kFails, 3);
  SystemFileDataSource source;
  SystemFileOptions options;
  try {
    TestMagic(stream);
    ReadSystemFileDictionary(source, options, stream);
    FAIL() << "nothing was thrown";
  } catch (const SystemFileException& fault) {
    EXPECT_EQ(1205, fault.Number());
    EXPECT_EQ("nRead == len1", fault.Expression());
    EXPECT_TRUE(fault.System());
    EXPECT_EQ(EIO, fault.Errno());
  }
}

// ---- The place of a fault ----

std::string PlaceOf(const std::string& bytes) {
  const auto fault = FaultOf(bytes);
  return fault ? fault->Place().Text() : "no fault";
}

TEST_P(DictionaryReaderInEitherOrder, FaultHasThePlaceOfItsRecord) {
  const auto start = [] { return std::move(WithHeader({}, GetParam()).Number("A")); };
  EXPECT_EQ("record 2, byte 208", PlaceOf(start().Variable({.type = 256}).End().Bytes()));
  EXPECT_EQ("record 3, byte 208", PlaceOf(start().Labels({}, {}).End().Bytes()));
  EXPECT_EQ("record 8, byte 208", PlaceOf(start().I32(8).Bytes()));
  EXPECT_EQ("record 7/13, byte 208", PlaceOf(start().Extension(13, 1, 1, "A").End().Bytes()));
  EXPECT_EQ("record 7/99, byte 225", PlaceOf(start().Extension(99, 1, 1, "A").Extension(99, 1, 9, "").Bytes()));
  EXPECT_EQ("record 7, byte 208", PlaceOf(start().I32(7).I32(99).Bytes()));
  EXPECT_EQ("record 999, byte 208", PlaceOf(start().I32(999).Bytes()));
}

TEST(DictionaryPlace, OfAFaultWithoutARecordIsTheByteAlone) {
  EXPECT_EQ("byte 208", PlaceOf(WithHeader().Number("A").Bytes()));
  EXPECT_EQ("byte 0", PlaceOf(WithHeader().Bytes().substr(0, 100)));
}

TEST(DictionaryPlace, LeavesWithTheErrorOfTheOpening) {
  const TempFile file(WithHeader().Number("A").Extension(13, 1, 1, "A").End().Bytes());
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
  EXPECT_EQ(13, error->Place().subtype);
  EXPECT_EQ("record 7/13, byte 208", error->Place().Text());
  EXPECT_EQ(error->Text() + ": " + file.Name(), error->what());
}

}  // namespace
}  // namespace DictionaryReader_test
