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

namespace {

using testing::ElementsAre;

const std::string kUmlaut = "\xC3\xA4";        // 2 bytes
const std::string kEuro = "\xE2\x82\xAC";      // 3 bytes
const std::string kClef = "\xF0\x9D\x84\x9E";  // 4 bytes
const std::string kNoCharacter = "\xFF";       // in UTF-8
const std::string kKatakanaSo = "\x83\x5C";    // in Shift_JIS; the second byte is a backslash
const std::string kKatakanaDa = "\x83\x5F";    // in Shift_JIS; the second byte is an underline

// The present encoding for the time of a test.
class Encoding {
 public:
  explicit Encoding(const char* name) { EXPECT_NE(0, QUAVMBConverterSet_A(name)); }
  ~Encoding() { QUAVMBConverterSet_A(""); }
};

// ---- ValidateQUAVName ----

struct JudgedName {
  const char* name;
  std::string text;
  int fault;
};

class Validity : public testing::TestWithParam<JudgedName> {};

TEST_P(Validity, IsToldByNumber) { EXPECT_EQ(GetParam().fault, ValidateQUAVName(GetParam().text.c_str())); }

INSTANTIATE_TEST_SUITE_P(OfLegalNames, Validity,
                         testing::Values(JudgedName{"OneLetter", "A", 0},                          //
                                         JudgedName{"Letters", "azAZ", 0},                         //
                                         JudgedName{"At", "@", 0},                                 //
                                         JudgedName{"AllThatANameMayHold", "aZ09@#$_.", 0},        //
                                         JudgedName{"PointInside", "a.b", 0},                      //
                                         JudgedName{"PointAtTheEnd", "a.", 0},                     //
                                         JudgedName{"UnderlineAtTheEnd", "a_", 0},                 //
                                         JudgedName{"BlanksBehind", "abc   ", 0},                  //
                                         JudgedName{"SixtyFourLetters", std::string(64, 'a'), 0},  //
                                         JudgedName{"SixtyFourLettersAndBlanks", std::string(64, 'a') + "   ", 0},
                                         JudgedName{"SixtyFourBytesOfCharacters", std::string(62, 'a') + kUmlaut, 0},
                                         JudgedName{"CharacterOf2Bytes", kUmlaut, 0},  //
                                         JudgedName{"CharacterOf3Bytes", kEuro, 0},    //
                                         JudgedName{"CharacterOf4Bytes", kClef, 0}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(OfScratchAndSystemNames, Validity,
                         testing::Values(JudgedName{"Scratch", "#x", 1}, JudgedName{"ScratchAlone", "#", 1},
                                         JudgedName{"System", "$x", 2}, JudgedName{"SystemAlone", "$", 2}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(OfBadLengths, Validity,
                         testing::Values(JudgedName{"Empty", "", 3}, JudgedName{"OneBlank", " ", 3},
                                         JudgedName{"AllBlank", "     ", 3},
                                         JudgedName{"SixtyFiveLetters", std::string(65, 'a'), 3},
                                         // The length comes first.
                                         JudgedName{"SixtyFiveBadSigns", std::string(65, '!'), 3},
                                         JudgedName{"SixtyFiveBytesOfCharacters", std::string(63, 'a') + kUmlaut, 3}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(OfBadCharacters, Validity,
                         testing::Values(JudgedName{"BlankInside", "a b", 4}, JudgedName{"BlankInFront", " a", 4},
                                         JudgedName{"Exclamation", "a!", 4}, JudgedName{"Hyphen", "a-b", 4},
                                         JudgedName{"Tab", "a\tb", 4}, JudgedName{"TabBehind", "a\t", 4},
                                         JudgedName{"Control", "a\x01", 4}, JudgedName{"Delete", "a\x7F", 4},
                                         JudgedName{"InFrontOfTheLetters", "a[", 4},
                                         JudgedName{"BehindTheDigits", "a:", 4},
                                         JudgedName{"NoCharacter", "a" + kNoCharacter, 4},
                                         JudgedName{"CharacterCutShort", "a" + kEuro.substr(0, 2), 4},
                                         JudgedName{"CharacterCutShortByBlanks", kUmlaut.substr(0, 1) + " ", 4},
                                         // A bad character counts before a bad beginning.
                                         JudgedName{"BadBeginningToo", "1!", 4}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(OfBadBeginnings, Validity,
                         testing::Values(JudgedName{"Zero", "0a", 6}, JudgedName{"One", "1a", 6},
                                         JudgedName{"Nine", "9a", 6}, JudgedName{"Point", ".a", 6},
                                         JudgedName{"Underline", "_a", 6}, JudgedName{"Digits", "123", 6}),
                         kRowName);

INSTANTIATE_TEST_SUITE_P(OfReservedWords, Validity,
                         testing::Values(JudgedName{"LowerCase", "and", 5}, JudgedName{"MixedCase", "AnD", 5},
                                         JudgedName{"FourLetters", "with", 5}, JudgedName{"BlanksBehind", "to  ", 5},
                                         JudgedName{"AsABeginning", "WITHIN", 0}, JudgedName{"WithALetter", "ALLX", 0},
                                         JudgedName{"CutShort", "WIT", 0}, JudgedName{"WithAPoint", "OR.", 0}),
                         kRowName);

TEST(ReservedWords, AreThese) {
  for (const char* word : {"ALL", "AND", "BY", "EQ", "GE", "GT", "LE", "LT", "NE", "NOT", "OR", "TO", "WITH"})
    EXPECT_EQ(5, ValidateQUAVName(word)) << word;
  for (const char* word : {"ANY", "IF", "IN", "IS", "NO", "XOR", "A", "ELSE"})
    EXPECT_EQ(0, ValidateQUAVName(word)) << word;
}

TEST(ValidateQUAVName, FollowsThePresentEncoding) {
  EXPECT_EQ(4, ValidateQUAVName(kKatakanaSo.c_str()));
  const Encoding encoding("Shift_JIS");
  EXPECT_EQ(0, ValidateQUAVName(kKatakanaSo.c_str()));
}

TEST(ValidateQUAVName, TakesHighBytesOfACodePage) {
  const Encoding encoding("windows-1252");
  EXPECT_EQ(0, ValidateQUAVName("\xE4\xB0\xA0"));
}

// ---- ValidateQUAVNameCheckLastChar ----

class ValidityOfTheEnd : public testing::TestWithParam<JudgedName> {};

TEST_P(ValidityOfTheEnd, IsToldByNumber) {
  EXPECT_EQ(GetParam().fault, ValidateQUAVNameCheckLastChar(GetParam().text.c_str()));
}

INSTANTIATE_TEST_SUITE_P(Names, ValidityOfTheEnd,
                         testing::Values(JudgedName{"Point", "a.", 7},                     //
                                         JudgedName{"Underline", "a_", 100},               //
                                         JudgedName{"PointAndBlanks", "a.  ", 7},          //
                                         JudgedName{"UnderlineAndBlanks", "a_  ", 100},    //
                                         JudgedName{"UnderlineAndPoint", "a_.", 7},        //
                                         JudgedName{"PointAndUnderline", "a._", 100},      //
                                         JudgedName{"PointsInside", "a.b.c", 0},           //
                                         JudgedName{"UnderlinesInside", "a_b_c", 0},       //
                                         JudgedName{"PointInsideAndAtTheEnd", "a.b.", 7},  //
                                         JudgedName{"Neither", "abc", 0},                  //
                                         JudgedName{"HighByteBehindAPoint", "a." + kUmlaut, 0}),
                         kRowName);

// What is not legal is told as ValidateQUAVName does, whatever its end.
INSTANTIATE_TEST_SUITE_P(NamesThatAreNone, ValidityOfTheEnd,
                         testing::Values(JudgedName{"Scratch", "#x.", 1}, JudgedName{"System", "$x_", 2},
                                         JudgedName{"Empty", "", 3}, JudgedName{"BadCharacter", "a!.", 4},
                                         JudgedName{"Reserved", "and", 5}, JudgedName{"Point", ".", 6},
                                         JudgedName{"BadBeginning", "1.", 6}),
                         kRowName);

TEST(ValidateQUAVNameCheckLastChar, SeesNoUnderlineInsideACharacter) {
  const Encoding encoding("Shift_JIS");
  EXPECT_EQ(0, ValidateQUAVNameCheckLastChar(("a" + kKatakanaDa).c_str()));
}

// ---- FormNumericQUAVName ----

struct NumericName {
  const char* name;
  const char* text;
  const char* formed;  // null when it is refused
};

class NumericNames : public testing::TestWithParam<NumericName> {};

TEST_P(NumericNames, GetASignInFront) {
  std::array<char, 16> output{};
  const int answer = FormNumericQUAVName(output.data(), GetParam().text);
  EXPECT_EQ(GetParam().formed == nullptr ? 0 : 1, answer);
  // What is refused is not written.
  EXPECT_STREQ(GetParam().formed == nullptr ? "" : GetParam().formed, output.data());
}

INSTANTIATE_TEST_SUITE_P(Texts, NumericNames,
                         testing::Values(NumericName{"OneDigit", "0", "@0"},                 //
                                         NumericName{"SevenDigits", "1234567", "@1234567"},  //
                                         NumericName{"EightDigits", "12345678", nullptr},    //
                                         NumericName{"BlanksBehind", "90   ", "@90"},        //
                                         NumericName{"SevenDigitsAndBlanks", "7654321  ", "@7654321"},
                                         NumericName{"Empty", "", nullptr},           //
                                         NumericName{"Blanks", "   ", nullptr},       //
                                         NumericName{"BlankInside", "1 2", nullptr},  //
                                         NumericName{"BlankInFront", " 1", nullptr},  //
                                         NumericName{"Letter", "12a", nullptr},       //
                                         NumericName{"Point", "1.5", nullptr},        //
                                         NumericName{"Minus", "-1", nullptr}),
                         kRowName);

TEST(FormNumericQUAVName, MayWriteOverTheName) {
  std::array<char, 9> name{"1234567"};
  EXPECT_EQ(1, FormNumericQUAVName(name.data(), name.data()));
  EXPECT_STREQ("@1234567", name.data());
}

// ---- GenerateQUAVName ----

// A text may be longer than a name: the buffer then has room for it.
std::string Generated(const std::string& text, unsigned long number = 7, VariableNameTaken taken = nullptr,
                      void* context = nullptr, unsigned long tag = 0) {
  std::vector<char> name(std::max<std::size_t>(text.size(), kMaxVariableName) + 1);
  text.copy(name.data(), text.size());
  GenerateQUAVName(name.data(), number, taken, context, tag);
  return name.data();
}

struct MendedName {
  const char* name;
  std::string text;
  std::string mended;
};

class Mending : public testing::TestWithParam<MendedName> {};

TEST_P(Mending, MakesALegalName) {
  EXPECT_EQ(GetParam().mended, Generated(GetParam().text));
  EXPECT_EQ(0, ValidateQUAVNameCheckLastChar(GetParam().mended.c_str()));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Mending,
    testing::Values(MendedName{"LegalAlready", "Salary.2", "Salary.2"}, MendedName{"Digits", "123", "@123"},
                    MendedName{"SevenDigits", "1234567", "@1234567"},
                    MendedName{"EightDigits", "12345678", "@12345678"}, MendedName{"DigitInFront", "1a", "@1a"},
                    MendedName{"Reserved", "AND", "@AND"}, MendedName{"ReservedInLowerCase", "with", "@with"},
                    MendedName{"ReservedOnceMended", "a!n!d", "@and"},
                    MendedName{"ReservedWhenTheEndIsGone", "or._", "@or"}, MendedName{"Scratch", "#x", "@#x"},
                    MendedName{"System", "$x", "@$x"}, MendedName{"PointInFront", ".x", "@.x"},
                    MendedName{"UnderlineInFront", "_x", "@_x"}, MendedName{"BlankInside", "a b", "ab"},
                    MendedName{"BlanksAround", "  ab  ", "ab"}, MendedName{"PointAtTheEnd", "x.", "x"},
                    MendedName{"UnderlineAtTheEnd", "x_", "x"},
                    MendedName{"PointsAndUnderlinesAtTheEnd", "x_._..", "x"}, MendedName{"PointAlone", ".", "@"},
                    MendedName{"UnderlinesAlone", "___", "@"}, MendedName{"BadSignsAlone", "!!!", "V7"},
                    MendedName{"Empty", "", "V7"}, MendedName{"Blanks", "   ", "V7"},
                    MendedName{"NoCharacters", "a" + kNoCharacter + "b", "ab"},
                    MendedName{"CharacterCutShort", "a" + kEuro.substr(0, 2), "a"},
                    MendedName{"Characters", kUmlaut + " " + kEuro + kClef, kUmlaut + kEuro + kClef},
                    MendedName{"SixtyFourLetters", std::string(64, 'a'), std::string(64, 'a')}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    LongTexts, Mending,
    testing::Values(MendedName{"Letters", std::string(100, 'a'), std::string(64, 'a')},
                    MendedName{"LettersBehindSigns", std::string(100, '!') + "abc", "abc"},
                    // Bad signs take none of the room.
                    MendedName{"LettersAmongSigns", std::string(40, '!') + std::string(64, 'a'), std::string(64, 'a')},
                    // Room for a bad beginning's sign is made at the end.
                    MendedName{"BadBeginning", "1" + std::string(63, 'a'), "@1" + std::string(62, 'a')},
                    MendedName{"BadBeginningAndACharacterAtTheEnd", "1" + std::string(61, 'a') + kUmlaut,
                               "@1" + std::string(61, 'a')},
                    MendedName{"CharacterAtTheLimit", std::string(62, 'a') + kUmlaut, std::string(62, 'a') + kUmlaut},
                    MendedName{"CharacterAcrossTheLimit", std::string(63, 'a') + kUmlaut, std::string(63, 'a')}),
    kRowName);

TEST(GenerateQUAVName, NumbersANameThatCannotBeSaved) {
  EXPECT_EQ("V0", Generated("!", 0));
  EXPECT_EQ("V4294967296", Generated("!", 4294967296UL));
}

TEST(GenerateQUAVName, FollowsThePresentEncoding) {
  const Encoding encoding("Shift_JIS");
  EXPECT_EQ(kKatakanaSo, Generated(kKatakanaSo));
  EXPECT_EQ(kKatakanaDa, Generated(kKatakanaDa + "_"));
}

// ---- Taken names ----

// Names that are taken, and what was asked.
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

TEST(TakenNames, AreAskedForWithContextAndTag) {
  Taken taken{{"NAME"}};
  EXPECT_EQ("NAME_A", Generated("NA ME", 7, Taken::Asks, &taken, 42));
  EXPECT_THAT(taken.asked, ElementsAre("NAME", "NAME_A"));
  EXPECT_THAT(taken.tags, ElementsAre(42, 42));
}

TEST(TakenNames, ThatAreFreeStay) {
  Taken taken{{"OTHER"}};
  EXPECT_EQ("NAME", Generated("NAME", 7, Taken::Asks, &taken));
}

TEST(TakenNames, MakeWayForTheNextLetters) {
  Taken taken{{"NAME", "NAME_A"}};
  EXPECT_EQ("NAME_B", Generated("NAME", 7, Taken::Asks, &taken));
}

TEST(TakenNames, GetTwoLettersBehindZ) {
  Taken taken{{"NAME"}};
  for (char letter = 'A'; letter <= 'Z'; ++letter) taken.names.insert(std::string("NAME_") + letter);
  EXPECT_EQ("NAME_AA", Generated("NAME", 7, Taken::Asks, &taken));
  taken.names.insert("NAME_AA");
  EXPECT_EQ("NAME_AB", Generated("NAME", 7, Taken::Asks, &taken));
}

TEST(TakenNames, ThatWereNumberedGetLettersToo) {
  Taken taken{{"V7"}};
  EXPECT_EQ("V7_A", Generated("!", 7, Taken::Asks, &taken));
}

TEST(TakenNames, OfFullLengthAreCutForTheLetters) {
  const std::string full(64, 'a');
  Taken taken{{full}};
  EXPECT_EQ(std::string(62, 'a') + "_A", Generated(full, 7, Taken::Asks, &taken));
}

TEST(TakenNames, AreCutBetweenCharacters) {
  const std::string full = std::string(61, 'a') + kUmlaut + "b";
  Taken taken{{full}};
  EXPECT_EQ(std::string(61, 'a') + "_A", Generated(full, 7, Taken::Asks, &taken));
}

TEST(TakenNames, AreCutFurtherForMoreLetters) {
  const std::string full(64, 'a');
  Taken taken{{full}};
  for (char letter = 'A'; letter <= 'Z'; ++letter) taken.names.insert(std::string(62, 'a') + "_" + letter);
  EXPECT_EQ(std::string(61, 'a') + "_AA", Generated(full, 7, Taken::Asks, &taken));
}

// ---- QUAV_DataSource::GoodVarName ----

TEST(GoodVarName, MendsTheText) {
  const MemorySource source;
  EXPECT_EQ("ab", source.GoodVarName("a b"));
}

TEST(GoodVarName, NumbersByTheColumns) {
  MemorySource source;
  source.AddNumber("A");
  source.AddNumber("B");
  EXPECT_EQ("V2", source.GoodVarName("!!!"));
}

TEST(GoodVarName, IsOneThatNoVariableHas) {
  MemorySource source;
  source.AddNumber("Name");
  EXPECT_EQ("NAME_A", source.GoodVarName("NAME"));
  source.AddNumber("name_a");
  EXPECT_EQ("NAME_B", source.GoodVarName("NAME"));
}

TEST(GoodVarName, LooksAtEveryColumn) {
  MemorySource source;
  for (const char* name : {"A", "B", "C"}) source.AddNumber(name);
  for (const char* name : {"A", "B", "C"}) EXPECT_EQ(std::string(name) + "_A", source.GoodVarName(name));
}

TEST(GoodVarName, TakesTheFirst64BytesOfTheText) {
  const MemorySource source;
  EXPECT_EQ(std::string(64, 'a'), source.GoodVarName(std::string(64, 'a') + "bcd"));
  // Unlike GenerateQUAVName, which finds the letters behind any number of bad signs.
  EXPECT_EQ("V0", source.GoodVarName(std::string(64, '!') + "bcd"));
  EXPECT_EQ("a", source.GoodVarName(std::string(63, '!') + "abc"));
  // The character that the limit cuts goes.
  EXPECT_EQ(std::string(63, 'a'), source.GoodVarName(std::string(63, 'a') + kUmlaut));
}

TEST(GoodVarName, EndsAtANulByte) {
  const MemorySource source;
  EXPECT_EQ("ab", source.GoodVarName(std::string("ab\0cd", 5)));
}

}  // namespace
