#include "systemfile/SystemFileOptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/support/RowName.h"

namespace SystemFileOptions_test {
namespace {

TEST(SystemFileOptions, HasTheNumbersOfThisSystemByDefault) {
  const SystemFileOptions options;
  EXPECT_EQ(100.0, options.bias);
  EXPECT_EQ(0xFFEFFFFFFFFFFFFF, NumberCell(options.systemMissing).bits);
  EXPECT_EQ(0x7FEFFFFFFFFFFFFF, NumberCell(options.highNumber).bits);
  EXPECT_EQ(0xFFEFFFFFFFFFFFFF, NumberCell(options.lowNumber).bits);
  EXPECT_EQ(-1, options.numberOfCases);
  EXPECT_EQ(-1, options.layout.NominalCaseSize());
  EXPECT_EQ("@(#) MOR QUAV TABULATORS 64-bit Linux 25.0.0.1", options.eyeCatcher);
  EXPECT_EQ(2, options.layoutCode);
  EXPECT_EQ(25, options.releaseMajor);
  EXPECT_EQ(0, options.releaseMinor);
  EXPECT_EQ(1, options.releaseRevision);
  EXPECT_EQ(720, options.machineCode);
  EXPECT_EQ(1, options.floatingPoint);
  EXPECT_EQ(1, options.compressionCode);
  EXPECT_EQ(2, options.characterCode);
  EXPECT_EQ(0, options.weightIndex);
  EXPECT_EQ(0, options.compression);
}

TEST(SystemFileOptions, HasNoExtensionsAndNoPasswordByDefault) {
  const SystemFileOptions options;
  EXPECT_EQ(std::vector<bool>(100), options.extensionsFound);
  EXPECT_FALSE(options.layout.Dechunker().Active());
  EXPECT_EQ(nullptr, options.layout.NumericCellMap());
  EXPECT_FALSE(options.hasLongNames);
  EXPECT_EQ("", options.characterEncoding);
  EXPECT_TRUE(options._password.Empty());
  EXPECT_FALSE(options.passwordMangled);
}

TEST(SystemFileOptions, OrderFollowsTheReversedFlag) {
  SystemFileOptions options;
  EXPECT_EQ(ByteOrder::native, options.Order());
  options.reversed = true;
  EXPECT_EQ(ByteOrder::reversed, options.Order());
}

TEST(SystemFileOptions, NoteExtensionStoresSubtypesFrom0To99) {
  SystemFileOptions options;
  options.NoteExtension(0);
  options.NoteExtension(99);
  EXPECT_TRUE(options.extensionsFound[0]);
  EXPECT_TRUE(options.extensionsFound[99]);
  EXPECT_EQ(2, std::ranges::count(options.extensionsFound, true));
}

TEST(SystemFileOptions, NoteExtensionIgnoresOtherSubtypes) {
  SystemFileOptions options;
  for (const int subtype : {-1, 100, 150, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    options.NoteExtension(subtype);
  EXPECT_EQ(std::vector<bool>(100), options.extensionsFound);
}

// ---- Short names ----

// Sets the current encoding as long as the object lives.
class Encoding {
 public:
  explicit Encoding(const char* name) { EXPECT_NE(0, QUAVMBConverterSet_A(name)); }
  ~Encoding() { QUAVMBConverterSet_A(""); }
};

struct EndOfName {
  const char* name;
  std::string text;
  std::string left;
};

class SystemFileOptionsCheckTerminalChar : public testing::TestWithParam<EndOfName> {};

TEST_P(SystemFileOptionsCheckTerminalChar, RemovesTrailingPeriodsAndUnderscores) {
  std::string text = GetParam().text;
  EXPECT_EQ(GetParam().text != GetParam().left, SystemFileOptions::checkTerminalChar(text.data()));
  EXPECT_EQ(GetParam().left, text.c_str());
}

INSTANTIATE_TEST_SUITE_P(Names, SystemFileOptionsCheckTerminalChar,
                         testing::Values(EndOfName{"PeriodAndUnderscore", "abc._", "abc"},  //
                                         EndOfName{"Period", "abc.", "abc"},                //
                                         EndOfName{"Underscores", "abc__", "abc"},          //
                                         EndOfName{"UnderscoreInside", "LONG_NA_", "LONG_NA"},
                                         EndOfName{"Neither", "abc", "abc"},         //
                                         EndOfName{"Inside", "a._b", "a._b"},        //
                                         EndOfName{"AtTheBeginning", "_.a", "_.a"},  //
                                         EndOfName{"Empty", "", ""},                 //
                                         EndOfName{"NothingElse", "._._", ""},       //
                                         EndOfName{"AfterACharacter", "a\xC3\xA4_", "a\xC3\xA4"},
                                         EndOfName{"AfterAnInvalidByte", "a\xFF_", "a\xFF"},
                                         EndOfName{"AfterATruncatedCharacter", "a\xE2\x82_", "a\xE2\x82"}),
                         kRowName);

TEST(SystemFileOptions, CheckTerminalCharKeepsTheSecondByteOfACharacter) {
  const Encoding encoding("Shift_JIS");
  std::string text = "a\x83\x5F";  // the second byte of the character is an underscore
  EXPECT_FALSE(SystemFileOptions::checkTerminalChar(text.data()));
  text += '_';
  EXPECT_TRUE(SystemFileOptions::checkTerminalChar(text.data()));
  EXPECT_STREQ("a\x83\x5F", text.c_str());
}

struct CutText {
  const char* name;
  std::string text;
  int length;
  std::string left;
};

class SystemFileOptionsStrTrunc : public testing::TestWithParam<CutText> {};

TEST_P(SystemFileOptionsStrTrunc, CutsBetweenCharacters) {
  std::string out(static_cast<std::size_t>(GetParam().length) + 1, '~');
  EXPECT_EQ(static_cast<int>(GetParam().left.size()),
            SystemFileOptions::strTrunc(out.data(), GetParam().text.c_str(), GetParam().length));
  EXPECT_EQ(GetParam().left, out.c_str());
}

INSTANTIATE_TEST_SUITE_P(Texts, SystemFileOptionsStrTrunc,
                         testing::Values(CutText{"Shorter", "abc", 8, "abc"},                                        //
                                         CutText{"Fitting", "abcdefgh", 8, "abcdefgh"},                              //
                                         CutText{"Longer", "abcdefghi", 8, "abcdefgh"},                              //
                                         CutText{"Empty", "", 8, ""},                                                //
                                         CutText{"ToNothing", "abc", 0, ""},                                         //
                                         CutText{"CharacterThatFits", "abcdef\xC3\xA4", 8, "abcdef\xC3\xA4"},        //
                                         CutText{"CharacterOf2BytesAcrossTheEnd", "abcdefg\xC3\xA4", 8, "abcdefg"},  //
                                         CutText{"CharacterOf4BytesAcrossTheEnd", "abcde\xF0\x9D\x84\x9E", 8, "abcde"},
                                         CutText{"CharacterAlone", "\xC3\xA4", 1, ""},  //
                                         CutText{"InvalidByteInside", "ab\xFFgh", 8, "ab"},
                                         CutText{"TruncatedCharacter", "ab\xE2\x82", 8, "ab"}),
                         kRowName);

struct SuffixedName {
  const char* name;
  std::string text;
  int number;
  int maxLength;
  std::string suffixed;
};

class SystemFileOptionsAddNameSuffix : public testing::TestWithParam<SuffixedName> {};

TEST_P(SystemFileOptionsAddNameSuffix, AppendsAnUnderscoreAndLetters) {
  const SuffixedName& row = GetParam();
  std::string out(static_cast<std::size_t>(row.maxLength) + 1, '~');
  EXPECT_EQ(0, SystemFileOptions::addNameSuffix(out.data(), row.text.c_str(), row.number, row.maxLength));
  EXPECT_EQ(row.suffixed, out.c_str());
}

INSTANTIATE_TEST_SUITE_P(Names, SystemFileOptionsAddNameSuffix,
                         testing::Values(SuffixedName{"First", "V7", 0, 8, "V7_A"},               //
                                         SuffixedName{"Z", "V7", 25, 8, "V7_Z"},                  //
                                         SuffixedName{"AA", "V7", 26, 8, "V7_AA"},                //
                                         SuffixedName{"AB", "V7", 27, 8, "V7_AB"},                //
                                         SuffixedName{"ZZ", "V7", 701, 8, "V7_ZZ"},               //
                                         SuffixedName{"AAA", "V7", 702, 8, "V7_AAA"},             //
                                         SuffixedName{"LongName", "V1234567", 0, 8, "V12345_A"},  //
                                         SuffixedName{"LongNameAndLetters", "V1234567", 27, 8, "V1234_AB"},
                                         SuffixedName{"ZZZZZ", "V1", 12356629, 8, "V1_ZZZZZ"},
                                         SuffixedName{"LeastRoom", "NAME", 0, 4, "NA_A"},  //
                                         SuffixedName{"OtherLength", std::string(64, 'a'), 0, 64,
                                                      std::string(62, 'a') + "_A"},
                                         SuffixedName{"ShortName", "X", 1, 8, "X_B"},  //
                                         SuffixedName{"CharacterAcrossTheEnd", "ABCDE\xC3\xA4", 0, 8, "ABCDE_A"}),
                         kRowName);

TEST(SystemFileOptions, AddNameSuffixReturns1504WhenNothingOfTheNameIsLeft) {
  std::string out(9, '~');
  EXPECT_EQ(1504, SystemFileOptions::addNameSuffix(out.data(), "NAME", 0, 3));
  EXPECT_EQ(1504, SystemFileOptions::addNameSuffix(out.data(), "NAME", 26, 4));
  EXPECT_EQ(1504, SystemFileOptions::addNameSuffix(out.data(), "NAME", 12356630, 8));  // AAAAAA
  EXPECT_EQ(1504, SystemFileOptions::addNameSuffix(out.data(), "", 0, 8));
  EXPECT_EQ(1504, SystemFileOptions::addNameSuffix(out.data(), "\xE2\x82\xAC", 0, 4));
}

}  // namespace
}  // namespace SystemFileOptions_test
