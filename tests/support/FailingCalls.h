// Replaces the system's file calls: the n-th call of one kind fails and, with a persistent fault, all later ones too.
//
//   const FailingCalls calls({.call = Call::write, .reason = ENOSPC}, 3);   the third write finds no space
//
// Threads: made and destroyed while no other thread uses a file; the calls may come from any.

#ifndef TESTS_SUPPORT_FAILINGCALLS_H
#define TESTS_SUPPORT_FAILINGCALLS_H

#include <atomic>
#include <cerrno>

#include "Platform/stream/FileCalls.h"

enum class Call { open, close, read, write, append, status, truncate };

struct CallFault {
  Call call = Call::write;
  int reason = EIO;
  bool persistent = false;
};

class FailingCalls {
 public:
  FailingCalls(const CallFault& fault, int n) : m_before(PresentFileCalls()) {
    s_real = m_before;
    s_fault = fault;
    s_n = n;
    s_count = 0;
    PresentFileCalls() = {
        [](const char* name, int flags, mode_t mode) {
          return Fails(Call::open) ? -1 : s_real.open(name, flags, mode);
        },
        // The system closes the file even when close fails.
        [](int file) {
          const int answer = s_real.close(file);
          return Fails(Call::close) ? -1 : answer;
        },
        m_before.unlink,
        [](int file, void* to, std::size_t size, off_t at) -> ssize_t {
          return Fails(Call::read) ? -1 : s_real.pread(file, to, size, at);
        },
        [](int file, const void* from, std::size_t size, off_t at) -> ssize_t {
          return Fails(Call::write) ? -1 : s_real.pwrite(file, from, size, at);
        },
        [](int file, const void* from, std::size_t size) -> ssize_t {
          return Fails(Call::append) ? -1 : s_real.write(file, from, size);
        },
        [](int file, struct stat* answer) { return Fails(Call::status) ? -1 : s_real.fstat(file, answer); },
        [](int file, off_t length) { return Fails(Call::truncate) ? -1 : s_real.ftruncate(file, length); },
        m_before.fadvise};
  }
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;
  ~FailingCalls() { PresentFileCalls() = m_before; }

  // Returns whether the n-th call of the last object was reached.
  static bool Struck() { return s_count >= s_n; }

 private:
  static bool Fails(Call call) {
    if (call != s_fault.call) return false;
    const int count = ++s_count;
    if (s_fault.persistent ? count < s_n : count != s_n) return false;
    errno = s_fault.reason;
    return true;
  }

  inline static FileCalls s_real;
  inline static CallFault s_fault;
  inline static int s_n;
  inline static std::atomic<int> s_count;
  FileCalls m_before;
};

#endif
