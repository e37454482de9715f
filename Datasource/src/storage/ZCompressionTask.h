// The work on one compressed file: its buffers, the table of its blocks, and the two sides that share them. The
// protocol is described in zcompressedfilestr.h.
//
//   block in the file := zlib block, padding up to a multiple of 16 bytes
//
// Blocks follow one another from the start of the file. Each block holds ZCompressed_FileStream::kBufferSize bytes of
// the stream. Only the last block of each run may hold fewer.
//
// Threads: comThreadFunc and decThreadFunc run on the task's thread, all other public functions on the caller's. The
// pool calls Begin, End and Forget between runs.

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

// The semaphores on which the two sides of one run wait for each other.
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

  // Where a block lies in the file, and which part of the stream it holds.
  struct CompressedPosition {
    long position;        // the block's, in the file
    std::size_t length;   // in the file, with padding
    std::size_t padding;  // 0 to 15
    long start;           // the block's first byte, in the uncompressed stream
    std::size_t size;     // bytes in the uncompressed stream
  };

  // The result of a read: the request is served; this run cannot serve it, but another one may; the disk failed.
  enum class ReadResult { done, needsNewRun, failed };

  ZCompressionTask(const std::shared_ptr<QUAV_File>& file, std::string name);
  ZCompressionTask(const ZCompressionTask&) = delete;
  ZCompressionTask& operator=(const ZCompressionTask&) = delete;
  virtual ~ZCompressionTask();

  // ---- Between runs ----

  // Returns whether the table describes this open file.
  bool IsOf(const std::shared_ptr<QUAV_File>& file) const;
  // Returns whether the table describes a file of this name. If so, it describes this opening of the file from now
  // on.
  bool CheckFile(const std::shared_ptr<QUAV_File>& file, const std::string& name);
  // Returns whether no stream can use the file any more.
  bool IsUnused() const { return users == 0 && m_file.expired(); }
  // Prepares a run. A thread in read mode begins at `wanted`, a position in the stream.
  void Begin(bool write, long wanted);
  void End();
  // Drops the buffers, the table and the file. Called when no stream can use them any more.
  void Forget();

  // ---- Caller ----

  bool IsWriting() const { return m_writeMode; }
  // Returns the bytes written so far, whether they are in the file yet or not. There is nothing to read from this
  // position on.
  long Length() const { return m_length; }
  // Returns whether a block of the table holds the position.
  bool HasBlock(long wanted) const;
  // Returns the errno of the write that failed, 0 if none did.
  int Fault() const { return m_fault.load(std::memory_order_relaxed); }
  // Returns the errno of the read that ended the last run.
  int ReadFault() const { return m_readFault; }

  // Takes all bytes of the request. A buffer that is not full waits for the next request. Returns 0 or an errno.
  int Write(WriteRequest& request);
  // Serves the request, at most up to Length().
  ReadResult Read(ReadRequest& request);
  // Tell the thread that there is nothing more to write, or to read. FinishWriting waits until all is written.
  void FinishWriting();
  void StopReading();

  // ---- Thread ----

  void* comThreadFunc();
  void* decThreadFunc();

  // Compresses `inSize` bytes into one block. `outSize` is the room at first, and the size of the block afterwards.
  // Returns Z_STREAM_END, or the error of deflate; -5 when deflate reports success before it is at the end.
  static int Compression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize);
  // Decompresses a block. Returns 0, or the error of inflate; -3 when the bytes are no whole block.
  static int Decompression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize);

  // For the pool.
  int index = -1;
  int age = 0;
  int users = 0;      // the number of streams that have the index
  bool runs = false;  // a thread works on it; the streams of its file read this too

 protected:
  // Tests break the protocol here, to see that it is asserted.
  std::optional<ZCompressionSignals> m_semaphores;  // new ones for each run
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
  std::weak_ptr<QUAV_File> m_file;       // the file that the table describes
  std::shared_ptr<QUAV_File> m_runFile;  // set during a run: the task is then a user of the file
  std::string m_name;
  DataBuffer* m_active = nullptr;  // guarded by m_stateLock
  sfMutex m_stateLock;
  sfMutex m_positionLock;
  std::vector<CompressedPosition> m_blocks;  // the thread's in write mode; constant in read mode
  std::unique_ptr<DataBuffer> m_buffers[2];
  bool m_finished = false;  // the thread's: no more buffers will become ready
  long m_requested = 0;     // guarded by m_positionLock
  bool m_stop = false;      // guarded by m_stateLock: the flush has come
  bool m_ended = false;     // guarded by m_stateLock: a thread in read mode hands over no more buffers
  int m_readFault = 0;      // guarded like m_ended
  std::atomic<int> m_fault = 0;
  long m_length = 0;  // the caller's
};

#endif
