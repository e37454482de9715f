// The byte-code form of temporary files: blocks of cells, each with a control byte of its own.
//
//   block := control byte (high nibble: number c of codes, low nibble: number l of literals),
//            c code bytes, l literals of 8 bytes
//
// The cells of a block are the c coded ones, then the l literals. Every call of WriteCompressed ends with a block of
// its own, so a reader asks for the same runs of cells that were written. The codes are those of CaseCodes.h, without 0
// and 252. The form is private to the process that wrote it: nothing in it is ever turned over.
//
// A stream that comes up short inside a run throws CompressedStreamError. A clean end in front of the first block is
// answered by false.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_STORAGE_COMPRESSEDSTREAM_H
#define DATASRC_SRC_STORAGE_COMPRESSEDSTREAM_H

#include <cstdint>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/QUAV_StrBaseIO.h"
#include "datasrc/Obs.h"

class CompressedStreamError {
 public:
  explicit CompressedStreamError(int error) : m_error(error) {}
  // The errno of the failure, 0 when the system gave none.
  int Error() const { return m_error; }

 private:
  int m_error;
};

class Compression1 {
 public:
  static std::uint8_t Compressed(const OBS& cell);
  static void Decompress(unsigned char code, OBS& cell);

  static const OBS sysmis;
};

// Reads `count` cells. Asserts that the blocks hold exactly so many.
bool ReadCompressed(QUAV_StrBaseIO& stream, OBS* cells, long count);
// The same for a stream with a window on its bytes, decoded there.
bool DecodeCompressed(QUAV_FileStream& stream, OBS* cells, long count);
void WriteCompressed(QUAV_StrBaseIO& stream, const OBS* cells, long count);
// Passes `count` cells by.
bool SkipCompressed(QUAV_StrBaseIO& stream, long count);
// Copies the blocks of `count` cells as they are.
bool CopyPrecompressed(QUAV_StrBaseIO& from, QUAV_StrBaseIO& to, long count);

#endif
