// The protocol between the streams of a sort file and its thread.
//
// THE PARTS
//
//   stream       zcmpsSort_FileStream, on a caller's thread: the writer, or a copy that reads. Each stream has a buffer
//                of one block, which its caller writes to or reads from, and a baseDataStream.
//   worker       One thread for each file (worker.h). The writer has it.
//   pool         dataPoolManager: the meetings of all streams of the file, the file, and the table of its blocks. All
//                streams share it. The last one destroys it.
//   meeting      SortMeeting: a second buffer of one block, and the token (below). Each baseDataStream has one.
//
// Each part calls only the parts below it.
//
// PHASES
//
//   writing      From Open to the first copy. There is one stream, the writer. The worker waits for blocks, compresses
//                them, and appends them to the file and to the table.
//   reading      From the first copy on. The table is final, and no more blocks are written. The worker reads ahead for
//                the copies: the block after the one that was read last.
//   ended        From the end of the writer on. There is no worker. The copies that are left read without it.
//
// FROM WRITING TO READING
//
// The first copy is made on the writer's thread. It flushes the writer and calls workerThread::rewindThread. That waits
// until the worker has written its last block, switches the worker's flags to reading, sets `closed`, and wakes the
// worker, which waits for a block that will not come. The flags change before the waking, so that the worker goes on
// to read at once. They change after the last block, so that the worker leaves no block unwritten.
//
// THE TOKEN: who owns the buffer of a meeting
//
// The buffer of a meeting, with its size, position and error, belongs to the side that has the meeting's token. There
// is one token, and it is in one of these places:
//
//   free      It lies in the semaphore `freed`. The buffer is empty: the filling side may take it.
//   filled    It lies in the semaphore `filled`. The buffer holds a block: the draining side may take it.
//   a hand    The caller or the worker has it: that side waited for one of the semaphores and will post the other.
//
//   writing   caller (at first) --filled--> worker --free--> caller ...           the caller fills, the worker drains
//   reading   caller (at first) --free----> worker --filled--> caller ...         the worker fills, the caller drains
//
// Each semaphore therefore counts 0 or 1, and the two are never both 1. There is one more post of `filled`, which
// wakes the worker at the end of the writing: `closed` shows the worker that no block came.
//
// WHAT THE LOCKS GUARD, outermost first
//
//   pool lock     The list of meetings. The worker holds it while it reads ahead, so that no meeting is destroyed
//                 meanwhile. The end of a copy waits for one block at most.
//   meeting lock  `first` and `next` of a copy: what the copy has read, and what to read ahead. It is never held while
//                 a block is read or inflated.
//   file lock     The position of the file. It is held for a seek and the transfer after it. Blocks are inflated
//                 without it.
//
// A COPY READS A BLOCK
//
// The block is the one to be read ahead (`next`):
//   the token is free              The worker has not come to the block yet, and the caller does not wait for it. The
//                                  caller sends the worker to the block after it, and reads this one itself
//                                  (directRead).
//   filled, or the worker has it   The caller waits for `filled`, takes the block, and gives the token back.
//
// The block is another one, at the first read or after a seek: the caller reads it itself, and `next` is the block
// after it. A caller that still has the token from the beginning, or finds it in `filled`, sets it free, and so drops
// a block that was read ahead. If the worker has the token, it comes back with a block that is no longer wanted. A
// later read that takes this block sees it by the position, and reads its own block itself.
//
// A caller waits only for a token that the worker has in hand: for one block at most, and never for its own token.
//
// WHO STOPS WHOM
//
// Only the end of the writer stops the worker: by the flag `stop`, then by `closed` and the waking as above. Then the
// thread is joined. The end of a copy removes its meeting from the list. The worker stops no stream.
//
// FAULTS
//
// A fault of zlib is an assertion. A fault of the disk:
//   write      It is kept as an errno for good. The worker continues to take blocks and drops them, so that the writer
//              never hangs. The writer's next call reports the fault, and so does each new copy and each read past the
//              table.
//   read       The fault of a block read ahead is kept in the meeting. The caller that takes the block reports it. The
//              next read tries again. A block that inflates to another size than was written counts as one (EIO).

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_DATAPOOLMANAGER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_DATAPOOLMANAGER_H

#include <atomic>
#include <memory>
#include <vector>

#include "Platform/threads/sfMutex.h"
#include "storage/sortTemp/SortMeeting.h"
#include "storage/sortTemp/blockManager.h"
#include "storage/sortTemp/compressWorker.h"

class dataPoolManager {
 public:
  // Returns the bytes of padding after a block: an encrypted file has blocks of multiples of 16 bytes.
  static unsigned long Padding(bool encrypt, unsigned long length) { return encrypt ? -length % kPaddedTo : 0; }

  // Returns whether the block did not become shorter and is stored as it is.
  static bool IsStored(const blockInfo& block) { return block.compressedLength == block.size; }

  dataPoolManager(const std::shared_ptr<QUAV_File>& file, bool encrypt);
  dataPoolManager(const dataPoolManager&) = delete;
  dataPoolManager& operator=(const dataPoolManager&) = delete;

  // ---- Streams ----

  // Adds a meeting to the list. The first one is the writer's. Gives the meeting an id, for popFromPool, and returns
  // it. The meeting is not owned.
  int pushToPool(SortMeeting* stream);
  void popFromPool(int id);

  // Reads the block that holds the position into a buffer of the block's size, on the calling thread. `size` is 0
  // when there is no such block. Returns 0 or an errno.
  int directRead(char* buffer, unsigned long& size, long position);

  const blockManager& Blocks() const { return m_blocks; }
  // Returns the errno of the write that failed, 0 if none did.
  int Fault() const { return m_fault; }
  // Returns whether the writing is over.
  bool IsClosed() const { return m_closed; }

  // ---- The owner of the worker ----

  // Waits until the worker has written what the writer gave it.
  void WaitWritten();
  // Ends the writing, and wakes the worker.
  void End();

  // ---- Worker ----

  // Writes a block of the writer to the file. Waits for the block; returns false when no more will come.
  bool QueryForWrite();
  // Reads a block ahead for one of the copies. Returns false when no copy wants one.
  bool QueryForRead();

 private:
  static constexpr unsigned long kPaddedTo = 16;

  SortMeeting* Writer();
  int Store(SortMeeting& writer);
  SortMeeting* NextReader(const blockInfo*& block);
  int ReadBlock(const blockInfo& block, char* out);
  int Transfer(const blockInfo& block, char* out);

  std::vector<SortMeeting*> m_streams;  // guarded by m_poolLock
  int m_nextId = 0;                     // guarded by m_poolLock
  compressWorker m_file;                // its position is guarded by m_fileLock
  blockManager m_blocks;                // the worker's while writing; then constant
  std::unique_ptr<char[]> m_output;     // the worker's
  sfMutex m_poolLock;
  sfMutex m_fileLock;
  std::atomic<bool> m_closed = false;
  std::atomic<int> m_fault = 0;
};

#endif
