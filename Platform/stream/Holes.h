// The holes of a file: ranges in front of its end that were never written, and read as zero bytes.
//
// For files whose bytes on disk are not those that their users see: there the zeros that the file system has in a hole
// mean nothing. A file that is written in sequence has none.
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
  // [begin, end), where no hole is yet.
  void Add(std::int64_t begin, std::int64_t end);
  // [begin, end) was written.
  void Fill(std::int64_t begin, std::int64_t end);
  // Sets those of the bytes to zero that lie in a hole. The first of them is at `offset` of the file.
  void Clear(std::byte* bytes, std::size_t size, std::int64_t offset) const;

 private:
  std::map<std::int64_t, std::int64_t> m_holes;  // begin to end; they do not touch
};

#endif
