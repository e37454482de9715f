// Comparison without regard to case: it compares the bytes of the upper-case forms.

#include <algorithm>

#include "Platform/text/PresentEncoding.h"
#include "Platform/text/QUAVMB.h"

using namespace quavmb;

namespace {

// Returns the length of the ASCII text with which both begin, without regard to case.
std::size_t CommonAsciiLength(std::string_view a, std::string_view b) {
  const std::size_t shorter = std::min(a.size(), b.size());
  std::size_t i = 0;
  for (; i + sizeof(Word) <= shorter; i += sizeof(Word)) {
    const Word wordA = LoadWord(a.data() + i);
    const Word wordB = LoadWord(b.data() + i);
    if (((wordA | wordB) & kHighBits) != 0 || UpperWord(wordA) != UpperWord(wordB)) break;
  }
  while (i < shorter && IsAscii(a[i]) && AsciiUpper(a[i]) == AsciiUpper(b[i])) ++i;
  return i;
}

// Texts that differ at an ASCII character of both, or at the end of one, differ at the same place in their forms. So
// the forms are needed only after the common ASCII text.
int CompareApartFromCase(std::string_view a, std::string_view b) {
  const Encoding& encoding = PresentEncoding();
  if (!encoding.HasAscii()) return encoding.InCase(a, LetterCase::upper).compare(encoding.InCase(b, LetterCase::upper));

  const std::size_t common = CommonAsciiLength(a, b);
  a.remove_prefix(common);
  b.remove_prefix(common);
  if (a.empty() || b.empty()) return static_cast<int>(!a.empty()) - static_cast<int>(!b.empty());
  if (IsAscii(a.front()) && IsAscii(b.front())) return AsciiUpper(a.front()) - AsciiUpper(b.front());
  return encoding.InCase(a, LetterCase::upper).compare(encoding.InCase(b, LetterCase::upper));
}

}  // namespace

int QUAVMBqstricmp_A(const char* a, int lengthA, const char* b, int lengthB, int) {
  return CompareApartFromCase(TextOf(a, lengthA), TextOf(b, lengthB)) == 0 ? 1 : 0;
}

int QUAVMBstricmp_A(const char* a, const char* b) { return CompareApartFromCase(a, b); }
