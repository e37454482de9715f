// Shared by the tests of this layer: a folder for files, contents for them, and system calls that fail.

#ifndef PLATFORM_STREAM_TESTS_STREAMTESTING_H
#define PLATFORM_STREAM_TESTS_STREAMTESTING_H

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "Platform/stream/QUAV_FileStream.h"

// Gives each test its own folder, and removes it with everything in it.
class StreamTest : public testing::Test {
 protected:
  StreamTest() {
    std::string pattern = testing::TempDir() + "stream-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the test's files");
    m_folder = pattern;
  }
  ~StreamTest() override { std::filesystem::remove_all(m_folder); }

  std::string Path(const std::string& name) const { return (m_folder / name).string(); }

  // Makes a new file, or replaces an existing one, and returns its path.
  std::string Make(const std::string& name, const std::string& contents) const {
    std::filesystem::remove(Path(name));
    std::ofstream(Path(name), std::ios::binary) << contents;
    return Path(name);
  }

 private:
  std::filesystem::path m_folder;
};

// The tests of QUAV_FileStream are in more than one file.
class FileStream : public StreamTest {};

inline std::string Contents(const std::string& path) {
  std::string bytes(std::filesystem::file_size(path), '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

// Random bytes, so that each piece differs from its neighbours.
inline std::string Noise(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  std::ranges::generate(bytes, [&] { return static_cast<char>(random() & 0xff); });
  return bytes;
}

// Compares long contents: a failure shows the first difference, not megabytes.
inline testing::AssertionResult SameBytes(const std::string& expected, const std::string& found) {
  if (expected == found) return testing::AssertionSuccess();
  const std::size_t shorter = std::min(expected.size(), found.size());
  std::size_t place = 0;
  while (place < shorter && expected[place] == found[place]) ++place;
  return testing::AssertionFailure() << expected.size() << " bytes expected, " << found.size()
                                     << " found; they differ from byte " << place << " on";
}

inline std::size_t OpenDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// ---- Reading and writing strings ----

inline std::string Read(QUAV_FileStream& stream, std::size_t count) {
  std::string bytes(count, '\0');
  bytes.resize(stream.Read(bytes.data(), count));
  return bytes;
}

inline unsigned long Write(QUAV_FileStream& stream, const std::string& bytes) {
  return stream.Write(bytes.data(), bytes.size());
}

inline std::string Text(const QUAV_FileStream::Window& window) {
  std::string bytes(window.Size(), '\0');
  if (!bytes.empty()) std::memcpy(bytes.data(), window.begin, bytes.size());
  return bytes;
}

// ---- System calls that fail ----

// A transfer that breaks off takes half of its bytes, and the next call fails.
enum class FaultKind { none, error, shortTransfer, breakOff, interruption };

struct Fault {
  FaultKind kind = FaultKind::none;
  int error = 0;         // the errno of the failing call
  int call = 0;          // counted from 1
  bool lasting = false;  // the calls after it fail too
};

// While it lives, it is between the files and the system: it records each call, and makes the one fail that the fault
// names. Calls for advice are recorded but not counted. A failing close does close, as the system's does.
class FaultyCalls {
 public:
  enum class Kind { open, close, unlink, read, write, append, status, truncate };
  struct Call {
    Kind kind;
    std::size_t size;
    off_t offset;
  };
  struct Advice {
    off_t offset;
    off_t length;
    int advice;
    bool operator==(const Advice&) const = default;
  };

  explicit FaultyCalls(const Fault& fault = {}) : m_fault(fault), m_system(PresentFileCalls()) {
    s_present = this;
    PresentFileCalls() = {&Open, &Close, &Unlink, &Read, &Write, &Append, &Status, &Truncate, &Advise};
  }
  ~FaultyCalls() {
    PresentFileCalls() = m_system;
    s_present = nullptr;
  }
  FaultyCalls(const FaultyCalls&) = delete;
  FaultyCalls& operator=(const FaultyCalls&) = delete;

  // Whether the call that the fault names was made; for one that breaks off, the call after it.
  bool Struck() const { return m_fault.call > 0 && static_cast<int>(m_calls.size()) >= LastCall(); }
  const std::vector<Call>& Calls() const { return m_calls; }
  std::vector<Call> CallsOf(Kind kind) const {
    std::vector<Call> calls;
    std::ranges::copy_if(m_calls, std::back_inserter(calls), [kind](const Call& call) { return call.kind == kind; });
    return calls;
  }
  const std::vector<Advice>& AllAdvice() const { return m_advice; }

 private:
  int LastCall() const { return m_fault.kind == FaultKind::breakOff ? m_fault.call + 1 : m_fault.call; }

  // The fault of the present call.
  FaultKind Present() const {
    const int number = static_cast<int>(m_calls.size());
    if (m_fault.call == 0 || number < m_fault.call || (number > LastCall() && !m_fault.lasting)) return FaultKind::none;
    if (m_fault.kind != FaultKind::breakOff) return m_fault.kind;
    return number == m_fault.call ? FaultKind::shortTransfer : FaultKind::error;
  }

  static FaultKind Note(Kind kind, std::size_t size = 0, off_t offset = 0) {
    s_present->m_calls.push_back({kind, size, offset});
    return s_present->Present();
  }

  static int Failed(FaultKind kind) {
    errno = kind == FaultKind::interruption ? EINTR : s_present->m_fault.error;
    return -1;
  }

  static bool Fails(FaultKind kind) { return kind == FaultKind::error || kind == FaultKind::interruption; }

  static std::size_t Taken(FaultKind kind, std::size_t size) {
    return kind == FaultKind::shortTransfer ? (size + 1) / 2 : size;
  }

  static int Open(const char* name, int flags, mode_t permissions) {
    const FaultKind fault = Note(Kind::open);
    return Fails(fault) ? Failed(fault) : s_present->m_system.open(name, flags, permissions);
  }
  static int Close(int descriptor) {
    const FaultKind fault = Note(Kind::close);
    const int answer = s_present->m_system.close(descriptor);
    return Fails(fault) ? Failed(fault) : answer;
  }
  static int Unlink(const char* name) {
    const FaultKind fault = Note(Kind::unlink);
    return Fails(fault) ? Failed(fault) : s_present->m_system.unlink(name);
  }
  static ssize_t Read(int descriptor, void* buffer, std::size_t size, off_t offset) {
    const FaultKind fault = Note(Kind::read, size, offset);
    if (Fails(fault)) return Failed(fault);
    return s_present->m_system.pread(descriptor, buffer, Taken(fault, size), offset);
  }
  static ssize_t Write(int descriptor, const void* buffer, std::size_t size, off_t offset) {
    const FaultKind fault = Note(Kind::write, size, offset);
    if (Fails(fault)) return Failed(fault);
    return s_present->m_system.pwrite(descriptor, buffer, Taken(fault, size), offset);
  }
  static ssize_t Append(int descriptor, const void* buffer, std::size_t size) {
    const FaultKind fault = Note(Kind::append, size);
    if (Fails(fault)) return Failed(fault);
    return s_present->m_system.write(descriptor, buffer, Taken(fault, size));
  }
  static int Status(int descriptor, struct stat* answer) {
    const FaultKind fault = Note(Kind::status);
    return Fails(fault) ? Failed(fault) : s_present->m_system.fstat(descriptor, answer);
  }
  static int Truncate(int descriptor, off_t length) {
    const FaultKind fault = Note(Kind::truncate, static_cast<std::size_t>(length));
    return Fails(fault) ? Failed(fault) : s_present->m_system.ftruncate(descriptor, length);
  }
  static int Advise(int descriptor, off_t offset, off_t length, int advice) {
    s_present->m_advice.push_back({offset, length, advice});
    return s_present->m_system.fadvise(descriptor, offset, length, advice);
  }

  inline static FaultyCalls* s_present = nullptr;

  Fault m_fault;
  FileCalls m_system;
  std::vector<Call> m_calls;
  std::vector<Advice> m_advice;
};

#endif
