// Reads the plain bytes of a stream in zlib blocks: a position, and a window on the block there.
//
// A block is inflated when its first byte is asked for. From the third block in sequence on, threads inflate those that
// follow ahead of the reader. (What a single case takes may lie in two: nothing is inflated ahead for that.)
//
// Failures: a block that cannot be read, or in which a byte is wrong, gives no byte at all. The first failure is
// remembered until Clear; the next call tries anew.
//
//   EBADMSG   a byte of the block is wrong
//   ENODATA   the end of the file is missing, and the stream ends where the blocks do
//   others    as the system had them
//
// Threads: one thread at a time. The threads of its own read the file at places, and share nothing else.

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

  // The file stays open as long as the reader lives. `threads` inflate ahead; 0: none does.
  ZlibBlockReader(std::shared_ptr<const QUAV_File> file, std::shared_ptr<const ZlibBlocksFound> found, ByteOrder order,
                  int threads);
  ~ZlibBlockReader();

  std::int64_t Position() const { return m_windowEnd - (m_end - m_next); }
  std::int64_t Length() const { return m_found->list.length; }
  // Any position from 0 on. What it costs is paid by the next Peek or Read.
  void Seek(std::int64_t position);
  // The count of bytes read: less than asked for at the end of the stream, or on a failure.
  std::size_t Read(std::byte* to, std::size_t count);
  // As those of QUAV_FileStream.
  Window Peek(std::size_t wanted);
  void Skip(std::size_t count);

  bool MetEnd() const { return m_metEnd; }
  int Error() const { return m_error; }
  void Clear();
  // Bytes of memory that the blocks take at present.
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
  std::size_t m_loadedIndex = kNone;  // which it is
  std::size_t m_nextIndex = 0;        // the block behind the window
  int m_inSequence = 0;               // of the blocks loaded last so many came behind one another
  const std::byte* m_next = nullptr;  // the window
  const std::byte* m_end = nullptr;
  std::int64_t m_windowEnd = 0;  // the position of its end; without a window the reader's
  bool m_metEnd = false;
  int m_error = 0;

  std::unique_ptr<Loader> m_loader;            // this thread's own
  std::unique_ptr<Load> m_spare;               // memory to use again
  std::unique_ptr<OrderedJobs<Load>> m_ahead;  // null until blocks are read in sequence
  std::size_t m_aheadFirst = 0;                // the oldest block given to it
};

#endif
