#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"
#include "datasrc/CodePageDataSource.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "tests/support/Listener.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/SystemFileBuilder.h"
#include "tests/support/TempFile.h"

namespace GetSystemFile_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Source = std::unique_ptr<QUAV_DataSource, LineDeleter>;

constexpr int kWindows1252 = 1252;
constexpr int kUtf8Number = 65001;

// Returns a file whose only name, label and value are "ä" in the given code page; record 3 holds its number.
std::string FileIn(int codePage) {
  const std::string text = codePage == kWindows1252 ? "\xE4" : "ä";
  SystemFileBuilder parameters;
  for (const int number : {25, 0, 1, 720, 1, 1, 2, codePage}) parameters.I32(number);
  SystemFileBuilder file;
  file.Header({.cases = 1, .label = text}).String("A", 4).Extension(3, 4, 8, parameters.Bytes());
  const std::string names = "A=" + text;
  file.Extension(13, 1, static_cast<int>(names.size()), names).End().Case({FileText(text, 4)});
  return file.Bytes();
}

class GetSystemFile : public testing::Test {
 protected:
  Source Open(const std::string& bytes) {
    file.emplace(bytes);
    return Source(SystemFileDataSource::GetSystemFile(file->Name(), "", false, &listener));
  }
  static void ExpectPresent(const char* converter, int utf8mode) {
    char name[kCodePageNameSize];
    EXPECT_STREQ(converter, QUAVMBConverterName_A(0, name));
    EXPECT_EQ(utf8mode, qUTF8mode());
  }

  const RestoreEncoding restore;
  std::optional<TempFile> file;
  Listener listener;
};

// ---- Choice of the view ----

TEST_F(GetSystemFile, ReturnsAFileInTheProcessEncodingAsItIs) {
  SetUTF8mode(1);
  const Source source = Open(FileIn(kUtf8Number));
  ASSERT_NE(nullptr, dynamic_cast<SystemFileDataSource*>(source.get()));
  EXPECT_FALSE(source->IsDirty());
  EXPECT_STREQ("ä", source->GetLabel());
  EXPECT_THAT(listener.warnings, IsEmpty());
}

TEST_F(GetSystemFile, ReturnsAFileInTheDefaultCodePageAsItIs) {
  QUAVMBDefaultCodePageSet_A("cp1252");
  const Source source = Open(FileIn(kWindows1252));
  ASSERT_NE(nullptr, dynamic_cast<SystemFileDataSource*>(source.get()));
  EXPECT_STREQ("\xE4", source->GetVariable(0).GetName());
}

TEST_F(GetSystemFile, InUtf8ModeConvertsAnotherEncodingToUtf8) {
  SetUTF8mode(1);
  const Source source = Open(FileIn(kWindows1252));
  ASSERT_NE(nullptr, dynamic_cast<UTF8DataSource*>(source.get()));
  EXPECT_FALSE(source->IsDirty());
  EXPECT_STREQ("ä", source->GetLabel());
  EXPECT_STREQ("ä", source->GetVariable(0).GetName());
  EXPECT_EQ(file->Name(), source->GetFileSpec());
  EXPECT_EQ(1, source->RowCount());
  EXPECT_THAT(AllCells(*source), ElementsAre(CellsOf(FileCase{FileText("ä", 12)})));
  EXPECT_THAT(listener.warnings, IsEmpty());
  ExpectPresent("", 1);
}

TEST_F(GetSystemFile, OutsideUtf8ModeConvertsUtf8ToTheDefaultCodePage) {
  QUAVMBDefaultCodePageSet_A("windows-1252");
  const Source source = Open(FileIn(kUtf8Number));
  auto* const view = dynamic_cast<CodePageDataSource*>(source.get());
  ASSERT_NE(nullptr, view);
  EXPECT_EQ("windows-1252", view->CharacterEncoding());
  EXPECT_FALSE(source->IsDirty());
  EXPECT_STREQ("\xE4", source->GetLabel());
  EXPECT_STREQ("\xE4", source->GetVariable(0).GetName());
  EXPECT_THAT(AllCells(*source), ElementsAre(CellsOf(FileCase{FileText("\xE4", 4)})));
  ExpectPresent("", 0);
}

