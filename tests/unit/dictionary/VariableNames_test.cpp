#include "datasrc/VariableNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/support/MemorySource.h"
#include "tests/support/RowName.h"

namespace VariableNames_test {
namespace {

using testing::ElementsAre;

const std::string kUmlaut = "\xC3\xA4";        // 2 bytes
const std::string kEuro = "\xE2\x82\xAC";      // 3 bytes
const std::string kClef = "\xF0\x9D\x84\x9E";  // 4 bytes
const std::string kNoCharacter = "\xFF";       // not valid in UTF-8
const std::string kKatakanaSo = "\x83\x5C";    // in Shift_JIS; the second byte is a backslash
const std::string kKatakanaDa = "\x83\x5F";    // in Shift_JIS; the second byte is an underscore

// Sets the process's current encoding for the duration of a test.
class Encoding {
 public:
  explicit Encoding(const char* name) { EXPECT_NE(0, QUAVMBConverterSet_A(name)); }
  ~Encoding() { QUAVMBConverterSet_A(""); }
};

// ---- ValidateQUAVName ----

struct NameFaultRow {
  const char* name;
  std::string text;
  int fault;
};

class ValidateQUAVNameResult : public testing::TestWithParam<NameFaultRow> {};

TEST_P(ValidateQUAVNameResult, IsTheFaultNumber) {
  EXPECT_EQ(GetParam().fault, ValidateQUAVName(GetParam().text.c_str()));
}

INSTANTIATE_TEST_SUITE_P(LegalNames, ValidateQUAVNameResult,
                         testing::Values(NameFaultRow{"OneLetter", "A", 0},                          //
                                         NameFaultRow{"Letters", "azAZ", 0},                         //
                                         NameFaultRow{"At", "@", 0},                                 //
                                         NameFaultRow{"AllAllowedSigns", "aZ09@#$_.", 0},            //
                                         NameFaultRow{"PointInside", "a.b", 0},                      //
                                         NameFaultRow{"PointAtTheEnd", "a.", 0},                     //
                                         NameFaultRow{"UnderscoreAtTheEnd", "a_", 0},                //
                                         NameFaultRow{"TrailingBlanks", "abc   ", 0},                //
                                         NameFaultRow{"SixtyFourLetters", std::string(64, 'a'), 0},  //
                                         NameFaultRow{"SixtyFourLettersAndBlanks", std::string(64, 'a') + "   ", 0},
                                         NameFaultRow{"SixtyFourBytesWithAnUmlaut", std::string(62, 'a') + kUmlaut, 0},
                                         NameFaultRow{"CharacterOf2Bytes", kUmlaut, 0},  //
                                         NameFaultRow{"CharacterOf3Bytes", kEuro, 0},    //
                                         NameFaultRow{"CharacterOf4Bytes", kClef, 0}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(ScratchAndSystemNames, ValidateQUAVNameResult,
                         testing::Values(NameFaultRow{"Scratch", "#x", 1}, NameFaultRow{"OnlyTheScratchSign", "#", 1},
                                         NameFaultRow{"System", "$x", 2}, NameFaultRow{"OnlyTheSystemSign", "$", 2}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(BadLengths, ValidateQUAVNameResult,
                         testing::Values(NameFaultRow{"Empty", "", 3}, NameFaultRow{"OneBlank", " ", 3},
                                         NameFaultRow{"AllBlank", "     ", 3},
                                         NameFaultRow{"SixtyFiveLetters", std::string(65, 'a'), 3},
                                         // The length is checked first.
                                         NameFaultRow{"SixtyFiveBadSigns", std::string(65, '!'), 3},
                                         NameFaultRow{"SixtyFiveBytesWithAnUmlaut", std::string(63, 'a') + kUmlaut, 3}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(BadCharacters, ValidateQUAVNameResult,
                         testing::Values(NameFaultRow{"BlankInside", "a b", 4}, NameFaultRow{"LeadingBlank", " a", 4},
                                         NameFaultRow{"Exclamation", "a!", 4}, NameFaultRow{"Hyphen", "a-b", 4},
                                         NameFaultRow{"Tab", "a\tb", 4}, NameFaultRow{"TrailingTab", "a\t", 4},
                                         NameFaultRow{"ControlCharacter", "a\x01", 4},
                                         NameFaultRow{"DeleteCharacter", "a\x7F", 4},
                                         NameFaultRow{"BracketAfterTheLetters", "a[", 4},
                                         NameFaultRow{"ColonAfterTheDigits", "a:", 4},
                                         NameFaultRow{"InvalidByte", "a" + kNoCharacter, 4},
                                         NameFaultRow{"TruncatedCharacter", "a" + kEuro.substr(0, 2), 4},
                                         NameFaultRow{"CharacterTruncatedBeforeABlank", kUmlaut.substr(0, 1) + " ", 4},
                                         // A bad character is reported before a bad beginning.
                                         NameFaultRow{"BadCharacterAndBadBeginning", "1!", 4}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(BadBeginnings, ValidateQUAVNameResult,
                         testing::Values(NameFaultRow{"Zero", "0a", 6}, NameFaultRow{"One", "1a", 6},
                                         NameFaultRow{"Nine", "9a", 6}, NameFaultRow{"Point", ".a", 6},
                                         NameFaultRow{"Underscore", "_a", 6}, NameFaultRow{"Digits", "123", 6}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(ReservedWordNames, ValidateQUAVNameResult,
                         testing::Values(NameFaultRow{"LowerCase", "and", 5}, NameFaultRow{"MixedCase", "AnD", 5},
                                         NameFaultRow{"FourLetters", "with", 5},
                                         NameFaultRow{"TrailingBlanks", "to  ", 5},
                                         NameFaultRow{"LongerWord", "WITHIN", 0},
                                         NameFaultRow{"WordAndLetter", "ALLX", 0},
                                         NameFaultRow{"PartOfAWord", "WIT", 0}, NameFaultRow{"WordAndPoint", "OR.", 0}),
                         kRowName);

TEST(ValidateQUAVName, RejectsExactlyTheReservedWords) {
  for (const char* word : {"ALL", "AND", "BY", "EQ", "GE", "GT", "LE", "LT", "NE", "NOT", "OR", "TO", "WITH"})
    EXPECT_EQ(5, ValidateQUAVName(word)) << word;
  for (const char* word : {"ANY", "IF", "IN", "IS", "NO", "XOR", "A", "ELSE"})
    EXPECT_EQ(0, ValidateQUAVName(word)) << word;
}

TEST(ValidateQUAVName, UsesTheCurrentEncoding) {
  EXPECT_EQ(4, ValidateQUAVName(kKatakanaSo.c_str()));
  const Encoding encoding("Shift_JIS");
  EXPECT_EQ(0, ValidateQUAVName(kKatakanaSo.c_str()));
}

TEST(ValidateQUAVName, AcceptsHighBytesOfACodePage) {
  const Encoding encoding("windows-1252");
  EXPECT_EQ(0, ValidateQUAVName("\xE4\xB0\xA0"));
}

// ---- ValidateQUAVNameCheckLastChar ----

class ValidateQUAVNameCheckLastCharResult : public testing::TestWithParam<NameFaultRow> {};

TEST_P(ValidateQUAVNameCheckLastCharResult, IsTheFaultNumber) {
  EXPECT_EQ(GetParam().fault, ValidateQUAVNameCheckLastChar(GetParam().text.c_str()));
}

INSTANTIATE_TEST_SUITE_P(Names, ValidateQUAVNameCheckLastCharResult,
                         testing::Values(NameFaultRow{"Point", "a.", 7},                     //
                                         NameFaultRow{"Underscore", "a_", 100},              //
                                         NameFaultRow{"PointAndBlanks", "a.  ", 7},          //
                                         NameFaultRow{"UnderscoreAndBlanks", "a_  ", 100},   //
                                         NameFaultRow{"UnderscoreAndPoint", "a_.", 7},       //
                                         NameFaultRow{"PointAndUnderscore", "a._", 100},     //
                                         NameFaultRow{"PointsInside", "a.b.c", 0},           //
                                         NameFaultRow{"UnderscoresInside", "a_b_c", 0},      //
                                         NameFaultRow{"PointInsideAndAtTheEnd", "a.b.", 7},  //
                                         NameFaultRow{"Neither", "abc", 0},                  //
                                         NameFaultRow{"HighByteAfterAPoint", "a." + kUmlaut, 0}),
                         kRowName);

// An illegal name gets the fault number of ValidateQUAVName, whatever its last character is.
INSTANTIATE_TEST_SUITE_P(IllegalNames, ValidateQUAVNameCheckLastCharResult,
                         testing::Values(NameFaultRow{"Scratch", "#x.", 1}, NameFaultRow{"System", "$x_", 2},
                                         NameFaultRow{"Empty", "", 3}, NameFaultRow{"BadCharacter", "a!.", 4},
                                         NameFaultRow{"Reserved", "and", 5}, NameFaultRow{"Point", ".", 6},
                                         NameFaultRow{"BadBeginning", "1.", 6}),
                         kRowName);

TEST(ValidateQUAVNameCheckLastChar, IgnoresAnUnderscoreInsideACharacter) {
  const Encoding encoding("Shift_JIS");
  EXPECT_EQ(0, ValidateQUAVNameCheckLastChar(("a" + kKatakanaDa).c_str()));
}

// ---- FormNumericQUAVName ----

struct NumericName {
  const char* name;
  const char* text;
  const char* formed;  // null when it is rejected
};

class FormNumericQUAVNameResult : public testing::TestWithParam<NumericName> {};

TEST_P(FormNumericQUAVNameResult, IsAnAtSignAndTheDigits) {
  std::array<char, 16> output{};
  const int result = FormNumericQUAVName(output.data(), GetParam().text);
  EXPECT_EQ(GetParam().formed == nullptr ? 0 : 1, result);
  // A rejected name is not written.
  EXPECT_STREQ(GetParam().formed == nullptr ? "" : GetParam().formed, output.data());
}

INSTANTIATE_TEST_SUITE_P(Texts, FormNumericQUAVNameResult,
                         testing::Values(NumericName{"OneDigit", "0", "@0"},                 //
                                         NumericName{"SevenDigits", "1234567", "@1234567"},  //
                                         NumericName{"EightDigits", "12345678", nullptr},    //
                                         NumericName{"TrailingBlanks", "90   ", "@90"},      //
                                         NumericName{"SevenDigitsAndBlanks", "7654321  ", "@7654321"},
                                         NumericName{"Empty", "", nullptr},           //
                                         NumericName{"Blanks", "   ", nullptr},       //
                                         NumericName{"BlankInside", "1 2", nullptr},  //
                                         NumericName{"LeadingBlank", " 1", nullptr},  //
                                         NumericName{"Letter", "12a", nullptr},       //
                                         NumericName{"Point", "1.5", nullptr},        //
                                         NumericName{"Minus", "-1", nullptr}),
                         kRowName);

TEST(FormNumericQUAVName, OutputMayBeTheName) {
  std::array<char, 9> name{"1234567"};
  EXPECT_EQ(1, FormNumericQUAVName(name.data(), name.data()));
  EXPECT_STREQ("@1234567", name.data());
}

// ---- GenerateQUAVName ----

// The text may be longer than a name: the buffer has room for it.
std::string Generated(const std::string& text, unsigned long number = 7, VariableNameTaken taken = nullptr,
                      void* context = nullptr, unsigned long tag = 0) {
  std::vector<char> name(std::max<std::size_t>(text.size(), kMaxVariableName) + 1);
  text.copy(name.data(), text.size());
  GenerateQUAVName(name.data(), number, taken, context, tag);
  return name.data();
}

struct GeneratedName {
  const char* name;
  std::string text;
  std::string generated;
};

class GenerateQUAVNameResult : public testing::TestWithParam<GeneratedName> {};

TEST_P(GenerateQUAVNameResult, IsALegalName) {
  EXPECT_EQ(GetParam().generated, Generated(GetParam().text));
  EXPECT_EQ(0, ValidateQUAVNameCheckLastChar(GetParam().generated.c_str()));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GenerateQUAVNameResult,
    testing::Values(GeneratedName{"AlreadyLegal", "Salary.2", "Salary.2"}, GeneratedName{"Digits", "123", "@123"},
                    GeneratedName{"SevenDigits", "1234567", "@1234567"},
                    GeneratedName{"EightDigits", "12345678", "@12345678"}, GeneratedName{"LeadingDigit", "1a", "@1a"},
                    GeneratedName{"Reserved", "AND", "@AND"}, GeneratedName{"ReservedInLowerCase", "with", "@with"},
                    GeneratedName{"ReservedAfterRemovingSigns", "a!n!d", "@and"},
                    GeneratedName{"ReservedAfterRemovingTheEnd", "or._", "@or"}, GeneratedName{"Scratch", "#x", "@#x"},
                    GeneratedName{"System", "$x", "@$x"}, GeneratedName{"LeadingPoint", ".x", "@.x"},
                    GeneratedName{"LeadingUnderscore", "_x", "@_x"}, GeneratedName{"BlankInside", "a b", "ab"},
                    GeneratedName{"BlanksAround", "  ab  ", "ab"}, GeneratedName{"PointAtTheEnd", "x.", "x"},
                    GeneratedName{"UnderscoreAtTheEnd", "x_", "x"},
                    GeneratedName{"PointsAndUnderscoresAtTheEnd", "x_._..", "x"}, GeneratedName{"OnlyAPoint", ".", "@"},
                    GeneratedName{"OnlyUnderscores", "___", "@"}, GeneratedName{"OnlyBadSigns", "!!!", "V7"},
                    GeneratedName{"Empty", "", "V7"}, GeneratedName{"Blanks", "   ", "V7"},
                    GeneratedName{"InvalidByte", "a" + kNoCharacter + "b", "ab"},
                    GeneratedName{"TruncatedCharacter", "a" + kEuro.substr(0, 2), "a"},
                    GeneratedName{"Characters", kUmlaut + " " + kEuro + kClef, kUmlaut + kEuro + kClef},
                    GeneratedName{"SixtyFourLetters", std::string(64, 'a'), std::string(64, 'a')}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    LongTexts, GenerateQUAVNameResult,
    testing::Values(
        GeneratedName{"Letters", std::string(100, 'a'), std::string(64, 'a')},
        GeneratedName{"LettersAfterSigns", std::string(100, '!') + "abc", "abc"},
        // Bad signs do not count against the limit.
        GeneratedName{"LettersAmongSigns", std::string(40, '!') + std::string(64, 'a'), std::string(64, 'a')},
        // The end is truncated to make room for the sign before a bad beginning.
        GeneratedName{"BadBeginning", "1" + std::string(63, 'a'), "@1" + std::string(62, 'a')},
        GeneratedName{"BadBeginningAndACharacterAtTheEnd", "1" + std::string(61, 'a') + kUmlaut,
                      "@1" + std::string(61, 'a')},
        GeneratedName{"CharacterAtTheLimit", std::string(62, 'a') + kUmlaut, std::string(62, 'a') + kUmlaut},
        GeneratedName{"CharacterAcrossTheLimit", std::string(63, 'a') + kUmlaut, std::string(63, 'a')}),
    kRowName);

TEST(GenerateQUAVName, NumbersATextWithoutUsableCharacters) {
  EXPECT_EQ("V0", Generated("!", 0));
  EXPECT_EQ("V4294967296", Generated("!", 4294967296UL));
  EXPECT_EQ("V9223372036854775807", Generated("!", 9223372036854775807UL));
  EXPECT_EQ("V-9223372036854775808", Generated("!", 9223372036854775808UL));
  EXPECT_EQ("V-1", Generated("!", ~0UL));
}

TEST(GenerateQUAVName, UsesTheCurrentEncoding) {
  const Encoding encoding("Shift_JIS");
  EXPECT_EQ(kKatakanaSo, Generated(kKatakanaSo));
  EXPECT_EQ(kKatakanaDa, Generated(kKatakanaDa + "_"));
}

// ---- Taken names ----

// The taken names, and the candidates and tags that were asked for.
struct Taken {
  std::set<std::string> names;
  std::vector<std::string> asked = {};
  std::vector<unsigned long> tags = {};

  static int Asks(void* context, unsigned long tag, const char* candidate) {
    auto& taken = *static_cast<Taken*>(context);
    taken.asked.emplace_back(candidate);
    taken.tags.push_back(tag);
    return taken.names.contains(candidate) ? -3 : 0;
  }
};

TEST(GenerateQUAVName, PassesContextAndTagToTaken) {
  Taken taken{{"NAME"}};
  EXPECT_EQ("NAME_A", Generated("NA ME", 7, Taken::Asks, &taken, 42));
  EXPECT_THAT(taken.asked, ElementsAre("NAME", "NAME_A"));
  EXPECT_THAT(taken.tags, ElementsAre(42, 42));
}

TEST(GenerateQUAVName, KeepsAFreeName) {
  Taken taken{{"OTHER"}};
  EXPECT_EQ("NAME", Generated("NAME", 7, Taken::Asks, &taken));
}

TEST(GenerateQUAVName, AppendsTheNextFreeLetter) {
  Taken taken{{"NAME", "NAME_A"}};
  EXPECT_EQ("NAME_B", Generated("NAME", 7, Taken::Asks, &taken));
}

TEST(GenerateQUAVName, AppendsTwoLettersAfterZ) {
  Taken taken{{"NAME"}};
  for (char letter = 'A'; letter <= 'Z'; ++letter) taken.names.insert(std::string("NAME_") + letter);
  EXPECT_EQ("NAME_AA", Generated("NAME", 7, Taken::Asks, &taken));
  taken.names.insert("NAME_AA");
  EXPECT_EQ("NAME_AB", Generated("NAME", 7, Taken::Asks, &taken));
}

TEST(GenerateQUAVName, AppendsLettersToANumberedName) {
  Taken taken{{"V7"}};
  EXPECT_EQ("V7_A", Generated("!", 7, Taken::Asks, &taken));
}

TEST(GenerateQUAVName, TruncatesAFullLengthNameForTheLetters) {
  const std::string full(64, 'a');
  Taken taken{{full}};
  EXPECT_EQ(std::string(62, 'a') + "_A", Generated(full, 7, Taken::Asks, &taken));
}

TEST(GenerateQUAVName, TruncatesBetweenCharacters) {
  const std::string full = std::string(61, 'a') + kUmlaut + "b";
  Taken taken{{full}};
  EXPECT_EQ(std::string(61, 'a') + "_A", Generated(full, 7, Taken::Asks, &taken));
}

TEST(GenerateQUAVName, TruncatesFurtherForMoreLetters) {
  const std::string full(64, 'a');
  Taken taken{{full}};
  for (char letter = 'A'; letter <= 'Z'; ++letter) taken.names.insert(std::string(62, 'a') + "_" + letter);
  EXPECT_EQ(std::string(61, 'a') + "_AA", Generated(full, 7, Taken::Asks, &taken));
}

// ---- QUAV_DataSource::GoodVarName ----

TEST(GoodVarName, RepairsTheText) {
  const MemorySource source;
  EXPECT_EQ("ab", source.GoodVarName("a b"));
}

TEST(GoodVarName, UsesTheColumnCountAsNumber) {
  MemorySource source;
  source.AddNumber("A");
  source.AddNumber("B");
  EXPECT_EQ("V2", source.GoodVarName("!!!"));
}

TEST(GoodVarName, DiffersFromEveryVariableName) {
  MemorySource source;
  source.AddNumber("Name");
  EXPECT_EQ("NAME_A", source.GoodVarName("NAME"));
  source.AddNumber("name_a");
  EXPECT_EQ("NAME_B", source.GoodVarName("NAME"));
}

TEST(GoodVarName, ChecksEveryColumn) {
  MemorySource source;
  for (const char* name : {"A", "B", "C"}) source.AddNumber(name);
  for (const char* name : {"A", "B", "C"}) EXPECT_EQ(std::string(name) + "_A", source.GoodVarName(name));
}

TEST(GoodVarName, UsesTheFirst64BytesOfTheText) {
  const MemorySource source;
  EXPECT_EQ(std::string(64, 'a'), source.GoodVarName(std::string(64, 'a') + "bcd"));
  // Unlike GenerateQUAVName, which finds the letters after any number of bad signs.
  EXPECT_EQ("V0", source.GoodVarName(std::string(64, '!') + "bcd"));
  EXPECT_EQ("a", source.GoodVarName(std::string(63, '!') + "abc"));
  // A character that crosses the limit is dropped.
  EXPECT_EQ(std::string(63, 'a'), source.GoodVarName(std::string(63, 'a') + kUmlaut));
}

TEST(GoodVarName, StopsAtANulByte) {
  const MemorySource source;
  EXPECT_EQ("ab", source.GoodVarName(std::string("ab\0cd", 5)));
}

}  // namespace
}  // namespace VariableNames_test
