#include "CellCodes.h"

#include "CaseCodes.h"

namespace {

template <class CodeOf>
void FindAll(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals, CodeOf codeOf) {
  for (int i = 0; i < count; ++i) {
    const std::uint8_t code = codeOf(cells[i]);
    codes[i] = std::byte{code};
    if (i % kCellsPerWord == 0) literals[i / kCellsPerWord] = ~std::uint64_t{0};
    literals[i / kCellsPerWord] ^= std::uint64_t{code != kCodeLiteral} << i % kCellsPerWord;
  }
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

void FindCodes(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  static CodeFinder* const fastest = CodeFinders().back();
  fastest(cells, count, codes, literals);
}

void FindCodesPlainly(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  FindAll(cells, count, codes, literals, CodeOfCell);
}

void FindCodesPortably(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  FindAll(cells, count, codes, literals, CodeOfCellBranchFree);
}
