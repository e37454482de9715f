#include "casecodes/GroupEncoder.h"

#include <cstdint>

#include "casecodes/CaseCodes.h"
#include "core/ByteOrder.h"
#include "core/Kernels.h"

namespace {

constexpr KernelTable<GroupEncoder> kEncoders = {EncodeCellsPlainly, EncodeCellsPortably, EncodeCellsAvx2,
                                                 EncodeCellsAvx512};

std::byte* EncodeGroupsPlainly(const OBS* cells, int count, std::byte* out) {
  for (int group = 0; group < count; ++group) {
    std::byte* const codes = out;
    out += kCodesPerGroup;
    for (int i = 0; i < kCodesPerGroup; ++i, ++cells) {
      const std::uint8_t code = CodeOfCell(*cells);
      codes[i] = std::byte{code};
      if (code != kCodeLiteral) continue;
      Store(out, *cells);
      out += sizeof(OBS);
    }
  }
  return out;
}

std::byte* EncodeGroupsPortably(const OBS* cells, int count, std::byte* out) {
  for (int group = 0; group < count; ++group) {
    std::byte* const codes = out;
    out += kCodesPerGroup;
    // Stores each cell as a literal; the next cell overwrites one that is not a literal.
#pragma GCC unroll 8
    for (int i = 0; i < kCodesPerGroup; ++i) {
      const std::uint8_t code = CodeOfCellBranchFree(cells[i]);
      codes[i] = std::byte{code};
      Store(out, cells[i]);
      out += code == kCodeLiteral ? sizeof(OBS) : 0;
    }
    cells += kCodesPerGroup;
  }
  return out;
}

}  // namespace

std::vector<GroupEncoder*> GroupEncoders() { return Runnable(kEncoders); }

GroupEncoder* ChosenGroupEncoder() { return Chosen(kEncoders); }

std::byte* EncodeCellsPlainly(const OBS* cells, int count, OpenGroup& open, std::byte* out) {
  return EncodeCellsWith(EncodeGroupsPlainly, cells, count, open, out);
}

std::byte* EncodeCellsPortably(const OBS* cells, int count, OpenGroup& open, std::byte* out) {
  return EncodeCellsWith(EncodeGroupsPortably, cells, count, open, out);
}
