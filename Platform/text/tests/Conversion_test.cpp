#include <gtest/gtest.h>
#include <unicode/uset.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/KnownCodePages.h"

namespace Conversion_test {
namespace {

using std::string_literals::operator""s;

constexpr char kReplacement[] = "\xEF\xBF\xBD";

struct Delete {
  void operator()(QUAVMBConverter* converter) const { QUAVMBConverterDelete_A(converter); }
};
using Converter = std::unique_ptr<QUAVMBConverter, Delete>;

Converter Make(const std::string& name) { return Converter(QUAVMBConverterNew_A(name.c_str())); }

struct Row {
  const char* what;
  const char* codePage;
  std::string utf8;
  std::string bytes;
  bool lost;
};

// Rows that lose nothing in either direction.
const Row kExact[] = {
    {"nothing", "windows-1252", "", "", false},
    {"plain text", "windows-1252", "plain text", "plain text", false},
    {"control characters", "windows-1252", "a\tb\x7F\x1A\x1C", "a\tb\x7F\x1A\x1C", false},
    {"accents", "windows-1252", "\xC3\xA9t\xC3\xA9", "\xE9t\xE9", false},
    {"the euro sign", "windows-1252", "\xE2\x82\xAC", "\x80", false},
    {"zero bytes", "windows-1252", "a\0\xC3\xA9"s, "a\0\xE9"s, false},
    {"Cyrillic", "windows-1251", "\xD0\x96", "\xC6", false},
    {"a PC code page, with three control characters in other places", "IBM437", "\x1A\x1C\x7F", "\x7F\x1A\x1C", false},
    {"EBCDIC", "IBM037", "Ab 1", "\xC1\x82\x40\xF1", false},
    {"Japanese", "Shift_JIS", "a\xE6\x97\xA5\xE6\x9C\xAC", "a\x93\xFA\x96\x7B", false},
    {"Japanese of three bytes", "EUC-JP", "\xE4\xB8\x82", "\x8F\xB0\xA1", false},
    {"a private character", "Shift_JIS", "\xEE\x80\x80", "\xF0\x40", false},
    {"a private character of four bytes", "GB18030", "\xEF\xA1\xAF", "\x83\x39\xF0\x36", false},
    {"four bytes", "GB18030", "\xF0\x9F\x98\x80", "\x94\x39\xFC\x36", false},
    {"UTF-8 itself", "UTF-8", "a\xC3\xA9\xF0\x9F\x98\x80", "a\xC3\xA9\xF0\x9F\x98\x80", false},
    {"a mark of byte order", "UTF-8",
     "\xEF\xBB\xBF"
     "a",
     "\xEF\xBB\xBF"
     "a",
     false},
};

const Row kFromUtf8[] = {
    {"a character that the code page lacks", "windows-1252", "a\xE6\x97\xA5z", "a\x1Az", true},
    {"one that cannot be seen", "windows-1252", "a\xE2\x80\x8Bz", "a\x1Az", true},
    {"its mark of byte order", "windows-1252", "\xEF\xBB\xBF", "\x1A", true},
    {"one beyond 16 bits", "ISO-8859-1", "\xF0\x9F\x98\x80", "\x1A", true},
    {"bytes that are no UTF-8", "windows-1252", "a\xFFz", "a\x1Az", true},
    {"a cut character", "windows-1252", "a\xE2\x82", "a\x1A", true},
    {"lacking in plain ASCII", "US-ASCII", "\xC3\xA9", "\x1A", true},
    {"the substitute of a PC code page", "IBM437", "\xE6\x97\xA5", "\x7F", true},
    {"the substitute of EBCDIC", "IBM037", "A\xE6\x97\xA5", "\xC1\x3F", true},
    {"lacking among several bytes", "Shift_JIS", "a\xF0\x9F\x98\x80z", "a?z", true},
    {"one that cannot be seen, several bytes", "Shift_JIS", "a\xE2\x80\x8Bz", "a?z", true},
    {"no UTF-8, several bytes", "Shift_JIS", "a\xFF\xE6\x97\xA5", "a?\x93\xFA", true},
    {"no UTF-8 before four bytes", "GB18030", "\xFF\xF0\x9F\x98\x80", "\x1A\x94\x39\xFC\x36", true},
    {"a private character that would come back as another", "Shift_JIS", "a\xEF\xA1\xAFz", "a\x87\x82z", true},
    {"one in a code page with one byte a character", "x-mac-greek", "a\xEF\xA2\xA0z", "a\x9Cz", true},
    {"no UTF-8 to UTF-8", "UTF-8", "a\xFF\xC3\xA9\xE2\x82", "a"s + kReplacement + "\xC3\xA9" + kReplacement, true},
    {"a surrogate to UTF-8", "UTF-8", "\xED\xA0\x80", ""s + kReplacement + kReplacement + kReplacement, true},
};

const Row kToUtf8[] = {
    {"a byte without a character", "ISO-8859-7", "a"s + kReplacement + "z", "a\xD2z", true},
    {"beyond plain ASCII", "US-ASCII", kReplacement, "\xE9", true},
    {"a byte that begins nothing", "Shift_JIS", "a"s + kReplacement + "z", "a\xFFz", true},
    {"a cut character", "Shift_JIS", "a"s + kReplacement, "a\x83", true},
    {"a pair without a character", "EUC-KR", kReplacement, "\xA2\xFE", true},
};

TEST(ConverterNew, ReturnsNullForWhatIsNoCodePage) {
  for (const char* name : {"", "no such", "UTF-16", "ISO-2022-JP"}) EXPECT_EQ(nullptr, Make(name)) << name;
}

TEST(ConverterKeepsAscii, IsFalseForEbcdic) {
  for (const char* name : {"windows-1252", "UTF-8", "GB18030"})
    EXPECT_TRUE(QUAVMBConverterKeepsAscii(Make(name).get()));
  EXPECT_FALSE(QUAVMBConverterKeepsAscii(Make("IBM037").get()));
}

TEST(ConverterDelete, AcceptsNull) { QUAVMBConverterDelete_A(nullptr); }

TEST(TextConversion, SubstituteIsTextOfTheCodePage) {
  const auto expectReadable = [](int number) {
    const Converter converter = Make(NameOf(number));
    std::string substitute;
    EXPECT_NE(0, QUAVMBU8ToCodePage(converter.get(), substitute, "\xFF")) << number;
    std::string utf8;
    EXPECT_EQ(0, QUAVMBCodePageToU8(converter.get(), utf8, substitute)) << number;
    EXPECT_NE("", utf8) << number;
  };
  for (const int number : kSingleByteNumbers) expectReadable(number);
  for (const int number : kMultiByteNumbers) expectReadable(number);
}

void ExpectTextFromUtf8(const Row& row) {
  SCOPED_TRACE(row.what);
  std::string output = "before";
  EXPECT_EQ(row.lost, QUAVMBU8ToCodePage(Make(row.codePage).get(), output, row.utf8) != 0);
  EXPECT_EQ(row.bytes, output);
}

void ExpectTextToUtf8(const Row& row) {
  SCOPED_TRACE(row.what);
  std::string output = "before";
  EXPECT_EQ(row.lost, QUAVMBCodePageToU8(Make(row.codePage).get(), output, row.bytes) != 0);
  EXPECT_EQ(row.utf8, output);
}

TEST(TextConversion, ConvertsFromUtf8) {
  for (const Row& row : kExact) ExpectTextFromUtf8(row);
  for (const Row& row : kFromUtf8) ExpectTextFromUtf8(row);
}

TEST(TextConversion, ConvertsToUtf8) {
  for (const Row& row : kExact) ExpectTextToUtf8(row);
  for (const Row& row : kToUtf8) ExpectTextToUtf8(row);
}

TEST(TextConversion, ConvertsInPlace) {
  for (const char* name : {"windows-1252", "EUC-JP"}) {
    const Converter converter = Make(name);
    std::string text = "plain";
    QUAVMBU8ToCodePage(converter.get(), text, text);
    EXPECT_EQ("plain", text);
    text = "\xC2\xA7";
    QUAVMBU8ToCodePage(converter.get(), text, text);
    EXPECT_NE("\xC2\xA7", text);
    QUAVMBCodePageToU8(converter.get(), text, text);
    EXPECT_EQ("\xC2\xA7", text);
  }
}

using FieldConversion = int (*)(QUAVMBConverter*, char*, int, const char*, int, int*);

struct Field {
  std::string bytes;
  int lost;
};

Field Convert(FieldConversion conversion, const std::string& codePage, const std::string& input, int capacity) {
  std::string output(static_cast<std::size_t>(capacity) + 1, '#');
  int lost = -1;
  const int count =
      conversion(Make(codePage).get(), output.data(), capacity, input.data(), static_cast<int>(input.size()), &lost);
  EXPECT_EQ(std::string(output.size() - static_cast<std::size_t>(count), '#'),
            output.substr(static_cast<std::size_t>(count)));
  return {output.substr(0, static_cast<std::size_t>(count)), lost};
}

void ExpectField(FieldConversion conversion, const Row& row, const std::string& input, const std::string& output) {
  SCOPED_TRACE(row.what);
  const int size = static_cast<int>(output.size());
  for (const int capacity : {size, size + 5}) {
    const Field field = Convert(conversion, row.codePage, input, capacity);
    EXPECT_EQ(output, field.bytes);
    EXPECT_EQ(row.lost ? 1 : 0, field.lost);
  }
}

TEST(FieldConversion, ConvertsFromUtf8LikeAWholeTextWhenItFits) {
  for (const Row& row : kExact) ExpectField(QUAVMB8toCodePage, row, row.utf8, row.bytes);
  for (const Row& row : kFromUtf8) ExpectField(QUAVMB8toCodePage, row, row.utf8, row.bytes);
}

TEST(FieldConversion, ConvertsToUtf8LikeAWholeTextWhenItFits) {
  for (const Row& row : kExact) ExpectField(QUAVMBCodePageto8, row, row.bytes, row.utf8);
  for (const Row& row : kToUtf8) ExpectField(QUAVMBCodePageto8, row, row.bytes, row.utf8);
}

TEST(FieldConversion, WritesWholeCharactersAndReportsTruncation) {
  const struct {
    const char* what;
    const char* codePage;
    FieldConversion conversion;
    std::string input;
    int capacity;
    std::string output;
  } rows[] = {
      {"plain text", "windows-1252", QUAVMB8toCodePage, "plain", 3, "pla"},
      {"no room", "windows-1252", QUAVMB8toCodePage, "plain", 0, ""},
      {"less than no room", "windows-1252", QUAVMBCodePageto8, "\xE9", -1, ""},
      {"two bytes", "windows-1252", QUAVMBCodePageto8, "\xE9\xE9", 3, "\xC3\xA9"},
      {"three bytes at two", "windows-1252", QUAVMBCodePageto8, "a\x80", 3, "a"},
      {"one byte a character", "windows-1252", QUAVMB8toCodePage, "\xC3\xA9\xC3\xA9", 1, "\xE9"},
      {"several bytes a character", "Shift_JIS", QUAVMB8toCodePage, "\xE6\x97\xA5\xE6\x9C\xAC", 3, "\x93\xFA"},
      {"plain text, several bytes", "Shift_JIS", QUAVMB8toCodePage, "plain", 3, "pla"},
      {"a replacement character", "US-ASCII", QUAVMBCodePageto8, "\xFF", 2, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::string output(8, '#');
    int lost = -1;
    const int count = row.conversion(Make(row.codePage).get(), output.data(), row.capacity, row.input.data(),
                                     static_cast<int>(row.input.size()), &lost);
    EXPECT_EQ(row.output, output.substr(0, static_cast<std::size_t>(count)));
    EXPECT_EQ('#', output[static_cast<std::size_t>(count)]);
    EXPECT_EQ(1, lost);
  }
}

TEST(FieldConversion, KeepsTheTrailingBlanksOfAField) {
  const Field field = Convert(QUAVMBCodePageto8, "windows-1252", "\xE9       ", 24);
  EXPECT_EQ("\xC3\xA9       ", field.bytes);
  EXPECT_EQ(0, field.lost);
}

TEST(FieldConversion, ReadsUpToTheTerminatorAndNeedsNoFlag) {
  const Converter converter = Make("windows-1252");
  char output[8];
  EXPECT_EQ(2, QUAVMB8toCodePage(converter.get(), output, 8, "\xC3\xA9z\0more", -1, nullptr));
  EXPECT_EQ(3, QUAVMBCodePageto8(converter.get(), output, 8, "\xE9z\0more", -1, nullptr));
}

constexpr UChar32 kLastOf16Bits = 0xFFFF;
constexpr UChar32 kLastCodePoint = 0x10FFFF;

// Calls `check` with each character up to `limit` that ICU converts to the code page and back unchanged, as UTF-8.
template <class Check>
void ForEachRoundTripCharacter(const std::string& name, UChar32 limit, Check check) {
  const IcuConverter icu(name);
  const icu::LocalUSetPointer set(uset_openEmpty());
  UErrorCode status = U_ZERO_ERROR;
  ucnv_getUnicodeSet(icu.Get(), set.getAlias(), UCNV_ROUNDTRIP_SET, &status);
  for (int i = 0; i < uset_getRangeCount(set.getAlias()); ++i) {
    UChar32 first = 0;
    UChar32 last = 0;
    uset_getItem(set.getAlias(), i, &first, &last, nullptr, 0, &status);
    for (UChar32 codePoint = first; codePoint <= std::min(last, limit); ++codePoint) {
      char bytes[4];
      std::size_t length = 0;
      U8_APPEND_UNSAFE(bytes, length, codePoint);
      check(std::string(bytes, length));
    }
  }
}

class ConversionRoundTrip : public testing::TestWithParam<int> {};

TEST_P(ConversionRoundTrip, KeepsEachCharacterOfTheCodePage) {
  const std::string name = NameOf(GetParam());
  const Converter converter = Make(name);
  int characters = 0;
  int changed = 0;
  ForEachRoundTripCharacter(name, kLastOf16Bits, [&](const std::string& utf8) {
    std::string bytes;
    std::string back;
    const bool lost =
        QUAVMBU8ToCodePage(converter.get(), bytes, utf8) != 0 || QUAVMBCodePageToU8(converter.get(), back, bytes) != 0;
    ++characters;
    if (lost || back != utf8) ++changed;
  });
  EXPECT_LE(128, characters);
  EXPECT_EQ(0, changed);
}

TEST_P(ConversionRoundTrip, KeepsATextOfAllCharactersOfTheCodePage) {
  const std::string name = NameOf(GetParam());
  const Converter converter = Make(name);
  std::string text;
  ForEachRoundTripCharacter(name, kLastCodePoint, [&text](const std::string& utf8) { text += utf8; });
  std::string bytes;
  std::string back;
  EXPECT_EQ(0, QUAVMBU8ToCodePage(converter.get(), bytes, text));
  EXPECT_EQ(0, QUAVMBCodePageToU8(converter.get(), back, bytes));
  EXPECT_TRUE(text == back);
}

// Compares the short path for plain text with ICU, alone and next to a character that needs the long path.
TEST_P(ConversionRoundTrip, ConvertsPlainTextAsIcuDoes) {
  const std::string name = NameOf(GetParam());
  const Converter converter = Make(name);
  const IcuConverter icu(name);
  for (char c = ' '; c < 0x7F; ++c) {
    const std::string text(9, c);
    std::u16string units(9, static_cast<char16_t>(c));
    const std::string bytes = icu.FromUnicode(units).value_or("none");
    for (const std::string& beside : {std::string(), std::string(1, '\x01')}) {
      std::string output(32, '#');
      int count = QUAVMB8toCodePage(converter.get(), output.data(), 32, (text + beside).data(),
                                    static_cast<int>(text.size() + beside.size()), nullptr);
      EXPECT_EQ(bytes, output.substr(0, static_cast<std::size_t>(count) - beside.size())) << c;
      count = QUAVMBCodePageto8(converter.get(), output.data(), 32, (bytes + beside).data(),
                                static_cast<int>(bytes.size() + beside.size()), nullptr);
      EXPECT_EQ(text, output.substr(0, text.size())) << c;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(SingleByte, ConversionRoundTrip, testing::ValuesIn(kSingleByteNumbers),
                         [](const auto& row) { return "Number" + std::to_string(row.param); });
INSTANTIATE_TEST_SUITE_P(MultiByte, ConversionRoundTrip, testing::ValuesIn(kMultiByteNumbers),
                         [](const auto& row) { return "Number" + std::to_string(row.param); });

}  // namespace
}  // namespace Conversion_test
