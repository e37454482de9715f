// A run of a task in read mode: the task's thread fills buffers with block after block, ahead of the caller. The
// protocol is described in zcompressedfilestr.h.
//
// Threads: Work runs on the task's thread, the other functions on the caller's.

#ifndef DATASRC_SRC_STORAGE_ZREADRUN_H
#define DATASRC_SRC_STORAGE_ZREADRUN_H

#include "Platform/threads/sfMutex.h"
#include "storage/ZBlockFile.h"
#include "storage/ZBufferPair.h"
#include "storage/zcompressedfilestr.h"

class ZReadRun {
 public:
  using DataBuffer = ZCompressed_FileStream::DataBuffer;
  using ReadRequest = ZCompressed_FileStream::ReadRequest;
  using Kept = ZBufferPair::Kept;

  // The result of a read: the request is served; this run cannot serve it, but another one may; the disk failed.
  enum class Result { done, needsNewRun, failed };

  // Begins at the block that holds `wanted`. Buffers and blocks outlive the run; the table must hold a block.
  ZReadRun(ZBufferPair& buffers, ZBlockFile& blocks, long wanted)
      : m_buffers(buffers), m_blocks(blocks), m_requested(wanted) {}

  // Serves the request of the stream that owns `kept`, up to the position `end`. The stream that read before gets the
  // block that it was in.
  Result Read(ReadRequest& request, long end, Kept& kept);
  // Gives the present block to the stream that reads it.
  void KeepBlock();
  // Forgets a stream. It must not be used any more.
  void Leaves(const Kept& kept);
  // Tells the thread that nothing more is read.
  void Stop();
  // Returns the errno that ended the run. The result `failed`, or the end of the thread, comes before.
  int Fault() const { return m_fault; }

  void Work();

 private:
  void Request(long wanted);
  bool TakeActive();
  bool WaitForFree();
  std::size_t NextBlock(std::size_t next);

  ZBufferPair& m_buffers;
  ZBlockFile& m_blocks;
  Kept* m_reader = nullptr;  // the caller's: of the stream that read last; null: none
  sfMutex m_positionLock;
  long m_requested;  // guarded by m_positionLock
  int m_fault = 0;   // the thread's until it hands over no more buffers; then the caller's
};

#endif
