#include "casecodes/GroupEncoder.h"

#ifdef DATASRC_AVX512

#include <algorithm>
#include <bit>

#include "casecodes/CellCodesAvx512.h"
#include "core/ByteOrder.h"

namespace {

DATASRC_AVX512 inline std::byte* EncodeGroup(__m512i cells, std::byte* out) {
  const auto [codes, literals] = CodesOfEight512(cells);
  Store(out, _mm_cvtsi128_si64(codes));
  out += kCodesPerGroup;
  // Stored as a whole: what comes after the literals has no meaning. A compressing store would take far longer.
  StoreEightCells(out, _mm512_maskz_compress_epi64(literals, cells));
  return out + static_cast<std::size_t>(std::popcount(static_cast<unsigned>(literals))) * sizeof(OBS);
}

// Returns a mask of the first `count` cells of eight.
inline __mmask8 FirstCells(int count) { return static_cast<__mmask8>((1U << count) - 1); }

}  // namespace

// The open group is loaded as it was stored, and joined with the next cells in a register: a load from two stores would
// wait until both have reached the cache.
DATASRC_AVX512 std::byte* EncodeCellsAvx512(const OBS* cells, int count, OpenGroup& open, std::byte* out) {
  if (open.count != 0) {
    const int taken = std::min(kCodesPerGroup - open.count, count);
    const __m512i added = _mm512_maskz_loadu_epi64(FirstCells(taken), cells);
    const auto places = static_cast<__mmask8>(FirstCells(taken) << open.count);
    const __m512i group = _mm512_mask_expand_epi64(LoadEightCells(open.cells.data()), places, added);
    open.count += taken;
    if (open.count < kCodesPerGroup) {
      StoreEightCells(open.cells.data(), group);
      return out;
    }
    out = EncodeGroup(group, out);
    cells += taken;
    count -= taken;
  }
  for (; count >= kCodesPerGroup; count -= kCodesPerGroup, cells += kCodesPerGroup)
    out = EncodeGroup(LoadEightCells(cells), out);
  open.count = count;
  StoreEightCells(open.cells.data(), _mm512_maskz_loadu_epi64(FirstCells(count), cells));
  return out;
}

#endif
