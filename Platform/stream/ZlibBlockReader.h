// Reads the plain bytes of a stream in zlib blocks: it has a position, and a window on the bytes there.
//
//   ZlibBlockReader    which block is next, the end, failures
//   ZlibBlockWindow    the position, and the bytes in memory from there on
//   ZlibBlockLoader    blocks from the file, some of them ahead of the reader
//
// A block is inflated when its first byte is needed, or ahead when blocks are read in sequence.
//
// Failures: a block that cannot be read, or in which a byte is wrong, gives no byte at all. The first failure is
// remembered until Clear; the next call tries again.
//
//   EBADMSG   a byte of the block is wrong
//   ENODATA   the end of the file is missing, and the stream ends where the blocks do
//   others    the errno of the system
//
// Threads: one thread at a time.

#ifndef PLATFORM_STREAM_ZLIBBLOCKREADER_H
#define PLATFORM_STREAM_ZLIBBLOCKREADER_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/stream/ZlibBlockLoader.h"
#include "Platform/stream/ZlibBlockWindow.h"

class ZlibBlockReader {
 public:
  using Window = QUAV_FileStream::Window;

  // The reader keeps the file open. `threads` is the number of threads that inflate ahead; it may be 0.
  ZlibBlockReader(const std::shared_ptr<const QUAV_File>& file, std::shared_ptr<const ZlibBlocksFound> found,
                  ByteOrder order, int threads);

  std::int64_t Position() const { return m_window.Position(); }
  std::int64_t Length() const { return m_found->list.length; }
  // Any position from 0 on. The cost comes with the next Peek or Read.
  void Seek(std::int64_t position);
  // Returns the number of bytes read: less than requested at the end of the stream, or on a failure.
  std::size_t Read(std::byte* to, std::size_t count);
  // As Peek and Skip of QUAV_FileStream.
  Window Peek(std::size_t wanted);
  void Skip(std::size_t count);

  bool MetEnd() const { return m_metEnd; }
  int Error() const { return m_error; }
  void Clear();
  // The bytes of memory that the blocks take at present.
  std::size_t Footprint() const;

 private:
  bool NextBlock();
  bool Fail(int reason);

  std::shared_ptr<const ZlibBlocksFound> m_found;
  ZlibBlockLoader m_loader;
  ZlibBlockWindow m_window;
  std::size_t m_nextIndex = 0;  // the block after the window
  bool m_metEnd = false;
  int m_error = 0;
};

#endif
