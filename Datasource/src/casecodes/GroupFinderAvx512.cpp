// Group starts are found in stretches of 55 words of 8 bytes. Each word is taken as if a group started there:
//
//   mark     for each word: which of its bytes are literals (their number gives the next group), and whether it is
//            plain at all
//   jump     a table of 64 places: for each word of the stretch the place where the next group starts. A place from 55
//            on is a word after the stretch, which 9 words can be; it leads to itself, as does a word that is not plain.
//            The table applied to itself jumps two groups, that one applied to itself four, and so on to 64
//   follow   place k of the list is reached from the entry by k jumps: of 1, 2, 4, .. groups, as the bits of k say
//
// Only the entry of a stretch depends on the stretch before it, and it costs one look-up in the last table.

#include "casecodes/GroupFinder.h"

#ifdef DATASRC_AVX512

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace {

constexpr int kPlaces = 64;
constexpr int kLongestGroup = static_cast<int>(kMaxGroupSize / sizeof(OBS));  // in words
constexpr int kWords = kPlaces - kLongestGroup;                               // of a stretch
constexpr int kVectors = 7;                                                   // that cover the words of a stretch
constexpr int kStretches = 4;                                                 // marked at once
static_assert(kVectors * 8 >= kWords);

constexpr std::ptrdiff_t kStretchSize = kWords * 8;
// Every group of a stretch may be read to its end, whatever its length is.
constexpr std::ptrdiff_t kStretchReach = kStretchSize - 8 + static_cast<std::ptrdiff_t>(kMaxGroupSize);
static_assert(kStretchReach >= std::ptrdiff_t{kVectors} * 64);

// Starts of groups, as a place in a stretch each.
using Places = std::array<std::uint8_t, kPlaces>;

constexpr Places kSame = [] {
  Places places{};
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = static_cast<std::uint8_t>(i);
  return places;
}();

// A byte for each word of a stretch, with a bit for each of the word's bytes.
struct alignas(64) Marks {
  std::array<std::uint64_t, 8> literals;
  std::array<std::uint64_t, 8> notPlain;  // codes 0 and 252
};

DATASRC_AVX512 inline void Mark(const std::byte* words, Marks& marks) {
  const __m512i literal = _mm512_set1_epi8(static_cast<char>(kCodeLiteral));
  const __m512i end = _mm512_set1_epi8(static_cast<char>(kCodeEndOfGroup));
#pragma GCC unroll 8
  for (std::size_t i = 0; i < kVectors; ++i) {
    const __m512i codes = _mm512_loadu_si512(words + 64 * i);
    const __m512i zeros = _mm512_min_epu8(codes, _mm512_xor_si512(codes, end));
    marks.literals[i] = _mm512_cmpeq_epi8_mask(codes, literal);
    marks.notPlain[i] = _mm512_testn_epi8_mask(zeros, zeros);
  }
  marks.literals[kVectors] = marks.notPlain[kVectors] = 0;
}

// Returns the number of bits in each byte.
DATASRC_AVX512 inline __m512i CountBits(__m512i bytes) {
  const __m512i counts = _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4));
  const __m512i low = _mm512_set1_epi8(0xF);
  return _mm512_add_epi8(_mm512_shuffle_epi8(counts, _mm512_and_si512(bytes, low)),
                         _mm512_shuffle_epi8(counts, _mm512_and_si512(_mm512_srli_epi16(bytes, 4), low)));
}

// The lists of places that have bit 0, 1, .. of their index set.
constexpr std::array<std::uint64_t, 6> kWithBit = {0xAAAAAAAAAAAAAAAA, 0xCCCCCCCCCCCCCCCC, 0xF0F0F0F0F0F0F0F0,
                                                   0xFF00FF00FF00FF00, 0xFFFF0000FFFF0000, 0xFFFFFFFF00000000};

struct alignas(64) Stretch {
  Places places;  // of the groups, in order; then the exit, again and again
  Places exits;   // for each place
};

