// The two buffers that the caller and the task's thread pass to each other, with their states and semaphores. What
// these mean is described in zcompressedfilestr.h.
//
// Threads: the caller's and the task's, in a run. Begin, End and Drop are called between runs.

#ifndef DATASRC_SRC_STORAGE_ZBUFFERPAIR_H
#define DATASRC_SRC_STORAGE_ZBUFFERPAIR_H

#include <memory>
#include <optional>

#include "Platform/threads/sfMutex.h"
#include "Platform/threads/sfSemaphore.h"
#include "storage/zcompressedfilestr.h"

// The semaphores on which the two sides of one run wait for each other.
struct ZBufferSignals {
  sfSemaphore freeBuffers{2};
  sfSemaphore readyBuffers{0};
  sfSemaphore finished{0};
};

class ZBufferPair {
 public:
  using DataBuffer = ZCompressed_FileStream::DataBuffer;
  using Kept = std::unique_ptr<DataBuffer>;

  ZBufferPair() = default;
  ZBufferPair(const ZBufferPair&) = delete;
  ZBufferPair& operator=(const ZBufferPair&) = delete;

  // Makes both buffers free, with new semaphores. Throws std::bad_alloc.
  void Begin();
  void End() { m_active = nullptr; }
  // Drops the memory of the buffers.
  void Drop();

  ZBufferSignals& Semaphores() { return *m_semaphores; }

  // ---- Both sides ----

  // Returns the buffer in the state, of two the one with the lower position; null when there is none.
  DataBuffer* Find(DataBuffer::State state);
  // As Find; changes the state of the buffer.
  DataBuffer* Take(DataBuffer::State from, DataBuffer::State to);
  // Passes the buffer to the draining side. `isLast`: the filling side hands over no more.
  void Hand(DataBuffer& buffer, bool isLast = false);
  // Passes the buffer to the filling side.
  void Free(DataBuffer& buffer);
  // The buffer that the caller has, or null.
  DataBuffer* Active();

  // ---- Caller ----

  // Takes a buffer as the active one. Returns whether there was one.
  bool TakeActive(DataBuffer::State from, DataBuffer::State to);
  // Moves the active buffer to `kept`, and makes the buffer that was there free in its place. (If `kept` is empty, it
  // makes one. Without memory for it, the active buffer becomes free, and its bytes are lost.)
  void KeepActive(Kept& kept);
  // Announces the flush to the thread, which asks with IsStopped.
  void Stop();
  // Returns whether the filling side hands over no more buffers, and the caller has taken all that it did.
  bool IsDrained();

  // ---- Thread ----

  bool IsStopped();
  // Hands over no more buffers, and wakes a caller that waits for one.
  void EndHanding();

 private:
  DataBuffer* Lowest(DataBuffer::State state) const;

  std::optional<ZBufferSignals> m_semaphores;  // new ones for each run
  sfMutex m_stateLock;                         // guards the members below
  std::unique_ptr<DataBuffer> m_buffers[2];
  DataBuffer* m_active = nullptr;
  bool m_stopped = false;
  bool m_ended = false;
};

#endif
