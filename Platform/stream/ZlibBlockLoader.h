// Loads zlib blocks of a file into memory: one by one, or ahead of a reader that goes on from block to block.
//
// From the third block in sequence on, threads load the following ones ahead. (A single case may lie in two blocks:
// reading it loads nothing ahead.)
//
// Threads: one thread at a time. The loader's own threads read the file at absolute positions, and share nothing else.

#ifndef PLATFORM_STREAM_ZLIBBLOCKLOADER_H
#define PLATFORM_STREAM_ZLIBBLOCKLOADER_H

#include <cstddef>
#include <memory>

#include "Platform/stream/OrderedJobs.h"
#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/ZlibBlockSearch.h"

// A block in memory. Before its bytes is room for the rest of a window.
struct LoadedZlibBlock {
  static constexpr std::size_t kRoomBefore = QUAV_FileStream::kMaxPeek;
  static constexpr std::size_t kMemorySize = kRoomBefore + kMostPlainBlockSize;

  ZlibBlock block;
  int error = 0;  // why its bytes are not there: EBADMSG for a wrong byte, or the errno of the system; else 0
  std::unique_ptr<std::byte[]> memory = std::make_unique_for_overwrite<std::byte[]>(kMemorySize);

  std::byte* Plain() const { return memory.get() + kRoomBefore; }
};

class ZlibBlockLoader {
 public:
  // The loader keeps the file open. `threads` is the number of threads that load ahead; it may be 0.
  ZlibBlockLoader(std::shared_ptr<const QUAV_File> file, std::shared_ptr<const ZlibBlocksFound> found, ByteOrder order,
                  int threads);
  ~ZlibBlockLoader();

  // Returns the block, with its error when it could not be loaded. Never null.
  std::unique_ptr<LoadedZlibBlock> Load(std::size_t index);
  // Takes back a block that is no longer needed, for its memory; null is allowed.
  void Reuse(std::unique_ptr<LoadedZlibBlock> block);
  // The bytes of memory that the loader's blocks take at present.
  std::size_t Footprint() const;

 private:
  class Tools;

  std::unique_ptr<LoadedZlibBlock> NewBlock(std::size_t index);
  std::unique_ptr<LoadedZlibBlock> LoadHere(std::size_t index);
  std::unique_ptr<LoadedZlibBlock> LoadAhead(std::size_t index);
  void StartThreads();

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::shared_ptr<const QUAV_File> m_file;
  std::shared_ptr<const ZlibBlocksFound> m_found;
  const ByteOrder m_order;
  const int m_threadCount;

  std::size_t m_last = kNone;  // the block that was loaded last; kNone after a failure, which ends a sequence
  int m_inSequence = 0;        // how many of the last loaded blocks followed one another

  std::unique_ptr<Tools> m_tools;                         // for this thread
  std::unique_ptr<LoadedZlibBlock> m_spare;               // memory to reuse
  std::unique_ptr<OrderedJobs<LoadedZlibBlock>> m_ahead;  // null until blocks are loaded in sequence
  std::size_t m_aheadFirst = 0;                           // the oldest block in m_ahead
};

#endif
