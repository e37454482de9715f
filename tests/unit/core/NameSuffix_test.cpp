#include "core/NameSuffix.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <string>

namespace NameSuffix_test {
namespace {

struct Letters {
  unsigned long number;
  const char* letters;
};

TEST(SuffixLetters, CountInBase26WithoutAZero) {
  for (const auto& [number, letters] :
       {Letters{0, "A"}, Letters{1, "B"}, Letters{25, "Z"}, Letters{26, "AA"}, Letters{27, "AB"}, Letters{51, "AZ"},
        Letters{52, "BA"}, Letters{701, "ZZ"}, Letters{702, "AAA"}, Letters{703, "AAB"}, Letters{18277, "ZZZ"},
        Letters{18278, "AAAA"}})
    EXPECT_EQ(letters, SuffixLetters(number)) << number;
}

TEST(SuffixLetters, AreDifferentForEachNumber) {
  std::set<std::string> letters;
  for (unsigned long number = 0; number < 20000; ++number) letters.insert(SuffixLetters(number));
  EXPECT_EQ(20000u, letters.size());
}

// The letters, read as digits from 1 to 26, have the value of the number plus 1: for the largest number 0, modulo 2^64.
TEST(SuffixLetters, LargestNumberDoesNotOverflow) {
  unsigned long value = 0;
  for (const char letter : SuffixLetters(std::numeric_limits<unsigned long>::max()))
    value = value * 26 + static_cast<unsigned long>(letter - 'A' + 1);
  EXPECT_EQ(0u, value);
}

}  // namespace
}  // namespace NameSuffix_test
