#include "Platform/stream/ExtNameStr.h"

#include <gtest/gtest.h>

#include "Platform/stream/tests/StreamTesting.h"
#include "Platform/text/QUAVMB.h"

namespace ExtNameStr_test {
namespace {

constexpr char kLatin[] =
    "donn\xe9"
    "es";
constexpr char kUtf8[] =
    "donn\xc3\xa9"
    "es";
constexpr char kGreekUtf8[] = "\xce\xb1\xce\xb2";  // windows-1252 has no such letters

// Each test sets the encoding that it needs; the fixture restores that of the process.
class ExtNameStrTest : public StreamTest {
 protected:
  ExtNameStrTest() { QUAVMBConverterName_A(0, m_converter); }
  ~ExtNameStrTest() override {
    SetUTF8mode(m_utf8);
    QUAVMBConverterSet_A(m_converter);
    QUAVMBDefaultCodePageSet_A("");
  }

  static void UseUtf8Mode() { SetUTF8mode(1); }
  static void UseDefaultCodePage(const char* name) {
    SetUTF8mode(0);
    ASSERT_TRUE(QUAVMBConverterSet_A(""));
    ASSERT_TRUE(QUAVMBDefaultCodePageSet_A(name));
  }
  static void UseConverter(const char* name) {
    SetUTF8mode(0);
    ASSERT_TRUE(QUAVMBConverterSet_A(name));
  }

  static ExtNameStr FromU8(const std::string& name) {
    ExtNameStr str;
    str.SetU8(name);
    return str;
  }

