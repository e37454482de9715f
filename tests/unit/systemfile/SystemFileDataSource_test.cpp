#include "datasrc/SystemFileDataSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace SystemFileDataSource_test {
namespace {

using testing::HasSubstr;

SystemFileBuilder WithHeader(const FileHeader& header = {}, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header(header);
  return file;
}

// A source opened on a file. The object deletes the file.
struct Opened {
  TempFile file;
  SystemFileDataSource source;
  explicit Opened(const std::string& bytes) : file(bytes), source(file.Name(), "", false) {}
};

ExtNameStr Password(const char* text) {
  ExtNameStr password;
  password.SetU8(text);
  return password;
}

// ---- Opening ----

TEST(SystemFileDataSource, ReadsTheDictionary) {
  const Opened opened(WithHeader({.eyeCatcher = "@(#) made by hand", .compression = 1, .cases = 7, .label = "A label"})
                          .Number("A")
                          .String("S", 20)
                          .End()
                          .Bytes());
  EXPECT_EQ(2u, opened.source.ColumnCount());
  EXPECT_EQ(7, opened.source.RowCount());
  EXPECT_STREQ("A label", opened.source.GetLabel());
  EXPECT_EQ("@(#) made by hand", opened.source.EyeCatcher());
  EXPECT_EQ(1, opened.source.GetCompressionLevel());
}

TEST(SystemFileDataSource, RemembersTheFileName) {
  const Opened opened(WithHeader().Number("A").End().Bytes());
  EXPECT_EQ(opened.file.Name(), opened.source.GetFileSpec());
}

TEST(SystemFileDataSource, IsNotDirtyAfterOpening) {
  const Opened opened(WithHeader({.weightIndex = 1, .label = "A label"}).Number("A").End().Bytes());
  EXPECT_FALSE(opened.source.IsDirty());
}

TEST(SystemFileDataSource, OpensAFileNamedByAnExtNameStr) {
  const TempFile file(WithHeader({.cases = 3}).Number("A").End().Bytes());
  EXPECT_EQ(3, SystemFileDataSource(ExtNameStr(file.Name()), ExtNameStr(), false).RowCount());
}

TEST(SystemFileDataSource, ConvertsNamesToLowerCaseWithoutLongNames) {
  const Opened opened(WithHeader().Number("UPPER").Number("MiXeD_1").Number("lower").End().Bytes());
  EXPECT_STREQ("upper", opened.source.GetVariable(0).GetName());
  EXPECT_STREQ("mixed_1", opened.source.GetVariable(1).GetName());
  EXPECT_STREQ("lower", opened.source.GetVariable(2).GetName());
}

TEST(SystemFileDataSource, RowCountIsUnknownWhenTheHeaderHasNone) {
  EXPECT_EQ(-1, Opened(WithHeader({.cases = -1}).Number("A").End().Bytes()).source.RowCount());
}

class SystemFileDataSourceInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SystemFileDataSourceInEitherOrder,
                         testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(SystemFileDataSourceInEitherOrder, ReportsAReversedByteOrder) {
  const Opened opened(WithHeader({.cases = 4}, GetParam()).Number("A").End().Bytes());
  EXPECT_EQ(GetParam() == kReversedOrder, opened.source.bReversedByteOrder());
  EXPECT_EQ(4, opened.source.RowCount());
}

TEST_P(SystemFileDataSourceInEitherOrder, HeaderCompressionOverridesTheMagic) {
  const std::vector<FileCase> cases = {{1.0}, {2.5}};
  const Opened opened(
      WithHeader({.magic = "$FL3", .compression = 1}, GetParam()).Number("A").End().CodedCases(cases).Bytes());
  EXPECT_EQ(1, opened.source.GetCompressionLevel());
  EXPECT_EQ(CellsOf(cases), AllCells(opened.source));
}

// ---- Files that cannot be opened ----

struct BadFile {
  const char* name;
  int number;
  std::string bytes;
};

class SystemFileDataSourceBadFile : public testing::TestWithParam<BadFile> {};

TEST_P(SystemFileDataSourceBadFile, IsReportedWithNumberAndFileName) {
  const TempFile file(GetParam().bytes);
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(GetParam().number, error->Number());
  EXPECT_EQ(file.Name(), error->File());
}

INSTANTIATE_TEST_SUITE_P(
    Files, SystemFileDataSourceBadFile,
    testing::Values(BadFile{"Empty", 1205, ""},                                           //
                    BadFile{"ShortMagic", 1205, "$FL"},                                   //
                    BadFile{"WrongMagic", 1204, "$FL4 and then something else"},          //
                    BadFile{"Encrypted", 1214, "12345678ENCRYPTEDSAV and what follows"},  //
                    BadFile{"HeaderCut", 1205, SystemFileBuilder().Header().Bytes().substr(0, 100)},
                    BadFile{"NothingAfterTheHeader", 1205, SystemFileBuilder().Header().Bytes()},
                    BadFile{"UnknownRecord", 1204, SystemFileBuilder().Header().I32(8).End().Bytes()},
                    BadFile{"NoEnd", 1205, SystemFileBuilder().Header().Number("A").Bytes()},
                    BadFile{"MissingCount", 1204,
                            SystemFileBuilder().Header().Variable({.name = "A", .missingCount = 4}).End().Bytes()},
                    BadFile{"ExtensionCut", 1205, SystemFileBuilder().Header().Extension(99, 1, 9, "abc").Bytes()}),
    kRowName);

TEST(SystemFileDataSource, MissingFileThrows1201WithTheSystemError) {
  const TempFile file("");
  const std::string missing = file.Directory() + "/missing.quav";
  const auto error = ErrorOf([&] { SystemFileDataSource(missing, "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1201, error->Number());
  EXPECT_EQ(missing, error->File());
  EXPECT_THAT(error->Text(), HasSubstr("No such file"));
}

TEST(SystemFileDataSource, DirectoryThrows1201WithTheSystemError) {
  const TempFile file("");
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Directory(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1201, error->Number());
  EXPECT_THAT(error->Text(), HasSubstr("directory"));
}

TEST(SystemFileDataSource, ErrorOfAMalformedFileHasNoSystemError) {
  const TempFile file("$FL4 and then something else");
  errno = EACCES;
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_THAT(error->Text(), testing::Not(HasSubstr("(")));
}

TEST(SystemFileDataSource, FailedOpeningLeavesNoFileOpen) {
  const TempFile file("$FL4 and then something else");
  const auto openFiles = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  };
  const auto before = openFiles();
  EXPECT_TRUE(ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); }));
  EXPECT_EQ(before, openFiles());
}

