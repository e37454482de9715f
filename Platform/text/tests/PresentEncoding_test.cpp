#include "Platform/text/PresentEncoding.h"

#include <gtest/gtest.h>
#include <locale.h>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"

namespace quavmb {
namespace PresentEncoding_test {
namespace {

std::string ConverterName() {
  char name[kCodePageNameSize];
  return QUAVMBConverterName_A(0, name);
}

bool PresentIsUtf8() { return &PresentEncoding() == &Encoding::Utf8(); }
bool PresentIs(const char* name) { return &PresentEncoding() == Encoding::Find(name); }

TEST(PresentEncoding, Utf8ModeOverridesAllOtherSettings) {
  const RestoreEncoding restore;
  QUAVMBDefaultCodePageSet_A("windows-1251");
  QUAVMBConverterSet_A("windows-1252");
  SetUTF8mode(1);
  EXPECT_TRUE(PresentIsUtf8());
}

TEST(PresentEncoding, ConverterOverridesTheDefaultCodePage) {
  const RestoreEncoding restore;
  QUAVMBDefaultCodePageSet_A("windows-1251");
  QUAVMBConverterSet_A("windows-1252");
  EXPECT_TRUE(PresentIs("windows-1252"));
}

TEST(PresentEncoding, IsTheDefaultCodePageOtherwise) {
  const RestoreEncoding restore;
  QUAVMBDefaultCodePageSet_A("windows-1251");
  EXPECT_TRUE(PresentIs("windows-1251"));
}

TEST(PresentEncoding, FollowsEachChangeOfTheSettings) {
  const RestoreEncoding restore;
  QUAVMBDefaultCodePageSet_A("windows-1251");
  EXPECT_TRUE(PresentIs("windows-1251"));
  QUAVMBConverterSet_A("Shift_JIS");
  EXPECT_TRUE(PresentIs("Shift_JIS"));
  SetUTF8mode(1);
  EXPECT_TRUE(PresentIsUtf8());
  SetUTF8mode(0);
  EXPECT_TRUE(PresentIs("Shift_JIS"));
  QUAVMBConverterSet_A("");
  EXPECT_TRUE(PresentIs("windows-1251"));
  QUAVMBDefaultCodePageSet_A("windows-1250");
  EXPECT_TRUE(PresentIs("windows-1250"));
}

TEST(Utf8Mode, IsOneForAnyNonzeroSetting) {
  const RestoreEncoding restore;
  EXPECT_EQ(0, qUTF8mode());
  SetUTF8mode(7);
  EXPECT_EQ(1, qUTF8mode());
  SetUTF8mode(0);
  EXPECT_EQ(0, qUTF8mode());
}

TEST(DefaultCodePage, ReturnsTheNameAsGiven) {
  const RestoreEncoding restore;
  EXPECT_TRUE(QUAVMBDefaultCodePageSet_A("Latin1"));
  EXPECT_STREQ("Latin1", QUAVMBDefaultCodePage());
}

TEST(DefaultCodePage, RefusesWhatIsNoCodePage) {
  const RestoreEncoding restore;
  QUAVMBDefaultCodePageSet_A("windows-1252");
  for (const char* name : {"no such", "UTF-16", "ISO-2022-JP", " "}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(QUAVMBDefaultCodePageSet_A(name));
    EXPECT_STREQ("windows-1252", QUAVMBDefaultCodePage());
    EXPECT_TRUE(PresentIs("windows-1252"));
  }
}

TEST(DefaultCodePage, EmptyNameRestoresThatOfTheLocale) {
  const RestoreEncoding restore;
  for (const char* locale : {"C", "POSIX", "C.UTF-8", "xx_NOWHERE.ISO-8859-1"}) {
    SCOPED_TRACE(locale);
    const RestoreVariable variable("LC_ALL", locale);
    QUAVMBDefaultCodePageSet_A("windows-1252");
    EXPECT_TRUE(QUAVMBDefaultCodePageSet_A(""));
    EXPECT_STREQ("UTF-8", QUAVMBDefaultCodePage());
  }
}

TEST(DefaultCodePage, DoesNotChangeTheProcessLocale) {
  const RestoreEncoding restore;
  const RestoreVariable variable("LC_ALL", "C.UTF-8");
  const std::string before = setlocale(LC_ALL, nullptr);
  QUAVMBDefaultCodePageSet_A("");
  EXPECT_EQ(before, setlocale(LC_ALL, nullptr));
}

TEST(DefaultCodePage, FollowsFromTheCharacterSetOfTheLocale) {
  const struct {
    const char* what;
    const char* characterSet;
    const char* codePage;
  } rows[] = {
      {"a code page", "ISO-8859-15", "ISO-8859-15"},
      {"UTF-8", "UTF-8", "UTF-8"},
      {"several bytes", "EUC-JP", "EUC-JP"},
      {"the C locale", "ANSI_X3.4-1968", "UTF-8"},
      {"not known", "KLINGON", "UTF-8"},
      {"no code page", "ISO-2022-KR", "UTF-8"},
      {"empty", "", "UTF-8"},
      {"no locale", nullptr, "UTF-8"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(row.codePage, CodePageOfCharacterSet(row.characterSet));
  }
}

TEST(PresentConverter, NameIsEmptyWhenNoneIsSet) {
  const RestoreEncoding restore;
  EXPECT_EQ("", ConverterName());
}

TEST(PresentConverter, ReturnsTheBufferWithTheNameAsGiven) {
  const RestoreEncoding restore;
  EXPECT_NE(0, QUAVMBConverterSet_A("Cp1252"));
  char name[kCodePageNameSize];
  EXPECT_EQ(name, QUAVMBConverterName_A(0, name));
  EXPECT_STREQ("Cp1252", name);
}

TEST(PresentConverter, StaysUnchangedForAnInvalidName) {
  const RestoreEncoding restore;
  QUAVMBConverterSet_A("windows-1252");
  const std::string tooLong(static_cast<std::size_t>(kCodePageNameSize), '-');
  for (const std::string& name : {std::string("no such"), std::string("UTF-32LE"), tooLong, tooLong + "utf-8"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(0, QUAVMBConverterSet_A(name.c_str()));
    EXPECT_EQ("windows-1252", ConverterName());
  }
}

TEST(PresentConverter, EmptyNameRemovesIt) {
  const RestoreEncoding restore("windows-1252");
  EXPECT_NE(0, QUAVMBConverterSet_A(""));
  EXPECT_EQ("", ConverterName());
}

}  // namespace
}  // namespace PresentEncoding_test
}  // namespace quavmb
