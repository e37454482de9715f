#include "tools/files/TextDecoder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "Platform/text/QUAVMB.h"
#include "tests/cli/InputFile.h"
#include "tools/files/GzipInput.h"
#include "tools/files/GzipOutput.h"
#include "tools/files/InputBytes.h"
#include "tools/messages/ToolError.h"

namespace TextDecoder_test {
namespace {

using namespace std::string_view_literals;

std::string ReadAll(tool::InputBytes& input, std::size_t piece) {
  std::string text;
  std::string bytes(piece, ' ');
  while (const std::size_t count = input.Read(bytes.data(), bytes.size())) text.append(bytes, 0, count);
  return text;
}

std::string Decoded(std::string_view bytes, const std::string& encoding, std::size_t piece = 7) {
  const InputFile file(bytes);
  tool::InputBytes input(file.Path());
  if (!input.Decode(encoding)) return "unknown";
  try {
    std::string text = ReadAll(input, piece);
    input.Rewind();
    EXPECT_EQ(text, ReadAll(input, 100000)) << "after a rewind";
    return text;
  } catch (const tool::ToolError& error) {
    return error.what();
  }
}

std::string InUtf16(std::u16string_view text, bool isBigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit);
    bytes += isBigEndian ? high : low;
    bytes += isBigEndian ? low : high;
  }
  return bytes;
}

TEST(TextDecoder, DecodesUtf16) {
  const std::u16string text = u"a,\u00E4\u20AC\U0001F600\n";
  const std::string wanted = "a,\u00E4\u20AC\U0001F600\n";
  for (const bool isBigEndian : {false, true}) {
    const std::string name = isBigEndian ? "utf16be" : "UTF-16LE";
    EXPECT_EQ(wanted, Decoded(InUtf16(text, isBigEndian), name));
    EXPECT_EQ(wanted, Decoded(InUtf16(u"\uFEFF" + text, isBigEndian), name));
    EXPECT_EQ(wanted, Decoded(InUtf16(u"\uFEFF" + text, isBigEndian), "UTF-16"));
  }
  EXPECT_EQ("", Decoded("", "UTF-16"));
  EXPECT_EQ("a", Decoded("\xFF\xFE\0\0a\0\0\0"sv, "UTF-32"));
}

TEST(TextDecoder, RefusesWhatIsNoText) {
  EXPECT_EQ("the text is not UTF-16LE (at line 2)", Decoded("a\0\n\0b"sv, "UTF-16LE"));
  EXPECT_EQ("the text is not UTF-16BE (at line 1)", Decoded("\xD8\0\0a"sv, "UTF-16BE"));
  EXPECT_EQ("the text is not UTF-16BE (at line 1)", Decoded("\xDC\0"sv, "UTF-16BE"));
  EXPECT_EQ("the text is not UTF-16BE (at line 1)", Decoded("\xD8\0"sv, "UTF-16BE"));
  EXPECT_EQ("the text is not Shift_JIS (at line 3)", Decoded("a\nb\n\x82\n", "Shift_JIS"));
  EXPECT_EQ("unknown", Decoded("a", "klingon"));
}

TEST(TextDecoder, DecodesCodePages) {
  EXPECT_EQ("\u00E4\u20AC\n", Decoded("\xE4\x80\n", "windows-1252"));
  EXPECT_EQ("x", Decoded("x", "utf8"));
  std::string wanted;
  std::string bytes;
  for (int i = 0; i < 100'000; ++i) {  // several pieces, which end inside of characters
    wanted += "\u3042,";
    bytes += "\x82\xA0,";
  }
  EXPECT_EQ(wanted, Decoded(bytes, "Shift_JIS", 1000));
  EXPECT_EQ(wanted + "\u3042", Decoded(bytes + "\x82\xA0", "Shift_JIS", 1000));
}

