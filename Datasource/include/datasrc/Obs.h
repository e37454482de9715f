// The cell, the unit of every case.
//
// A case is a plain array of cells of 8 bytes. A numeric variable has one cell, an IEEE 754 double in the host's byte
// order. A string variable of width w has CellCount(w) cells, which hold its bytes in order, filled with blanks,
// without a terminator. A cell does not say which of the two it is; the variable's type does.
//
//   type       cells          bytes of the field
//   0          1              8       a number
//   1..8       1              8       a string
//   9..32767   (w + 7) / 8    8 * cells
//
// Copy whole cells, and read them with the helpers here. Compare system-missing and the other special numbers by bits,
// never as doubles.
//
// Threads: any; cells are plain values.

#ifndef DATASRC_OBS_H
#define DATASRC_OBS_H

#include <bit>
#include <cstdint>
#include <type_traits>

#include "Platform/Export.h"

struct OBS {
  std::uint64_t bits;

  bool operator==(const OBS&) const = default;
};
static_assert(sizeof(OBS) == 8 && std::is_trivial_v<OBS>);

// The widest string, in bytes.
inline constexpr int MAX_STRING_TYPE = 32767;

inline constexpr std::uint64_t kSystemMissingBits = 0xFFEFFFFFFFFFFFFF;
inline constexpr std::uint64_t kHighNumberBits = 0x7FEFFFFFFFFFFFFF;
inline constexpr OBS kSystemMissingCell{kSystemMissingBits};
inline constexpr OBS kBlankCell{0x2020202020202020};

inline constexpr OBS NumberCell(double number) { return OBS{std::bit_cast<std::uint64_t>(number)}; }
inline constexpr double CellNumber(const OBS& cell) { return std::bit_cast<double>(cell.bits); }

// The bytes of the cells from `cell` on. The pointer lives as long as the cells.
inline const char* CellText(const OBS* cell) { return reinterpret_cast<const char*>(cell); }
inline char* CellText(OBS* cell) { return reinterpret_cast<char*>(cell); }

// Returns the number of cells of a variable of the type.
inline constexpr unsigned int CellCount(int type) {
  return 0 <= type && type <= 8 ? 1u : static_cast<unsigned int>(type + 7) / 8;
}
// Returns the number of bytes of those cells.
inline constexpr unsigned int FieldSize(int type) { return CellCount(type) * 8; }

#endif
