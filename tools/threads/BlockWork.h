// How a text input is read: on the caller's thread alone, or in blocks on the threads of a pool.

#ifndef TOOLS_THREADS_BLOCKWORK_H
#define TOOLS_THREADS_BLOCKWORK_H

#include <cstddef>

#include "tools/threads/TaskPool.h"

namespace tool {

struct BlockWork {
  TaskPool* pool = nullptr;              // null for none
  std::size_t blockSize = 256UL * 1024;  // in bytes

  bool HasThreads() const { return pool != nullptr && pool->Threads() > 1; }
};

}  // namespace tool

#endif