// ---- MakeIterator ----

TEST(SystemFileDataSource, MakeIteratorThrows1206ForAnUnknownCompression) {
  for (const std::int32_t compression : {3, -1, 100}) {
    const Opened opened(WithHeader({.compression = compression}).Number("A").End().Case({1.0}).Bytes());
    const auto error = ErrorOf([&] { delete opened.source.MakeIterator(nullptr); });
    ASSERT_TRUE(error) << compression;
    EXPECT_EQ(1206, error->Number());
    EXPECT_EQ(opened.file.Name(), error->File());
  }
}

TEST(SystemFileDataSource, MakeIteratorNotifiesNoObserverWhenItThrows1206) {
  struct Counter final : QUAV_DataSource::Observer {
    void IteratorMade(QUAV_InputCaseIterator*) override { ++made; }
    int made = 0;
  } counter;
  for (const auto& [compression, made] : {std::pair{0, 1}, {1, 1}, {3, 0}}) {
    const Opened opened(WithHeader({.compression = compression}).Number("A").End().Case({1.0}).Bytes());
    counter.made = 0;
    opened.source.Register(&counter);
    ErrorOf([&] { delete opened.source.MakeIterator(nullptr); });
    EXPECT_EQ(made, counter.made) << compression;
  }
}

TEST(SystemFileDataSource, MakeIteratorThrows1201WithoutAFile) {
  const SystemFileDataSource source;
  const auto error = ErrorOf([&] { delete source.MakeIterator(nullptr); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1201, error->Number());
}

// ---- Extensions and releases ----

TEST(SystemFileDataSource, ExtensionFoundIsTrueForSubtypesInTheFile) {
  const Opened opened(
      WithHeader().Number("A").Documents({"a line"}).Extension(99, 1, 1, "x").Extension(150, 1, 1, "y").End().Bytes());
  EXPECT_TRUE(opened.source.bExtensionFound(0));
  EXPECT_TRUE(opened.source.bExtensionFound(99));
  EXPECT_FALSE(opened.source.bExtensionFound(98));
}

TEST(SystemFileDataSource, ExtensionFoundIsFalseOutside0To99) {
  const Opened opened(WithHeader().Number("A").Extension(100, 1, 1, "x").Extension(150, 1, 1, "y").End().Bytes());
  for (const int subtype : {-1, 100, 150, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    EXPECT_FALSE(opened.source.bExtensionFound(subtype)) << subtype;
}

std::string SourceParameters(std::endian order) {
  return SystemFileBuilder(order).I32(25).I32(0).I32(1).I32(720).I32(1).I32(1).I32(2).I32(65001).Bytes();
}

TEST_P(SystemFileDataSourceInEitherOrder, GetReleaseInfoReturnsTheReleaseInRecord3) {
  const Opened opened(
      WithHeader({}, GetParam()).Number("A").Extension(3, 4, 8, SourceParameters(GetParam())).End().Bytes());
  int release[3] = {};
  EXPECT_TRUE(opened.source.GetReleaseInfo(release));
  EXPECT_THAT(release, testing::ElementsAre(25, 0, 1));
}

TEST(SystemFileDataSource, GetReleaseInfoReturnsTheDefaultWithoutRecord3) {
  const Opened opened(WithHeader().Number("A").End().Bytes());
  int release[3] = {};
  EXPECT_FALSE(opened.source.GetReleaseInfo(release));
  EXPECT_THAT(release, testing::ElementsAre(25, 0, 1));
}

TEST(SystemFileDataSource, GetFileSysmisReturnsTheDefaultWithoutRecord4) {
  const Opened opened(WithHeader().Number("A").End().Bytes());
  EXPECT_EQ(kSystemMissingCell, NumberCell(opened.source.GetFileSysmis()));
}

TEST(SystemFileDataSource, AddRowThrows1209WhileAnIteratorExists) {
  Opened opened(WithHeader().Number("A").End().Case({1.0}).Bytes());
  const std::unique_ptr<QUAV_InputCaseIterator> iterator(opened.source.MakeIterator(nullptr));
  const OBS row{};
  const auto error = ErrorOf([&] { opened.source.AddRow(&row); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1209, error->Number());
}

TEST(SystemFileDataSource, CloseDoesNotChangeAFileThatWasOnlyRead) {
  Opened opened(WithHeader({.cases = 1}).Number("A").End().Case({1.0}).Bytes());
  const std::string before = opened.file.Bytes();
  opened.source.Close();
  EXPECT_EQ(1u, AllCells(opened.source).size());
  EXPECT_EQ(before, opened.file.Bytes());
}

// ---- Character encoding ----

TEST(SystemFileDataSource, CharacterEncodingReturnsTheNameThatWasSet) {
  SystemFileDataSource source;
  source.CharacterEncoding("windows-1252");
  EXPECT_EQ("windows-1252", source.CharacterEncoding());
}

TEST(SystemFileDataSource, CharacterEncodingWithoutAFileIsTheCurrentOne) {
  const int mode = qUTF8mode();
  SetUTF8mode(1);
  EXPECT_EQ("UTF-8", SystemFileDataSource().CharacterEncoding());
  SetUTF8mode(0);
  EXPECT_EQ(QUAVMBDefaultCodePage(), SystemFileDataSource().CharacterEncoding());
  SetUTF8mode(mode);
}

TEST(SystemFileDataSource, CharacterEncodingOfAnUnknownCodeIsTheDefault) {
  // The character code is 2 when no record gives it, and no code page has that number.
  const Opened opened(WithHeader().Number("A").End().Bytes());
  EXPECT_EQ(QUAVMBDefaultCodePage(), opened.source.CharacterEncoding());
}

TEST(SystemFileDataSource, ClearedCharacterEncodingIsTheDefault) {
  Opened opened(WithHeader().Number("A").End().Bytes());
  opened.source.CharacterEncoding("windows-1252");
  opened.source.CharacterEncoding("");
  EXPECT_EQ(QUAVMBDefaultCodePage(), opened.source.CharacterEncoding());
}

// ---- Plain settings ----

TEST(SystemFileDataSource, HasADefaultEyeCatcher) {
  EXPECT_EQ("@(#) MOR QUAV TABULATORS 64-bit Linux 25.0.0.1", SystemFileDataSource().EyeCatcher());
}

TEST(SystemFileDataSource, SetsTheEyeCatcher) {
  SystemFileDataSource source;
  source.EyeCatcher("another");
  EXPECT_EQ("another", source.EyeCatcher());
}

TEST(SystemFileDataSource, SetsTheRowCount) {
  SystemFileDataSource source;
  EXPECT_EQ(-1, source.RowCount());
  source.RowCount(1LL << 40);
  EXPECT_EQ(1LL << 40, source.RowCount());
}

// ---- Compression and password ----

TEST(SystemFileDataSource, HasNoCompressionByDefault) {
  const SystemFileDataSource source;
  EXPECT_FALSE(source.GetCompression());
  EXPECT_EQ(0, source.GetCompressionLevel());
}

TEST(SystemFileDataSource, SetCompressionSetsLevel1Or0) {
  SystemFileDataSource source;
  source.SetCompression(true);
  EXPECT_EQ(1, source.GetCompressionLevel());
  EXPECT_TRUE(source.GetCompression());
  source.SetCompression(false);
  EXPECT_EQ(0, source.GetCompressionLevel());
  EXPECT_FALSE(source.GetCompression());
}

TEST(SystemFileDataSource, SetCompressionLowersLevel2To1) {
  SystemFileDataSource source;
  source.SetCompressionLevel(2);
  source.SetCompression(true);
  EXPECT_EQ(1, source.GetCompressionLevel());
}

struct Level {
  int asked;
  int withoutPassword;
  int withPassword;
};

TEST(SystemFileDataSource, CompressionLevelIs2OnlyWithoutAPassword) {
  for (const auto [asked, withoutPassword, withPassword] :
       {Level{0, 0, 0}, Level{1, 1, 1}, Level{2, 2, 1}, Level{3, 1, 1}, Level{7, 1, 1}, Level{-1, 1, 1}}) {
    SystemFileDataSource source;
    source.SetCompressionLevel(asked);
    EXPECT_EQ(withoutPassword, source.GetCompressionLevel()) << asked;
    EXPECT_EQ(withoutPassword != 0, source.GetCompression()) << asked;
    SystemFileDataSource secret;
    secret.SetPassword(Password("secret"));
    secret.SetCompressionLevel(asked);
    EXPECT_EQ(withPassword, secret.GetCompressionLevel()) << asked;
  }
}

TEST(SystemFileDataSource, SetPasswordLowersLevel2To1) {
  for (const int before : {0, 1, 2}) {
    SystemFileDataSource source;
    source.SetCompressionLevel(before);
    source.SetPassword(Password("secret"));
    EXPECT_EQ(std::min(before, 1), source.GetCompressionLevel()) << before;
  }
}

TEST(SystemFileDataSource, EmptyPasswordKeepsLevel2) {
  SystemFileDataSource source;
  source.SetCompressionLevel(2);
  source.SetPassword(ExtNameStr());
  EXPECT_EQ(2, source.GetCompressionLevel());
}

TEST(SystemFileDataSource, PasswordMakesTheSourceEncrypted) {
  SystemFileDataSource source;
  EXPECT_FALSE(source.IsEncrypted());
  EXPECT_TRUE(source.GetPassword().Empty());
  source.SetPassword(Password("secret"));
  EXPECT_TRUE(source.IsEncrypted());
  EXPECT_EQ("secret", source.GetPassword().GetU8());
  source.SetPassword(ExtNameStr());
  EXPECT_FALSE(source.IsEncrypted());
}

TEST(SystemFileDataSource, SetsThePasswordMangledFlag) {
  SystemFileDataSource source;
  EXPECT_FALSE(source.GetPasswordMangled());
  source.SetPasswordMangled(true);
  EXPECT_TRUE(source.GetPasswordMangled());
  source.SetPasswordMangled(false);
  EXPECT_FALSE(source.GetPasswordMangled());
}

}  // namespace
}  // namespace SystemFileDataSource_test
