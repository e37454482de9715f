// What a source remembers of its file, to notice when someone else has changed it.
//
// A stamp has the file's identity, its length and its last bytes. An append makes the file longer, with one exception:
// in a byte-code file it may only fill up the last group of codes, which is among the last bytes.
//
// Threads: a value.

#ifndef DATASRC_SRC_SYSTEMFILE_FILESTAMP_H
#define DATASRC_SRC_SYSTEMFILE_FILESTAMP_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "casecodes/GroupDecoder.h"

class FileStamp {
 public:
  // The stamp of no file; it matches nothing.
  FileStamp() = default;
  // The stamp of the file as it is now. The stream is open and holds no unwritten bytes. When the file cannot be read,
  // this is the stamp of no file, and errno has the reason.
  static FileStamp Of(const QUAV_FileStream& stream);

  bool IsKnown() const { return m_isKnown; }
  // Returns whether both are stamps of the same file in the same state.
  bool Matches(const FileStamp& other) const;

 private:
  bool m_isKnown = false;
  QUAV_File::Identity m_identity;
  std::int64_t m_length = 0;
  std::array<std::byte, kMaxGroupSize> m_end{};  // shorter files leave zero bytes
};

#endif
