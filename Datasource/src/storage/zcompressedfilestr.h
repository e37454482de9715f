// How a compressed stream and its thread meet.
//
// THE PARTS
//
//   stream     ZCompressed_FileStream, on the caller's thread. It has a position, and the number of a task.
//   task       ZCompressionTask: the work of one file. Two buffers of uncompressed bytes, a third one for compressed
//              bytes, and the table of the blocks in the file. Copies of a stream share it.
//   pool       ZCompressionPool: all tasks of the process, and the threads of those that run.
//
// RUNS
//
// A task runs when it has a thread, in one of two modes. Between runs there is no thread, and everything is the
// caller's. A run begins when the first write (write mode) or read (read mode) finds no thread in its mode, and ends
// with the flush. Begin makes all as new for it: both buffers free, the semaphores at their first counts, flags down.
// Only the table, the length and the fault of a write outlive a run.
//
//   caller                                  the task's thread, write mode           ... read mode
//
//   Begin, start                            comThreadFunc                           decThreadFunc
//   Write / Read ...                        compresses what is ready                fills what is free, reading ahead
//   flush: says that it is the end          does what is left, answers, returns     returns
//   joins the thread, End
//
// BUFFERS: who owns one in which state
//
//   1 free      the filling side may take it
//   2 filled    being filled: the caller's in write mode, the thread's in read mode
//   0 ready     full: the draining side may take it. The thread compresses a buffer in this state: the caller waits for
//               a free one and takes no other
//   3 read      the caller's, who copies out of it
//
// The bytes, the size and the position of a buffer belong to its owner and need no lock. The state, and who is the
// active buffer, are guarded by the state lock: each change is made under it. The active buffer is the caller's one:
// in write mode in state 2, in read mode in state 3.
//
//   write mode    1 --caller--> 2 --caller, full--> 0 --thread, written--> 1
//                               2 --thread, at the flush, not full-------> 1
//   read mode     1 --thread--> 2 --thread, full--> 0 --caller--> 3 --caller, passed--> 1
//
// Of two buffers in the state that is looked for, the one with the lower position goes first: order is kept.
//
// SEMAPHORES: what a count says
//
//   free       buffers in state 1, 2 at first. The filling side waits on it before it takes one; who sets a buffer to 1
//              posts. In read mode the flush posts one more, to wake a thread that waits for a buffer.
//   ready      buffers in state 0, 0 at first. The draining side waits on it before it takes one; who sets a buffer to
//   0
//              posts. In write mode the flush posts one more: a thread that then finds none ready is at the end, and
//              takes the active buffer as the last one, if it holds bytes. In read mode a thread that fails posts one
//              more, so that the caller who waits looks up.
//   finished   0 at first; in write mode the thread posts it as its last act, and the flush waits for it.
//
// The two sides can never wait for each other. In write mode the thread frees every buffer that it gets, also when the
// disk fails. In read mode a caller waits for a ready buffer only when it holds none itself, and only as long as the
// thread has not said that it ends (m_ended); the thread then has, or gets, a free one.
//
// WHO STOPS WHOM
//
// Only the caller stops a thread, by the flush: ZCompressionPool::Flush, which every way to the end of a stream comes
// through. A thread in read mode also ends by itself, behind the last block or at a fault; it is joined by the flush
// all the same. The thread never stops the caller.
//
// WHERE THE THREAD READS
//
// It fills block after block. The caller leaves the position that it wants (guarded by the position lock) whenever it
// asks for a buffer, and a thread that has not come so far goes on at that block: what lies between is not inflated.
// It never goes back. A caller who wants something that lies before what he gets ends the run and begins another there.
//
// FAULTS
//
// zlib's are assertions: the bytes came from this process, and the third buffer has room for whatever deflate may make.
// The disk's are kept in the task as an errno:
//   write      the fault stays for good. Buffers that come behind it are freed unwritten, since the table has no gaps;
//              each write and flush, and each read behind the table, tells it.
//   read       the run ends. The read that wanted the block tells it, and the next one begins a run anew.

#ifndef DATASRC_SRC_STORAGE_ZCOMPRESSEDFILESTR_H
#define DATASRC_SRC_STORAGE_ZCOMPRESSEDFILESTR_H

#include <cstddef>
#include <memory>

#include "datasrc/ZCompressed_FileStream.h"

// A transfer on its way: it moves these on, and the stream's position.
struct ZCompressed_FileStream::ReadRequest {
  std::byte* to;
  std::size_t toGo;
  long* position;
};

struct ZCompressed_FileStream::WriteRequest {
  const std::byte* from;
  std::size_t toGo;
  long* position;
};

class ZCompressed_FileStream::DataBuffer {
 public:
  enum State { kReady = 0, kFree = 1, kFilled = 2, kRead = 3 };

  explicit DataBuffer(std::size_t capacity);

  // Takes the request's next bytes. An empty buffer takes all of them, at whatever position, and asserts that they fit;
  // one in use takes what it has room for, and asserts that the position is just behind its contents.
  void Write(WriteRequest& request);
  // Gives the request what is held from its position on; nothing when the position is not among what is held.
  void Read(ReadRequest& request) const;

  bool Holds(long wanted) const { return position <= wanted && wanted < End(); }
  bool IsFull() const { return bufsize == kBufferSize; }
  long End() const { return position + static_cast<long>(bufsize); }
  std::byte* Bytes() { return fBuffer.get(); }
  std::size_t Capacity() const { return m_capacity; }
  // Empty and free.
  void Reset();

  State state = kFree;
  std::size_t bufsize = 0;  // the bytes in use
  long position = -1;       // of the first byte in the uncompressed stream; -1: empty

 private:
  std::size_t m_capacity;
  std::unique_ptr<std::byte[]> fBuffer;
};

#endif
