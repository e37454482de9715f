// The letters that tell names apart which would otherwise be one: A to Z, then AA, AB and so on (bijective base 26).

#ifndef DATASRC_SRC_CORE_NAMESUFFIX_H
#define DATASRC_SRC_CORE_NAMESUFFIX_H

#include <string>
#include <string_view>

// The letters of the number: 0 is A, 25 Z, 26 AA, 701 ZZ, 702 AAA.
inline std::string SuffixLetters(unsigned long number) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::string letters(1, kLetters[number % kLetters.size()]);
  while ((number /= kLetters.size()) > 0) letters.insert(letters.begin(), kLetters[--number % kLetters.size()]);
  return letters;
}

#endif
