// The holes of a file: ranges before its end that were never written and read as zero bytes.
//
// This class is for files whose bytes on disk differ from the plain bytes: there the zeros that the file system has
// in a hole mean nothing. A file that is written in sequence has no holes.
//
// Threads: a value; one thread at a time.

#ifndef PLATFORM_STREAM_HOLES_H
#define PLATFORM_STREAM_HOLES_H

#include <cstddef>
#include <cstdint>
#include <map>

class Holes {
 public:
  bool None() const { return m_holes.empty(); }
  // Adds the hole [begin, end), which must not overlap another.
  void Add(std::int64_t begin, std::int64_t end);
  // Removes [begin, end) from the holes, because it was written.
  void Fill(std::int64_t begin, std::int64_t end);
  // Sets each byte that lies in a hole to zero. The first byte is at `offset` of the file.
  void Clear(std::byte* bytes, std::size_t size, std::int64_t offset) const;

 private:
  std::map<std::int64_t, std::int64_t> m_holes;  // begin to end; they do not overlap
};

#endif
