#include "casecodes/CellCodes.h"

#include <algorithm>

#include "casecodes/CaseCodes.h"
#include "core/Kernels.h"

namespace {

template <class CodeOf>
void FindAll(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals, CodeOf codeOf) {
  for (int start = 0; start < count; start += kCellsPerWord) {
    const int end = std::min(count, start + kCellsPerWord);
    std::uint64_t word = ~std::uint64_t{0};
    for (int i = start; i < end; ++i) {
      const std::uint8_t code = codeOf(cells[i]);
      codes[i] = std::byte{code};
      word ^= std::uint64_t{code != kCodeLiteral} << (i - start);
    }
    literals[start / kCellsPerWord] = word;
  }
}

constexpr KernelTable<CodeFinder> kCodeFinders = {FindCodesPlainly, FindCodesPortably, FindCodesAvx2, FindCodesAvx512};

}  // namespace

std::vector<CodeFinder*> CodeFinders() { return Runnable(kCodeFinders); }

void FindCodes(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  static CodeFinder* const chosen = Chosen(kCodeFinders);
  chosen(cells, count, codes, literals);
}

void FindCodesPlainly(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  FindAll(cells, count, codes, literals, CodeOfCell);
}

void FindCodesPortably(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  FindAll(cells, count, codes, literals, CodeOfCellBranchFree);
}
