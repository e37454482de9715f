// The protocol between a compressed stream and its thread, and the buffers that the two pass to each other.
//
// THE PARTS
//
//   stream     ZCompressed_FileStream, on the caller's thread. It has a position and the index of a task.
//   pool       ZCompressionPool: all tasks of the process, and the threads of the tasks that run.
//   task       ZCompressionTask: the work on one file. A stream and its copies share one task.
//   run        ZWriteRun or ZReadRun: both sides of the work, the caller's and the thread's, until the next flush.
//   pair       ZBufferPair: two buffers of uncompressed bytes, with the lock and the semaphores of both sides.
//   blocks     ZBlockFile: the blocks in the file, their table, and a third buffer for compressed bytes.
//   buffer     ZCompressed_FileStream::DataBuffer: bytes, their position in the stream, and a state.
//
// Each part calls only the parts below it.
//
// RUNS
//
// A task runs while it has a thread, in write mode or in read mode. Between runs it has no thread, and the caller
// owns everything. A run begins when the first write (write mode) or read (read mode) finds no thread in its mode.
// The flush ends it. Begin makes both buffers free, with new semaphores, and a new run. Only the table, the length and
// the fault of a write pass from one run to the next.
//
//   caller                                  the task's thread in write mode         the task's thread in read mode
//
//   Begin, starts the thread                ZWriteRun::Work                         ZReadRun::Work
//   Write / Read ...                        compresses ready buffers                fills free buffers, reading ahead
//   flush: announces the end                does the rest, posts, returns           returns
//   joins the thread, End
//
// BUFFERS: who owns a buffer in which state
//
//   1 free      The filling side may take it.
//   2 filled    It is being filled. In write mode the caller owns it, in read mode the thread.
//   0 ready     It is complete: the draining side may take it. A buffer stays in this state while the thread compresses
//               it. The caller does not take it, because it waits for a free one.
//   3 read      The caller owns it and copies from it. It is the active buffer, or a stream has kept it (below).
//
// The owner of a buffer uses its bytes, size and position without a lock. The state lock guards the state of each
// buffer and the pointer to the active buffer: each change is made under it. The active buffer is the one that the
// caller has. It is in state 2 in write mode and in state 3 in read mode.
//
//   write mode    1 --caller--> 2 --caller, full--> 0 --thread, written--> 1
//                               2 --thread, at the flush, not full-------> 1
//   read mode     1 --thread--> 2 --thread, full--> 0 --caller--> 3 --caller, done--> 1
//
// If both buffers are in the wanted state, a side takes the one with the lower position: this keeps the order.
//
// SEMAPHORES: what a count means
//
//   free       The number of buffers in state 1; 2 at first. The filling side waits on it before it takes a buffer. The
//              side that sets a buffer to state 1 posts it. In read mode the flush posts it once more, to wake a thread
//              that waits for a buffer.
//   ready      The number of buffers in state 0; 0 at first. The draining side waits on it before it takes a buffer.
//              The side that sets a buffer to state 0 posts it. In write mode the flush posts it once more. A thread
//              that then finds no ready buffer is at the end: it takes the active buffer as the last one, if that holds
//              bytes. In read mode a thread that fails posts it once more, to wake a caller that waits.
//   finished   0 at first. In write mode the thread posts it as its last act, and the flush waits for it.
//
// The two sides can never wait for each other. In write mode the thread frees every buffer that it gets, even when
// the disk fails. In read mode a caller waits for a ready buffer only while it has no buffer itself and the thread
// has not announced its end (EndHanding, or the last Hand). The thread then has a free buffer, or gets one.
//
// COPIES THAT READ IN TURN
//
// One stream at a time reads from the run, and only it uses the active buffer. When another stream reads, or the run
// ends, the active buffer moves to the stream that was reading: its bytes never change, so the stream serves its reads
// from it without the task, until it leaves the block. In the pair, the buffer that the stream kept before takes its
// place, or a new one. So each block is inflated once for each copy that enters it. If not for that, each turn would
// end the run and inflate the block of the other stream again.
//
// WHO STOPS WHOM
//
// Only the caller stops a thread, by the flush: ZCompressionPool::Flush, which every way to end a stream goes
// through. A thread in read mode also ends by itself, after the last block or at a fault. The flush joins it all the
// same. The thread never stops the caller.
//
// WHERE THE THREAD READS
//
// The thread fills block after block. Whenever the caller asks for a buffer, it stores the position that it wants
// (guarded by the position lock). A thread that has not come so far continues at that block, and does not inflate the
// blocks between. It never goes back. A caller that wants a position before the buffer that it gets ends the run and
// begins another one there.
//
// FAULTS
//
// A fault of zlib is an assertion: the bytes came from this process, and the third buffer has room for whatever deflate
// may make. So is a block that inflates to another size than was written. A fault of the disk is kept as an errno:
//   write      The fault stays for good. Later buffers are freed unwritten, because the table has no gaps. Each write
//              and flush reports the fault, and so does each read past the table.
//   read       The run ends. The read that wanted the block reports the fault, and the next read begins a new run.

#ifndef DATASRC_SRC_STORAGE_ZCOMPRESSEDFILESTR_H
#define DATASRC_SRC_STORAGE_ZCOMPRESSEDFILESTR_H

#include <cstddef>
#include <memory>

#include "datasrc/ZCompressed_FileStream.h"

// What is left of a transfer. The transfer advances the members and the stream's position.
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

  // Takes the next bytes of the request. An empty buffer takes all of them, at any position, and asserts that they fit.
  // A buffer in use takes what it has room for, and asserts that the position is directly after its contents.
  void Write(WriteRequest& request);
  // Copies the held bytes from the request's position on to the request. Copies nothing when the buffer does not hold
  // the position.
  void Read(ReadRequest& request) const;

  bool Holds(long wanted) const { return position <= wanted && wanted < End(); }
  bool IsFull() const { return bufsize == kBufferSize; }
  long End() const { return position + static_cast<long>(bufsize); }
  std::byte* Bytes() { return fBuffer.get(); }
  std::size_t Capacity() const { return m_capacity; }
  // Makes the buffer empty and free.
  void Reset();

  State state = kFree;
  std::size_t bufsize = 0;  // the bytes in use
  long position = -1;       // the position of the first byte in the uncompressed stream; -1: empty

 private:
  std::size_t m_capacity;
  std::unique_ptr<std::byte[]> fBuffer;
};

#endif