 private:
  int m_utf8 = qUTF8mode();
  char m_converter[kCodePageNameSize];
};

TEST_F(ExtNameStrTest, IsEmptyAtFirst) {
  EXPECT_TRUE(ExtNameStr().Empty());
  EXPECT_EQ("", ExtNameStr().GetGeneric());
  EXPECT_EQ("", ExtNameStr().GetU8());
  EXPECT_TRUE(ExtNameStr(static_cast<const char*>(nullptr)).Empty());
  EXPECT_TRUE(ExtNameStr("").Empty());
}

TEST_F(ExtNameStrTest, AsciiIsTheSameInBothForms) {
  for (const char* codePage : {"UTF-8", "windows-1252", "Shift_JIS"}) {
    UseDefaultCodePage(codePage);
    EXPECT_EQ("data~1.sav", ExtNameStr("data~1.sav").GetU8()) << codePage;
    EXPECT_EQ("data~1.sav", FromU8("data~1.sav").GetGeneric()) << codePage;
  }
}

TEST_F(ExtNameStrTest, BothFormsAreEqualInUtf8Mode) {
  UseDefaultCodePage("windows-1252");
  UseUtf8Mode();
  EXPECT_EQ(kUtf8, ExtNameStr(kUtf8).GetU8());
  EXPECT_EQ(kUtf8, FromU8(kUtf8).GetGeneric());
}

TEST_F(ExtNameStrTest, BothFormsAreEqualWhenUtf8IsTheCodePage) {
  UseDefaultCodePage("UTF-8");
  EXPECT_EQ(kUtf8, ExtNameStr(kUtf8).GetU8());
  EXPECT_EQ(kLatin, ExtNameStr(kLatin).GetU8());
  EXPECT_EQ(kUtf8, FromU8(kUtf8).GetGeneric());
}

TEST_F(ExtNameStrTest, ConvertsBetweenUtf8AndTheDefaultCodePage) {
  UseDefaultCodePage("windows-1252");
  const ExtNameStr generic(kLatin);
  EXPECT_EQ(kLatin, generic.GetGeneric());
  EXPECT_EQ(kUtf8, generic.GetU8());
  const ExtNameStr u8 = FromU8(kUtf8);
  EXPECT_EQ(kLatin, u8.GetGeneric());
  EXPECT_EQ(kUtf8, u8.GetU8());
  EXPECT_EQ(generic, u8);
}

TEST_F(ExtNameStrTest, ConvertsWithThePresentConverter) {
  UseDefaultCodePage("windows-1252");
  UseConverter("windows-1253");
  EXPECT_EQ(kGreekUtf8, ExtNameStr("\xe1\xe2").GetU8());
  EXPECT_EQ("\xe1\xe2", FromU8(kGreekUtf8).GetGeneric());
}

TEST_F(ExtNameStrTest, KeepsTheBytesOfAnUnconvertibleName) {
  UseDefaultCodePage("windows-1252");
  EXPECT_EQ(kGreekUtf8, FromU8(kGreekUtf8).GetGeneric());
  EXPECT_EQ(kGreekUtf8, FromU8(kGreekUtf8).GetU8());
  UseDefaultCodePage("Shift_JIS");
  EXPECT_EQ("\x83", ExtNameStr("\x83").GetU8()) << "the first half of a character";
  EXPECT_EQ("\x83", ExtNameStr("\x83").GetGeneric());
}

TEST_F(ExtNameStrTest, NewNameReplacesTheOldOne) {
  UseDefaultCodePage("windows-1252");
  ExtNameStr name(kLatin);
  name.SetGeneric("a");
  EXPECT_EQ("a", name.GetU8());
  name.SetU8(kUtf8);
  EXPECT_EQ(kLatin, name.GetGeneric());
  name.SetGeneric("");
  EXPECT_TRUE(name.Empty());
}

TEST_F(ExtNameStrTest, MayBeSetToItsOwnForms) {
  UseDefaultCodePage("windows-1252");
  ExtNameStr name(kLatin);
  name.SetU8(name.GetU8());
  EXPECT_EQ(ExtNameStr(kLatin), name);
  name.SetGeneric(name.GetU8());
  EXPECT_EQ(kUtf8, name.GetGeneric());
}

TEST_F(ExtNameStrTest, MayBeAssignedToItself) {
  ExtNameStr name("a name");
  ExtNameStr& same = name;
  name = same;
  EXPECT_EQ(ExtNameStr("a name"), name);
  name = std::move(same);
  EXPECT_EQ(ExtNameStr("a name"), name);
}

TEST_F(ExtNameStrTest, ClearEmptiesBothForms) {
  ExtNameStr name("a");
  name.Clear();
  EXPECT_TRUE(name.Empty());
  EXPECT_EQ("", name.GetU8());
}

TEST_F(ExtNameStrTest, ComparesBothForms) {
  EXPECT_EQ(ExtNameStr("a"), ExtNameStr(std::string("a")));
  EXPECT_NE(ExtNameStr("a"), ExtNameStr("A"));
}

TEST_F(ExtNameStrTest, AccessReportsWhetherTheFileExists) {
  EXPECT_EQ(0, ExtNameStr(Make("file", "")).Access(0));
  EXPECT_EQ(0, ExtNameStr(Path("file")).Access(4));
  EXPECT_EQ(0, ExtNameStr(Path("file")).Access(2));
  EXPECT_EQ(-1, ExtNameStr(Path("none")).Access(0));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(ExtNameStrTest, AccessUsesTheGenericForm) {
  UseDefaultCodePage("windows-1252");
  Make(kLatin, "");
  ExtNameStr name;
  name.SetU8(Path(kUtf8));
  EXPECT_EQ(0, name.Access(0));
}

// A short name is inside the string, a long one is not.
TEST_F(ExtNameStrTest, MovedNameLeavesNothingBehind) {
  for (const std::string& name : {std::string("short"), std::string(100, 'n')}) {
    ExtNameStr from(name);
    ExtNameStr made(std::move(from));
    EXPECT_EQ(name, made.GetGeneric());
    EXPECT_EQ(name, made.GetU8());
    EXPECT_TRUE(from.Empty());
    EXPECT_EQ(std::string::npos,
              std::string(from.GetGeneric().data(), name.size() > 15 ? 15 : name.size()).find(name.substr(1, 3)));
    ExtNameStr to("another name");
    to = std::move(made);
    EXPECT_EQ(name, to.GetGeneric());
    EXPECT_TRUE(made.Empty());
  }
}

}  // namespace
}  // namespace ExtNameStr_test
