#include "casecodes/CellPicker.h"

#ifdef DATASRC_AVX512

#include <array>
#include <cstdint>

#include "casecodes/CellsOfCodesAvx512.h"
#include "casecodes/GroupDecoder.h"

namespace {

constexpr int kLanes = 8;

// Loads 8 bytes for each lane, from address(lane). Single loads are faster than a gather on many processors.
template <class Address>
DATASRC_AVX512 inline __m512i LoadLanes(Address address) {
  return _mm512_setr_epi64(Load<long long>(address(0)), Load<long long>(address(1)), Load<long long>(address(2)),
                           Load<long long>(address(3)), Load<long long>(address(4)), Load<long long>(address(5)),
                           Load<long long>(address(6)), Load<long long>(address(7)));
}

}  // namespace

DATASRC_AVX512 void PickCellsAvx512(const std::byte* const* starts, int first, int step, int count, OBS* out) {
  const __m512i steps = _mm512_mullo_epi64(_mm512_set_epi64(7, 6, 5, 4, 3, 2, 1, 0), _mm512_set1_epi64(step));
  int i = 0;
  int cell = first;
  for (; i + kLanes <= count; i += kLanes, cell += kLanes * step) {
    std::array<const std::byte*, kLanes> groups;
#pragma GCC unroll 8
    for (int lane = 0; lane < kLanes; ++lane)
      groups[static_cast<std::size_t>(lane)] = starts[static_cast<unsigned>(cell + lane * step) / kCodesPerGroup];
    const __m512i codes = LoadLanes([&](std::size_t lane) { return groups[lane]; });
    const __m512i cells = _mm512_add_epi64(_mm512_set1_epi64(cell), steps);
    const __m512i shift = _mm512_slli_epi64(_mm512_and_si512(cells, _mm512_set1_epi64(7)), 3);
    const __m512i code = _mm512_and_si512(_mm512_srlv_epi64(codes, shift), _mm512_set1_epi64(0xFF));

    // A 1 in each byte that is a literal; shifted so that only those before the code are left, which are added up.
    const __m512i literal =
        _mm512_maskz_set1_epi8(_mm512_cmpeq_epi8_mask(codes, _mm512_set1_epi8(static_cast<char>(kCodeLiteral))), 1);
    const __m512i before = _mm512_sllv_epi64(literal, _mm512_sub_epi64(_mm512_set1_epi64(64), shift));
    const __m512i counts = _mm512_sad_epu8(before, _mm512_setzero_si512());
    alignas(64) std::array<std::uint64_t, kLanes> literals;
    _mm512_store_si512(literals.data(), counts);
    const __m512i values =
        LoadLanes([&](std::size_t lane) { return groups[lane] + kCodesPerGroup + literals[lane] * sizeof(OBS); });
    const __mmask8 areLiteral = _mm512_cmpeq_epi64_mask(code, _mm512_set1_epi64(kCodeLiteral));
    _mm512_storeu_si512(out + i, _mm512_mask_mov_epi64(CellsOfCodes(code), areLiteral, values));
  }
  PickCellsPlainly(starts, cell, step, count - i, out + i);
}

#endif
