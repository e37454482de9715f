// The byte-code form of temporary files: blocks of cells, each with its own control byte.
//
//   block := control byte (high nibble: number c of codes, low nibble: number l of literals),
//            c code bytes, l literals of 8 bytes
//
// The cells of a block are the c coded ones, then the l literals. Every call of WriteCompressed ends its last block,
// so that a reader can ask for the same runs of cells that were written. The codes are those of CaseCodes.h, without
// 0 and 252. The form is private to the process that wrote it: its bytes are never swapped.
//
// Each function throws CompressedStreamError when the stream comes up short inside a run. The readers return false at
// a clean end before the first block.
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
  // Returns the errno of the failure, 0 when the system gave none.
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

// Reads `count` cells. Asserts that whole blocks hold exactly this number.
bool ReadCompressed(QUAV_StrBaseIO& stream, OBS* cells, long count);
// The same for a stream with a window on its bytes. Decodes inside the window.
bool DecodeCompressed(QUAV_FileStream& stream, OBS* cells, long count);
void WriteCompressed(QUAV_StrBaseIO& stream, const OBS* cells, long count);
// Skips `count` cells.
bool SkipCompressed(QUAV_StrBaseIO& stream, long count);
// Copies the blocks of `count` cells unchanged.
bool CopyPrecompressed(QUAV_StrBaseIO& from, QUAV_StrBaseIO& to, long count);

#endif
