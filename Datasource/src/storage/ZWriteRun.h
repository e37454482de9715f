// A run of a task in write mode: the caller fills buffers, and the task's thread compresses them and appends them to
// the file. The protocol is described in zcompressedfilestr.h.
//
// Threads: Work runs on the task's thread, the other functions on the caller's.

#ifndef DATASRC_SRC_STORAGE_ZWRITERUN_H
#define DATASRC_SRC_STORAGE_ZWRITERUN_H

#include "storage/ZBlockFile.h"
#include "storage/ZBufferPair.h"
#include "storage/zcompressedfilestr.h"

class ZWriteRun {
 public:
  using DataBuffer = ZCompressed_FileStream::DataBuffer;
  using WriteRequest = ZCompressed_FileStream::WriteRequest;

  // Both outlive the run.
  ZWriteRun(ZBufferPair& buffers, ZBlockFile& blocks) : m_buffers(buffers), m_blocks(blocks) {}

  // Takes all bytes of the request, which must begin at `length`, the end of what was written; advances both. A buffer
  // that is not full waits for the next request. Returns 0 or an errno.
  int Write(WriteRequest& request, long& length);
  // Tells the thread that there is nothing more to write, and waits until all is written.
  void Finish();

  void Work();

 private:
  DataBuffer* TakeActive();
  DataBuffer* TakeForCompressing();

  ZBufferPair& m_buffers;
  ZBlockFile& m_blocks;
  bool m_finished = false;  // the thread's: no more buffers will become ready
};

#endif
