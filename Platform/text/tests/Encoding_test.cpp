#include "Platform/text/Encoding.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Platform/text/tests/KnownCodePages.h"

namespace quavmb {
namespace Encoding_test {
namespace {

TEST(Encoding, IsOneObjectForAllItsNames) {
  EXPECT_EQ(Encoding::Find("windows-1252"), Encoding::Find("CP1252"));
  EXPECT_EQ(&Encoding::Utf8(), Encoding::Find("utf8"));
  EXPECT_NE(Encoding::Find("windows-1252"), Encoding::Find("windows-1251"));
}

TEST(Encoding, FindsTheEncodingOfEveryKnownNumber) {
  for (const int number : kSingleByteNumbers) EXPECT_NE(nullptr, Encoding::Find(NameOf(number).c_str())) << number;
  for (const int number : kMultiByteNumbers) EXPECT_NE(nullptr, Encoding::Find(NameOf(number).c_str())) << number;
}

TEST(Encoding, FindRefusesWhatIsNoCodePage) {
  const struct {
    const char* why;
    const char* name;
  } rows[] = {
      {"zero bytes inside characters", "UTF-16"},
      {"zero bytes inside characters, order given", "UTF-16LE"},
      {"four bytes for all", "UTF-32"},
      {"shift sequences", "ISO-2022-JP"},
      {"shift characters", "HZ-GB-2312"},
      {"EBCDIC with shift characters", "ibm-930"},
      {"base 64 inside", "UTF-7"},
      {"windows that move", "SCSU"},
      {"two bytes only", "ibm-971"},
      {"zero is no terminator", "gsm-03.38-2009"},
      {"ICU's options", "UTF-8,version=1"},
      {"signs only", "-_ "},
      {"unknown", "nothing"},
      {"empty", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(nullptr, Encoding::Find(row.name)) << row.why;
  EXPECT_EQ(nullptr, Encoding::Find(nullptr));
}

TEST(Encoding, HasAsciiExceptInEbcdic) {
  for (const char* name : {"UTF-8", "windows-1252", "US-ASCII", "IBM437", "Shift_JIS", "GB18030", "EUC-KR"})
    EXPECT_TRUE(Encoding::Find(name)->HasAscii()) << name;
  for (const char* name : {"IBM037", "IBM1047", "IBM01140"}) EXPECT_FALSE(Encoding::Find(name)->HasAscii()) << name;
}

TEST(Encoding, ServesSeveralThreads) {
  const std::string japanese = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E";
  std::vector<int> wrong(4);
  std::vector<std::thread> threads;
  for (int& count : wrong) {
    threads.emplace_back([&japanese, &count] {
      for (int i = 0; i < 500; ++i) {
        for (const char* name : {"Shift_JIS", "EUC-JP", "GB18030", "UTF-8"}) {
          const Encoding& encoding = *Encoding::Find(name);
          std::string text;
          std::string back;
          const bool exact = encoding.FromUtf8(text, japanese) && encoding.ToUtf8(back, text);
          if (!exact || back != japanese || encoding.WholeCharacters(text, 3) == 0) ++count;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(4), wrong);
}

}  // namespace
}  // namespace Encoding_test
}  // namespace quavmb
