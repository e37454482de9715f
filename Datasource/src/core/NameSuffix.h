// Letters that distinguish names that would otherwise be equal: A to Z, then AA, AB and so on (bijective base 26).

#ifndef DATASRC_SRC_CORE_NAMESUFFIX_H
#define DATASRC_SRC_CORE_NAMESUFFIX_H

#include <string>
#include <string_view>

// Returns the letters of the number: 0 is A, 25 is Z, 26 is AA, 701 is ZZ, 702 is AAA.
inline std::string SuffixLetters(unsigned long number) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::string letters(1, kLetters[number % kLetters.size()]);
  while ((number /= kLetters.size()) > 0) letters.insert(letters.begin(), kLetters[--number % kLetters.size()]);
  return letters;
}

#endif
