// Replaces the system's file calls: no file may become longer than a size, as on a disk that is full. What still fits
// of a write is written; the next one fails with ENOSPC.
//
// Threads: made and destroyed while no other thread uses a file; the calls may come from any.

#ifndef TESTS_SUPPORT_DISKOFSIZE_H
#define TESTS_SUPPORT_DISKOFSIZE_H

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "Platform/stream/FileCalls.h"

class DiskOfSize {
 public:
  explicit DiskOfSize(off_t size) : m_before(PresentFileCalls()) {
    s_real = m_before;
    s_size = size;
    PresentFileCalls().pwrite = [](int file, const void* from, std::size_t count, off_t at) -> ssize_t {
      const std::size_t fitting = Fitting(count, at);
      return fitting == 0 && count != 0 ? -1 : s_real.pwrite(file, from, fitting, at);
    };
    PresentFileCalls().write = [](int file, const void* from, std::size_t count) -> ssize_t {
      struct stat status {};
      s_real.fstat(file, &status);
      const std::size_t fitting = Fitting(count, status.st_size);
      return fitting == 0 && count != 0 ? -1 : s_real.write(file, from, fitting);
    };
  }
  DiskOfSize(const DiskOfSize&) = delete;
  DiskOfSize& operator=(const DiskOfSize&) = delete;
  ~DiskOfSize() { PresentFileCalls() = m_before; }

 private:
  // Returns how many of `count` bytes fit at `at`; 0 with errno ENOSPC for none.
  static std::size_t Fitting(std::size_t count, off_t at) {
    if (at >= s_size) errno = ENOSPC;
    return at >= s_size ? 0 : std::min(count, static_cast<std::size_t>(s_size - at));
  }

  inline static FileCalls s_real;
  inline static off_t s_size;
  FileCalls m_before;
};

#endif
