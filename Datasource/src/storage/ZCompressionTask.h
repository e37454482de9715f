// The work of one compressed file: its buffers, the table of its blocks, and the two sides that meet there. The
// protocol is told in zcompressedfilestr.h.
//
//   block in the file := zlib block, padding up to a multiple of 16 bytes
//
// Blocks follow one another from the start of the file. Each holds ZCompressed_FileStream::kBufferSize bytes of the
// stream, but the last one of each run, which holds what there was.
//
// Threads: comThreadFunc and decThreadFunc on the task's thread, all else on the caller's. What the pool does (Begin,
// End, Forget) comes between runs.

#ifndef DATASRC_SRC_STORAGE_ZCOMPRESSIONTASK_H
#define DATASRC_SRC_STORAGE_ZCOMPRESSIONTASK_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/stream/QUAV_File.h"
#include "Platform/threads/sfMutex.h"
#include "Platform/threads/sfSemaphore.h"
#include "storage/zcompressedfilestr.h"

// How the two sides of one run wait for each other.
struct ZCompressionSignals {
  sfSemaphore freeBuffers{2};
  sfSemaphore readyBuffers{0};
  sfSemaphore finished{0};
};

class ZCompressionTask {
 public:
  using DataBuffer = ZCompressed_FileStream::DataBuffer;
  using ReadRequest = ZCompressed_FileStream::ReadRequest;
  using WriteRequest = ZCompressed_FileStream::WriteRequest;

  // Where a block is: in the file, and what it holds of the stream.
  struct CompressedPosition {
    long position;        // in the file
    std::size_t length;   // there, with padding
    std::size_t padding;  // 0 to 15
    long start;           // in the uncompressed stream
    std::size_t size;     // there
  };

  // How a read came out: the request is served; the run cannot serve it and another one may; the disk failed.
  enum class ReadResult { done, needsNewRun, failed };

  ZCompressionTask(const std::shared_ptr<QUAV_File>& file, std::string name);
  ZCompressionTask(const ZCompressionTask&) = delete;
  ZCompressionTask& operator=(const ZCompressionTask&) = delete;
  virtual ~ZCompressionTask();

  // ---- Between runs ----

  // Whether the table is about this open file.
  bool IsOf(const std::shared_ptr<QUAV_File>& file) const;
  // Whether the table is about a file of this name. If so, it is about this opening of it from now on.
  bool CheckFile(const std::shared_ptr<QUAV_File>& file, const std::string& name);
  // Whether nobody can ask for the file any more.
  bool IsUnused() const { return users == 0 && m_file.expired(); }
  // Makes ready for a thread. A thread in read mode begins at `wanted`, a position in the stream.
  void Begin(bool write, long wanted);
  void End();
  // Gives up buffers, table and file: nobody will ask for them.
  void Forget();

  // ---- Caller ----

  bool IsWriting() const { return m_writeMode; }
  // The bytes written so far, be they in the file or not; a position behind it has nothing to read.
  long Length() const { return m_length; }
  // Whether a block of the table holds the position.
  bool HasBlock(long wanted) const;
  // The errno of the write that failed, 0 for none.
  int Fault() const { return m_fault.load(std::memory_order_relaxed); }
  // The errno of the read that ended the last run.
  int ReadFault() const { return m_readFault; }

  // Takes what the request has, until a buffer waits for more. Answers 0 or an errno.
  int Write(WriteRequest& request);
  // Serves the request as far as Length().
  ReadResult Read(ReadRequest& request);
  // Tells the thread that nothing more is written, or read.
  void FinishWriting();
  void StopReading();

  // ---- Thread ----

  void* comThreadFunc();
  void* decThreadFunc();

  // Compresses `inSize` bytes into one block. `outSize` is the room on the way in, the size of the block on the way
  // out. Answers Z_STREAM_END, or what deflate said; -5 when it was content but not at the end.
  static int Compression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize);
  // The reverse. Answers 0, or what inflate said; -3 when the bytes are no whole block.
  static int Decompression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize);

  // For the pool.
  int index = -1;
  int age = 0;
  int users = 0;  // streams that have the index

 protected:
  // Tests break the protocol here, to see it asserted.
  std::optional<ZCompressionSignals> m_semaphores;  // anew for each run
  std::unique_ptr<DataBuffer> m_compressed;         // the thread's

 private:
  void NeedBuffers();
  DataBuffer* Lowest(DataBuffer::State state);
  DataBuffer* Take(DataBuffer::State from, DataBuffer::State to);
  bool TakeActive(DataBuffer::State from, DataBuffer::State to);
  void Hand(DataBuffer& buffer, bool isLast);
  void Free(DataBuffer& buffer);

  void TakeActiveForWriting();
  void Request(long wanted);
  bool TakeActiveForReading();
  bool IsDrained();

  DataBuffer* TakeForCompressing();
  int Flush(DataBuffer& buffer);
  int Append(DataBuffer& buffer, std::size_t size);

  bool WaitForFree();
  std::size_t NextBlock(std::size_t next);
  int Fill(DataBuffer& buffer, const CompressedPosition& block);
  void FailReading(int error);
  std::size_t BlockAt(long wanted) const;

  bool m_writeMode = false;
  std::weak_ptr<QUAV_File> m_file;       // the file that the table is about
  std::shared_ptr<QUAV_File> m_runFile;  // during a run: the task is one of its users
  std::string m_name;
  DataBuffer* m_active = nullptr;  // guarded by m_stateLock
  sfMutex m_stateLock;
  sfMutex m_positionLock;
  std::vector<CompressedPosition> m_blocks;  // the thread's in write mode; else nobody changes it
  std::unique_ptr<DataBuffer> m_buffers[2];
  bool m_finished = false;  // the thread's: nothing will be ready any more
  long m_requested = 0;     // guarded by m_positionLock
  bool m_stop = false;      // guarded by m_stateLock: the flush has come
  bool m_ended = false;     // guarded by m_stateLock: a thread in read mode hands over no more
  int m_readFault = 0;      // as m_ended
  std::atomic<int> m_fault = 0;
  long m_length = 0;  // the caller's
};

#endif
