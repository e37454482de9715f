#include "CellCodes.h"

#include <algorithm>

#include "CaseCodes.h"

namespace {

// At most eight cells. Answers their bits.
template <class CodeOf>
std::byte FindSome(const OBS* cells, int count, std::byte* codes, CodeOf codeOf) {
  unsigned literals = ~0U << count;
  for (int i = 0; i < count; ++i) {
    const std::uint8_t code = codeOf(cells[i]);
    codes[i] = std::byte{code};
    literals |= unsigned{code == kCodeLiteral} << i;
  }
  return static_cast<std::byte>(literals);
}

template <class CodeOf>
void FindAll(const OBS* cells, int count, std::byte* codes, std::byte* literals, CodeOf codeOf) {
  for (; count > 0; count -= 8, cells += 8, codes += 8)
    *literals++ = FindSome(cells, std::min(count, 8), codes, codeOf);
}

}  // namespace

std::span<CodeFinder* const> CodeFinders() {
#ifdef DATASRC_AVX2
  static CodeFinder* const finders[] = {FindCodesPlainly, FindCodesPortably, FindCodesAvx2};
  return std::span(finders).first(HasAvx2() ? 3 : 2);
#else
  static CodeFinder* const finders[] = {FindCodesPlainly, FindCodesPortably};
  return finders;
#endif
}

void FindCodes(const OBS* cells, int count, std::byte* codes, std::byte* literals) {
  static CodeFinder* const fastest = CodeFinders().back();
  fastest(cells, count, codes, literals);
}

void FindCodesPlainly(const OBS* cells, int count, std::byte* codes, std::byte* literals) {
  FindAll(cells, count, codes, literals, CodeOfCell);
}

void FindCodesPortably(const OBS* cells, int count, std::byte* codes, std::byte* literals) {
  FindAll(cells, count, codes, literals, CodeOfCellBranchFree);
}
