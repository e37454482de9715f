// Shared by the tests of streams with threads: contents, a disk that fails at its n-th call, a watchdog.

#ifndef TESTS_THREADS_STREAMONDISK_H
#define TESTS_THREADS_STREAMONDISK_H

#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "Platform/stream/FileCalls.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "tests/support/Seeds.h"
#include "tests/support/TempFile.h"

// Ends the process when the test takes longer, so that a hang is a failure with a name.
class Watchdog {
 public:
  explicit Watchdog(int seconds = 120) : m_thread([this, seconds] { Watch(seconds); }) {}
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog() {
    {
      const std::lock_guard lock(m_mutex);
      m_done = true;
    }
    m_changed.notify_one();
    m_thread.join();
  }

 private:
  // Waits second by second: time during which the whole process is stopped does not count.
  void Watch(int seconds) {
    std::unique_lock lock(m_mutex);
    while (!m_changed.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; })) {
      if (--seconds > 0) continue;
      std::fputs("watchdog: the test hangs\n", stderr);
      std::abort();
    }
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_done = false;
  std::thread m_thread;
};

// Returns the number of random scripts to run: DATASRC_SCRIPTS, or a few.
inline unsigned RandomScripts() {
  const char* const asked = std::getenv("DATASRC_SCRIPTS");
  return asked != nullptr ? static_cast<unsigned>(std::strtoul(asked, nullptr, 10)) : Seeds(40);
}

// ---- Contents ----

// Returns bytes that compress well but differ at distant positions: a number every 512 bytes, and the same byte
// between.
inline std::string Lines(std::size_t size, std::size_t seed = 0) {
  std::string bytes(size, '\0');
  for (std::size_t at = 0; at < size; at += 512) {
    const std::size_t mark = (at + 1 + seed) * 0x9E3779B97F4A7C15U;
    const std::size_t length = std::min<std::size_t>(512, size - at);
    std::memset(bytes.data() + at, static_cast<int>(mark >> 56), length);
    std::memcpy(bytes.data() + at, &mark, std::min(length, sizeof mark));
  }
  return bytes;
}

// Returns bytes that do not compress.
inline std::string Noise(std::size_t size, unsigned seed = 1) {
  std::mt19937_64 random(seed);
  std::string bytes(size, '\0');
  for (std::size_t at = 0; at < size; at += 8) {
    const std::uint64_t word = random();
    std::memcpy(bytes.data() + at, &word, std::min<std::size_t>(8, size - at));
  }
  return bytes;
}

// Returns the bytes as one zlib block, as short as zlib can make it.
inline std::string ZlibBlock(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string block(size, '\0');
  EXPECT_EQ(Z_OK, compress2(reinterpret_cast<Bytef*>(block.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                            bytes.size(), Z_BEST_COMPRESSION));
  block.resize(size);
  return block;
}

// Writes over the bytes of a file, and leaves the rest of it as it is.
inline void Overwrite(const std::string& name, std::size_t position, const std::string& bytes) {
  std::fstream file(name, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(position));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(file.flush());
}

// A failure message shows the first difference, not megabytes.
inline testing::AssertionResult SameBytes(const std::string& expected, const std::string& found) {
  if (expected == found) return testing::AssertionSuccess();
  const auto differ = std::ranges::mismatch(expected, found);
  return testing::AssertionFailure() << expected.size() << " bytes expected, " << found.size()
                                     << " found; they differ from byte " << differ.in1 - expected.begin() << " on";
}

// ---- Transfers in strings ----

inline std::string Read(QUAV_FileStream& stream, std::size_t count) {
  std::string bytes(count, '\0');
  bytes.resize(stream.Read(bytes.data(), count));
  return bytes;
}

inline std::string ReadAt(QUAV_FileStream& stream, std::size_t position, std::size_t count) {
  EXPECT_EQ(0, stream.Seek(static_cast<long>(position), kSeekFromStart));
  return Read(stream, count);
}

// Writes in pieces that a stream takes at once. Returns the number of bytes taken.
inline std::size_t Write(QUAV_FileStream& stream, const std::string& bytes, std::size_t piece = 65536) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::size_t size = std::min(piece, bytes.size() - done);
    const std::size_t taken = stream.Write(bytes.data() + done, size);
    done += taken;
    if (taken < size) break;
  }
  return done;
}

