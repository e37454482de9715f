// The memory of batches, kept for later ones.
//
// Threads: a batch is filled by one thread at a time; batches may be dropped on any thread, also after the pool has gone.

#ifndef COLUMNS_BATCHES_BATCHBUFFERS_H
#define COLUMNS_BATCHES_BATCHBUFFERS_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "datasrc/ColumnBatch.h"

// Bytes that begin at a multiple of 64. They are never given back, only used again.
//
// New bytes are not written, so that the system provides their pages only as they are used.
class AlignedBuffer {
 public:
  // Returns the buffer as elements of a type, after making room for `count` of them. Keeps the contents.
  template <class T>
  T* Room(std::size_t count) {
    const std::size_t lines = (count * sizeof(T) + sizeof(Line) - 1) / sizeof(Line);
    if (lines > m_size) Grow(std::max(lines, m_size + m_size / 2));
    return reinterpret_cast<T*>(m_lines.get());
  }

 private:
  struct alignas(64) Line {
    std::byte bytes[64];
  };

  void Grow(std::size_t lines) {
    auto grown = std::make_unique_for_overwrite<Line[]>(lines);
    std::copy_n(m_lines.get(), m_size, grown.get());
    m_lines = std::move(grown);
    m_size = lines;
  }

  std::unique_ptr<Line[]> m_lines;
  std::size_t m_size = 0;  // in lines
};

struct ColumnBuffers {
  AlignedBuffer validity;
  AlignedBuffer values;  // numbers or offsets
  AlignedBuffer text;
};

struct FilledBatch {
  ColumnBatch batch;
  std::vector<ColumnBuffers> buffers;  // one for each column
};

class BatchPool : public std::enable_shared_from_this<BatchPool> {
 public:
  static constexpr std::size_t kUsualKept = 4;

  // Keeps the memory of at most so many batches. A batch may come back where an exception would end the process, so the
  // room for it is made now.
  explicit BatchPool(std::size_t mostKept = kUsualKept) : m_mostKept(mostKept) { m_free.reserve(m_mostKept); }

  // Returns a batch with buffers for so many columns, used or new ones.
  std::unique_ptr<FilledBatch> Take(std::size_t columns);
  // Adds a batch for a later Take, unless the pool keeps enough of them.
  void Keep(std::unique_ptr<FilledBatch> filled);
  bool IsEmpty();
  // Returns the batch for readers. When the last of them drops it, it comes back to the pool.
  std::shared_ptr<const ColumnBatch> Share(std::unique_ptr<FilledBatch> filled);

 private:
  const std::size_t m_mostKept;
  std::mutex m_lock;
  std::vector<std::unique_ptr<FilledBatch>> m_free;  // under m_lock
};

#endif