TEST(TextDecoder, RecognisesUtf16) {
  for (const std::u16string_view text : {u"a,b\n1,2\n"sv, u"\u00E9t\u00E9,x\n"sv, u"\u0436\u0437,\u0430\n1,2\n"sv}) {
    EXPECT_EQ("UTF-16LE", tool::RecognisedEncoding(InUtf16(text, false)));
    EXPECT_EQ("UTF-16BE", tool::RecognisedEncoding(InUtf16(text, true)));
  }
  EXPECT_EQ("UTF-16LE", tool::RecognisedEncoding("\xFF\xFE"));
  EXPECT_EQ("UTF-16BE", tool::RecognisedEncoding("\xFE\xFF"));
  for (const std::string_view text : {""sv, "a"sv, "a,b\n"sv, "\u0436,\u0437\n"sv, "x\na\0b\n"sv, "ab,\0c\n"sv,
                                      "\xEF\xBB\xBF"
                                      "a"sv,
                                      "\xE4,b\n"sv})
    EXPECT_EQ("", tool::RecognisedEncoding(text)) << text;
}

std::string Packed(std::string_view text) {
  tool::GzipOutput packing;
  std::string bytes(packing.Pack(text));
  return bytes.append(packing.End());
}

std::string Unpacked(std::string_view bytes, std::size_t piece = 1000) {
  const InputFile file(bytes);
  tool::InputBytes input(file.Path());
  input.Unpack();
  try {
    std::string text = ReadAll(input, piece);
    input.Rewind();
    EXPECT_EQ(text, ReadAll(input, 77777)) << "after a rewind";
    return text;
  } catch (const tool::ToolError& error) {
    return error.what();
  }
}

TEST(GzipInput, UnpacksWhatGzipOutputPacks) {
  std::string text;
  for (int i = 0; i < 200'000; ++i) text += std::to_string(i * 7919 % 100'003) + ",";
  EXPECT_EQ(text, Unpacked(Packed(text)));
  EXPECT_EQ("", Unpacked(Packed("")));
}

TEST(GzipInput, UnpacksSeveralMembers) {
  EXPECT_EQ("onetwo", Unpacked(Packed("one") + Packed("two")));
  EXPECT_EQ("onetwo", Unpacked(Packed("one") + std::string(600'000, '\0') + Packed("two") + std::string(5, '\0'), 1));
}

// Whatever the room for it.
TEST(GzipInput, UnpacksAllBeforeAMissingEnd) {
  std::string text;
  for (int i = 0; i < 40; ++i) text += std::to_string(i * i) + std::string(300, 'x');
  const std::string packed = Packed(text);
  for (std::size_t size = 0; size < packed.size(); ++size) {
    const InputFile file(packed.substr(0, size));
    std::optional<std::string> most;
    for (const std::size_t piece : {100'000UL, 1UL, 2UL, 257UL, 1000UL}) {
      tool::InputBytes input(file.Path());
      input.Unpack();
      std::string got;
      std::string bytes(piece, ' ');
      EXPECT_THROW(while (const std::size_t count = input.Read(bytes.data(), piece)) got.append(bytes, 0, count),
                   tool::ToolError);
      if (!most) most = got;
      EXPECT_EQ(most, got) << size << " bytes, read " << piece << " at a time";
    }
    EXPECT_TRUE(text.starts_with(*most));
  }
}

TEST(GzipInput, RefusesDamagedData) {
  const std::string packed = Packed("some text");
  EXPECT_EQ("the packed data end too early", Unpacked(packed.substr(0, packed.size() - 1)));
  EXPECT_EQ("the packed data end too early", Unpacked(""));
  EXPECT_NE("some text", Unpacked(packed + "x"));
  for (std::size_t i = 0; i < packed.size(); ++i) {
    std::string damaged = packed;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x55);
    const bool isInTheFreePart = 4 <= i && i < 10;  // time, level and system of the header
    EXPECT_EQ(isInTheFreePart, Unpacked(damaged) == "some text") << i;
  }
}

}  // namespace
}  // namespace TextDecoder_test
