// Reads the plain bytes of a stream in zlib blocks: it has a position, and a window on the block there.
//
// A block is inflated when its first byte is needed. From the third block in sequence on, threads inflate the
// following blocks ahead of the reader. (A single case may lie in two blocks: reading it inflates nothing ahead.)
//
// Failures: a block that cannot be read, or in which a byte is wrong, gives no byte at all. The first failure is
// remembered until Clear; the next call tries again.
//
//   EBADMSG   a byte of the block is wrong
//   ENODATA   the end of the file is missing, and the stream ends where the blocks do
//   others    the errno of the system
//
// Threads: one thread at a time. The reader's own threads read the file at absolute positions, and share nothing else.

#ifndef PLATFORM_STREAM_ZLIBBLOCKREADER_H
#define PLATFORM_STREAM_ZLIBBLOCKREADER_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/stream/OrderedJobs.h"
#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/ZlibBlockSearch.h"

class ZlibBlockReader {
 public:
  using Window = QUAV_FileStream::Window;

  // The reader keeps the file open. `threads` is the number of threads that inflate ahead; it may be 0.
  ZlibBlockReader(std::shared_ptr<const QUAV_File> file, std::shared_ptr<const ZlibBlocksFound> found, ByteOrder order,
                  int threads);
  ~ZlibBlockReader();

  std::int64_t Position() const { return m_windowEnd - (m_end - m_next); }
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
  struct Load;
  class Loader;

  std::size_t Held() const { return static_cast<std::size_t>(m_end - m_next); }
  const ZlibBlockList& List() const { return m_found->list; }
  bool NextBlock();
  bool Fail(int reason);
  bool IsAheadWorthIt() const;
  void StartThreads();
  std::unique_ptr<Load> NewLoad(std::size_t index);
  std::unique_ptr<Load> Fetch(std::size_t index);
  std::unique_ptr<Load> FetchAhead(std::size_t index);
  void TakeOver(std::unique_ptr<Load> load);

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::shared_ptr<const QUAV_File> m_file;
  std::shared_ptr<const ZlibBlocksFound> m_found;
  const ByteOrder m_order;
  const int m_threadCount;

  std::unique_ptr<Load> m_load;       // the block in the window; null at first
  std::size_t m_loadedIndex = kNone;  // its index
  std::size_t m_nextIndex = 0;        // the block after the window
  int m_inSequence = 0;               // how many of the last loaded blocks followed one another
  const std::byte* m_next = nullptr;  // the window
  const std::byte* m_end = nullptr;
  std::int64_t m_windowEnd = 0;  // the position of the window's end; without a window, the reader's position
  bool m_metEnd = false;
  int m_error = 0;

  std::unique_ptr<Loader> m_loader;            // for this thread
  std::unique_ptr<Load> m_spare;               // memory to reuse
  std::unique_ptr<OrderedJobs<Load>> m_ahead;  // null until blocks are read in sequence
  std::size_t m_aheadFirst = 0;                // the oldest block in m_ahead
};

#endif