TEST_F(GetSystemFile, OutsideUtf8ModeReturnsAThirdEncodingAsItIsWithOneWarning) {
  QUAVMBDefaultCodePageSet_A("ISO-8859-7");
  const Source source = Open(FileIn(kWindows1252));
  ASSERT_NE(nullptr, dynamic_cast<SystemFileDataSource*>(source.get()));
  EXPECT_STREQ("\xE4", source->GetLabel());
  EXPECT_FALSE(source->IsDirty());
  ASSERT_THAT(listener.Numbers(), ElementsAre(1721));
  EXPECT_THAT(listener.warnings[0].text, HasSubstr(file->Name()));
  EXPECT_THAT(listener.warnings[0].text, HasSubstr("windows-1252"));
  EXPECT_EQ(0, listener.warnings[0].value);
}

TEST_F(GetSystemFile, OpensAThirdEncodingWithoutAMonitor) {
  QUAVMBDefaultCodePageSet_A("ISO-8859-7");
  const TempFile third(FileIn(kWindows1252));
  const Source source(SystemFileDataSource::GetSystemFile(third.Name(), "", false, nullptr));
  EXPECT_STREQ("\xE4", source->GetLabel());
}

TEST_F(GetSystemFile, WarnsOfTextLostInAView) {
  QUAVMBDefaultCodePageSet_A("ISO-8859-7");
  Open(FileIn(kUtf8Number));
  EXPECT_THAT(listener.Numbers(), ElementsAre(1711));
}

TEST_F(GetSystemFile, RestoresTheCurrentConverter) {
  SetUTF8mode(1);
  QUAVMBConverterSet_A("ISO-8859-2");
  Open(FileIn(kWindows1252));
  ExpectPresent("ISO-8859-2", 1);
}

TEST_F(GetSystemFile, AcceptsFileNamesInBothForms) {
  SetUTF8mode(1);
  const TempFile one(FileIn(kUtf8Number));
  const Source source(SystemFileDataSource::GetSystemFile(ExtNameStr(one.Name()), ExtNameStr(), false, nullptr));
  EXPECT_EQ(one.Name(), source->GetFileSpec());
}

// ---- Faults ----

TEST_F(GetSystemFile, PassesOnErrorsOfOpening) {
  SetUTF8mode(1);
  const auto error = ErrorOf([&] { Open("no system file at all"); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
  ExpectPresent("", 1);
}

// ---- Parts ----

TEST_F(GetSystemFile, IsCompatibleEncodingComparesWithTheProcess) {
  const TempFile utf8(FileIn(kUtf8Number));
  const TempFile other(FileIn(kWindows1252));
  const SystemFileDataSource inUtf8(utf8.Name(), "", false);
  const SystemFileDataSource inOther(other.Name(), "", false);
  QUAVMBDefaultCodePageSet_A("windows-1252");
  EXPECT_FALSE(inUtf8.IsCompatibleEncoding());
  EXPECT_TRUE(inOther.IsCompatibleEncoding());
  SetUTF8mode(1);
  EXPECT_TRUE(inUtf8.IsCompatibleEncoding());
  EXPECT_FALSE(inOther.IsCompatibleEncoding());
}

TEST_F(GetSystemFile, TemporaryCodePageIsCurrentInItsScope) {
  SetUTF8mode(1);
  {
    const SystemFileDataSource::TemporaryCodePage codePage("windows-1252", 0);
    ExpectPresent("windows-1252", 0);
  }
  ExpectPresent("", 1);
}

TEST_F(GetSystemFile, TemporaryCodePageWithoutANameKeepsTheConverter) {
  QUAVMBConverterSet_A("windows-1252");
  {
    const SystemFileDataSource::TemporaryCodePage codePage("", 1);
    ExpectPresent("windows-1252", 1);
  }
  ExpectPresent("windows-1252", 0);
}

TEST(LineDeleter, DeletesAViewAndItsParents) {
  static int alive = 0;
  class Counted : public MemorySource {
   public:
    explicit Counted(const QUAV_DataSource* parent) : MemorySource(parent) { ++alive; }
    ~Counted() override { --alive; }
  };
  {
    const Source line(new Counted(new Counted(new Counted(nullptr))));
    EXPECT_EQ(3, alive);
  }
  EXPECT_EQ(0, alive);
}

}  // namespace
}  // namespace GetSystemFile_test