inline std::size_t OpenDescriptors() {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

// The thread sanitizer starts its own thread with the first thread of the program. This must not happen while a test
// counts threads.
inline const bool kHasStartedAThread = (std::thread([] {}).join(), true);

// Returns whether the thread of this folder of /proc is not about to end. Field 9 of `stat` has the flags of the
// kernel, of which 4 is set before a join can return. Field 2 is the name in parentheses.
inline bool IsRunning(const std::filesystem::path& thread) {
  constexpr unsigned kExiting = 4;
  std::ifstream file(thread / "stat");
  std::string stat{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  stat.erase(0, stat.rfind(')') + 1);  // a thread that is gone has no text
  std::istringstream fields(stat);
  std::string skipped;
  for (int field = 3; field < 9; ++field) fields >> skipped;
  unsigned flags = kExiting;
  fields >> flags;
  return fields && (flags & kExiting) == 0;
}

// The threads of the process. The system shows a joined thread for a moment longer: it does not count.
inline std::size_t Threads() {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  return static_cast<std::size_t>(
      std::count_if(begin(threads), end(threads), [](const auto& thread) { return IsRunning(thread.path()); }));
}

// Returns whether the process has this number of threads, after a while for those that end by themselves.
inline testing::AssertionResult HasThreads(std::size_t expected) {
  const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (Threads() != expected && std::chrono::steady_clock::now() < patience) std::this_thread::yield();
  if (Threads() == expected) return testing::AssertionSuccess();
  return testing::AssertionFailure() << Threads() << " threads, not " << expected;
}

// ---- A disk that fails ----

struct DiskFault {
  int open = 0;  // the n-th fails, from 1; 0: none
  int read = 0;  // the n-th fails, from 1; 0: none
  int write = 0;
  int error = EIO;
  bool lasting = false;
  long room = -1;  // the bytes that the disk takes before it is full (ENOSPC); -1: no limit
};

// Stands between the files and the system while it lives. Counts openings, and reads and writes at positions. Makes
// one of them fail, and all later ones too if the fault is lasting. Calls come from any thread, but not during
// construction or destruction.
class FaultyDisk {
 public:
  explicit FaultyDisk(const DiskFault& fault = {}) : m_fault(fault), m_system(PresentFileCalls()) {
    s_present = this;
    PresentFileCalls().open = &OpenCall;
    PresentFileCalls().pread = &ReadCall;
    PresentFileCalls().pwrite = &WriteCall;
  }
  FaultyDisk(const FaultyDisk&) = delete;
  FaultyDisk& operator=(const FaultyDisk&) = delete;
  ~FaultyDisk() { PresentFileCalls() = m_system; }

  int Reads() const { return m_reads; }
  int Writes() const { return m_writes; }
  bool Struck() const { return m_struck; }

 private:
  bool Strikes(int number, int wanted) {
    const bool strikes = wanted > 0 && (number == wanted || (m_fault.lasting && number > wanted));
    if (strikes) m_struck = true;
    if (strikes) errno = m_fault.error;
    return strikes;
  }
  // Returns how many bytes of a write the disk has room for.
  std::size_t TakeRoom(std::size_t size) {
    const std::lock_guard lock(m_mutex);
    const std::size_t taken = std::min(size, static_cast<std::size_t>(m_fault.room));
    m_fault.room -= static_cast<long>(taken);
    if (taken < size) m_struck = true;
    return taken;
  }
  static int OpenCall(const char* name, int flags, mode_t permissions) {
    if (s_present->Strikes(++s_present->m_opens, s_present->m_fault.open)) return -1;
    return s_present->m_system.open(name, flags, permissions);
  }
  static ssize_t ReadCall(int descriptor, void* buffer, std::size_t size, off_t offset) {
    if (s_present->Strikes(++s_present->m_reads, s_present->m_fault.read)) return -1;
    return s_present->m_system.pread(descriptor, buffer, size, offset);
  }
  static ssize_t WriteCall(int descriptor, const void* buffer, std::size_t size, off_t offset) {
    if (s_present->Strikes(++s_present->m_writes, s_present->m_fault.write)) return -1;
    if (s_present->m_fault.room >= 0) size = s_present->TakeRoom(size);
    if (size == 0) errno = ENOSPC;
    return size > 0 ? s_present->m_system.pwrite(descriptor, buffer, size, offset) : -1;
  }

  inline static FaultyDisk* s_present = nullptr;

  std::mutex m_mutex;
  DiskFault m_fault;  // `room` is guarded by m_mutex
  FileCalls m_system;
  std::atomic<int> m_opens = 0;
  std::atomic<int> m_reads = 0;
  std::atomic<int> m_writes = 0;
  std::atomic<bool> m_struck = false;
};

#endif