// Follows the groups of a stretch from the entry. Returns the exit: the place of the first group that is not one of
// them.
DATASRC_AVX512 inline unsigned Follow(const Marks& marks, unsigned entry, Stretch& stretch) {
  const __m512i same = _mm512_loadu_si512(kSame.data());
  const __m512i notPlain = _mm512_load_si512(marks.notPlain.data());
  const __mmask64 stays = _mm512_test_epi8_mask(notPlain, notPlain) | ~std::uint64_t{0} << kWords;
  const __m512i literals = CountBits(_mm512_load_si512(marks.literals.data()));
  const __m512i next = _mm512_add_epi8(_mm512_add_epi8(same, _mm512_set1_epi8(1)), literals);
  __m512i jump = _mm512_mask_mov_epi8(next, stays, same);
  __m512i places = _mm512_set1_epi8(static_cast<char>(entry));
#pragma GCC unroll 8
  for (const std::uint64_t withBit : kWithBit) {
    places = _mm512_mask_permutexvar_epi8(places, withBit, places, jump);
    jump = _mm512_permutexvar_epi8(jump, jump);
  }
  _mm512_store_si512(stretch.places.data(), places);
  _mm512_store_si512(stretch.exits.data(), jump);
  return stretch.exits[entry];
}

// Stores the places from index `first` on, at most eight of them, as pointers: those of which `which` has the bit.
DATASRC_AVX512 inline void StoreStarts(const std::byte** starts, const Stretch& stretch, std::size_t first,
                                       const std::byte* words, std::uint64_t which) {
  const __m512i places = _mm512_cvtepu8_epi64(_mm_loadu_si64(&stretch.places[first]));
  const __m512i base = _mm512_set1_epi64(std::bit_cast<long long>(words));
  _mm512_mask_storeu_epi64(starts + first, static_cast<__mmask8>(which >> first),
                           _mm512_add_epi64(base, _mm512_slli_epi64(places, 3)));
}

}  // namespace

DATASRC_AVX512 int FindGroupsAvx512(const std::byte*& in, const std::byte* inEnd, int count, const std::byte** starts) {
  constexpr int kTooFew = 16;
  const std::byte* group = in;
  int done = 0;
  while (count - done > kTooFew) {
    // Runs of groups with nothing but literals are faster to predict than to calculate.
    while (done < count && inEnd - group >= static_cast<std::ptrdiff_t>(kMaxGroupSize) &&
           Load<std::uint64_t>(group) == EveryByte(kCodeLiteral)) {
      starts[done++] = group;
      group += kMaxGroupSize;
    }

    const std::byte* words = group;
    const std::ptrdiff_t left = inEnd - words;
    if (left < kStretchReach) break;
    const int most = std::min<int>(kStretches, (count - done) * kLongestGroup / kWords + 1);
    const auto stretches =
        static_cast<std::size_t>(std::min<std::ptrdiff_t>(most, (left - kStretchReach) / kStretchSize + 1));
    std::array<Marks, kStretches> marks;
    for (std::size_t i = 0; i < stretches; ++i) Mark(words + static_cast<std::ptrdiff_t>(i) * kStretchSize, marks[i]);

    unsigned entry = 0;
    for (std::size_t i = 0; i < stretches; ++i, words += kStretchSize) {
      Stretch stretch;
      unsigned exit = Follow(marks[i], entry, stretch);
      const __m512i places = _mm512_load_si512(stretch.places.data());
      int found =
          std::popcount(std::uint64_t{_mm512_cmplt_epu8_mask(places, _mm512_set1_epi8(static_cast<char>(exit)))});
      if (found > count - done) {
        found = count - done;
        exit = stretch.places[static_cast<std::size_t>(found)];
      }
      const std::uint64_t which = ~(~std::uint64_t{0} << found);
      StoreStarts(starts + done, stretch, 0, words, which);
      StoreStarts(starts + done, stretch, 8, words, which);
      if (found > 16) {  // most stretches have few groups, or many
#pragma GCC unroll 8
        for (std::size_t first = 16; first < kWords; first += 8)
          StoreStarts(starts + done, stretch, first, words, which);
      }
      done += found;
      group = words + std::size_t{exit} * 8;
      if (exit < kWords) {  // at the last group, or at one that is not plain
        in = group;
        return done;
      }
      entry = exit - kWords;
    }
  }
  in = group;
  return done + FindGroupsPortably(in, inEnd, count - done, starts + done);
}

#endif
