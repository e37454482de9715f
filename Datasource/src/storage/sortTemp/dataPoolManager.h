// How the streams of a sort file and its thread meet.
//
// THE PARTS
//
//   stream       zcmpsSort_FileStream, on a caller's thread: the writer, or a copy that reads. Each has a buffer of one
//                block that its caller writes to or reads from, and a baseDataStream.
//   meeting      baseDataStream::Data: a second buffer of one block, and the token (below). One for each stream.
//   pool         dataPoolManager: the meetings of all streams of the file, the file, the table of blocks. All streams
//                share it; the last one lets it go.
//   worker       one thread for each file (worker.h), which belongs to the writer.
//
// PHASES
//
//   writing      from Open to the first copy. There is one stream, the writer. The worker waits for blocks, compresses
//                them and puts them behind one another into the file and the table.
//   reading      from the first copy on. The table is final. The worker reads ahead for the copies: the block that
//                follows the one that was read last. Nobody writes any more.
//   ended        from the writer's end on: there is no worker. Copies that are left read by themselves.
//
// TURNING FROM WRITING TO READING (workerThread::rewindThread, by whoever makes the first copy, on the writer's
// thread): flush the writer; wait until the worker has put its last block away; turn the worker's flags to reading;
// then say `closed` and wake the worker, which waits for a block that will not come. The flags turn before the waking,
// so that it goes on to read at once; and behind the last block, so that it leaves none lying.
//
// THE TOKEN: who owns a meeting's buffer
//
// The buffer of a meeting, with its size, position and error, belongs to whoever has the meeting's token. There is one,
// and it is in one of four places:
//
//   free      it lies in the semaphore `freed`:  the buffer is empty, the filling side may take it
//   filled    it lies in the semaphore `filled`: the buffer holds a block, the draining side may take it
//   a hand    the caller's or the worker's, who waited for one of the two, and will post the other
//
//   writing   caller (at first) --filled--> worker --free--> caller ...           the caller fills, the worker drains
//   reading   caller (at first) --free----> worker --filled--> caller ...         the worker fills, the caller drains
//
// So each semaphore counts 0 or 1, and never are both 1. (`filled` is posted once besides to wake the worker at the end
// of the writing: `closed` tells it that there is no block.)
//
// WHAT THE LOCKS GUARD, outermost first
//
//   pool lock     the list of meetings. The worker holds it while it reads ahead, so that no meeting goes away under
//   it:
//                 a copy's end waits for one block at most.
//   meeting lock  of a copy: `first` and `next`, what the copy has read and what is to be read ahead. Never held while
//                 anything is read or inflated.
//   file lock     the position of the file: held for a seek and the transfer behind it. Blocks are inflated outside.
//
// A COPY READS A BLOCK
//
// When it is the one that was to be read ahead (`next`):
//   token free     the worker has not come to it yet. The caller does not wait for that: he lets the worker read ahead
//                  the block behind, and reads this one himself (directRead).
//   filled, or the worker has it    wait for `filled`, take the block, give the token back.
// Else, after a seek, he reads it himself, and `next` is the block behind. A token in `filled` is given back, its block
// dropped. One that the worker has right now comes back with a block that nobody asks for; that is seen by its position
// when it is taken, and the caller reads by himself.
//
// A caller waits only for a token that the worker has in hand, so for one block at most, and never for his own.
//
// WHO STOPS WHOM
//
// Only the writer's end stops the worker: the flag `stop`, then `closed` and the waking as above, then it is joined.
// A copy's end takes its meeting off the list. The worker stops nobody.
//
// FAULTS
//
// zlib's are assertions. The disk's:
//   write      kept as an errno for good. The worker goes on to take blocks and drops them, so that the writer never
//              hangs. The writer's next call tells it, each copy as it is made, and each read behind the table.
//   read       of a block read ahead: it is in the meeting, and the caller who takes the block tells it. The next read
//              tries anew.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_DATAPOOLMANAGER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_DATAPOOLMANAGER_H

#include <atomic>
#include <memory>
#include <vector>

#include "Platform/threads/sfMutex.h"
#include "storage/sortTemp/baseDataStream.h"
#include "storage/sortTemp/blockManager.h"
#include "storage/sortTemp/compressWorker.h"

class dataPoolManager {
 public:
  // The bytes of padding behind a block: enciphered files have blocks of multiples of 16 bytes.
  static unsigned long Padding(bool encrypt, unsigned long length) { return encrypt ? -length % kPaddedTo : 0; }

  dataPoolManager(const std::shared_ptr<QUAV_File>& file, bool encrypt);
  dataPoolManager(const dataPoolManager&) = delete;
  dataPoolManager& operator=(const dataPoolManager&) = delete;

  // ---- Streams ----

  // The first one is the writer's. Gives the meeting an id, for popFromPool, and answers it; the meeting stays the
  // caller's.
  int pushToPool(baseDataStream::Data* stream);
  void popFromPool(int id);

  // The block that holds the position, into a buffer of the block's size, on the thread that asks. `size` is 0 when
  // there is none. Answers 0 or an errno.
  int directRead(char* buffer, unsigned long& size, long position);

  const blockManager& Blocks() const { return m_blocks; }
  // The errno of the write that failed, 0 for none.
  int Fault() const { return m_fault; }
  // Whether the writing is over.
  bool IsClosed() const { return m_closed; }

  // ---- Whoever has the worker ----

  // Waits until the worker has put away what the writer gave it.
  void WaitWritten();
  // Says that the writing is over, and wakes the worker.
  void End();

  // ---- Worker ----

  // A block from the writer into the file. False when there is none and will be none.
  bool QueryForWrite();
  // A block read ahead for one of the copies. False when none wants any.
  bool QueryForRead();

 private:
  static constexpr unsigned long kPaddedTo = 16;

  baseDataStream::Data* Writer();
  int Store(baseDataStream::Data& writer);
  baseDataStream::Data* NextReader(const blockInfo*& block);
  int ReadBlock(const blockInfo& block, char* out);
  int Transfer(const blockInfo& block, char* out);

  std::vector<baseDataStream::Data*> m_streams;  // guarded by m_poolLock
  int m_nextId = 0;                              // likewise
  compressWorker m_file;                         // its position: guarded by m_fileLock
  blockManager m_blocks;                         // the worker's while writing; then nobody changes it
  std::unique_ptr<char[]> m_output;              // the worker's
  sfMutex m_poolLock;
  sfMutex m_fileLock;
  std::atomic<bool> m_closed = false;
  std::atomic<int> m_fault = 0;
};

#endif
