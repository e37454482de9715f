// A stream over bytes in memory that fails at its n-th operation.
//
//   kNone       no failure
//   kFails      that operation and all later ones fail: they transfer nothing, and the stream is not good
//   kFailsOnce  that operation fails; the next ones work again, but the stream is not good until it is cleared
//   kShortens   that transfer moves half of the requested bytes; for a reader the data ends there
//   kStops      for a reader the data ends before that operation
//
// A stream stays good when the data ends too early, like a file that was truncated after its length was read. For a
// writer the device is full instead: its stream is not good. The operations that may fail are Read, Write, Seek, Peek,
// Length, Open and Flush; the others are not counted.
//
// The window is as small as the request, so that a reader has to ask often.
//
// Threads: one thread at a time.

#ifndef TESTS_SUPPORT_FAULTYSTREAM_H
#define TESTS_SUPPORT_FAULTYSTREAM_H

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "Platform/stream/QUAV_FileStream.h"

class FaultyStream : public QUAV_FileStream {
 public:
  enum Fault { kNone, kFails, kFailsOnce, kShortens, kStops };

  explicit FaultyStream(std::string bytes, Fault fault = kNone, int n = 0)
      : m_bytes(std::move(bytes)), m_end(m_bytes.size()), m_fault(fault), m_n(n) {}

  // Returns what the stream holds now.
  const std::string& Bytes() const { return m_bytes; }
  // Returns whether the n-th operation has been reached.
  bool Struck() const { return m_fault != kNone && m_operations >= m_n; }
  int Operations() const { return m_operations; }

  void Clear() override { m_good = true; }
  bool Good() override { return m_good; }

  unsigned long Read(void* buffer, unsigned long count) override {
    const std::size_t size = Allowed(count);
    std::memcpy(buffer, m_bytes.data() + std::min(m_position, m_bytes.size()), size);
    m_position += size;
    return size;
  }

  unsigned long Write(const void* buffer, unsigned long count) override {
    const Outcome outcome = Strike();
    std::size_t size = count;
    if (outcome == Outcome::fails || outcome == Outcome::stops) size = 0;
    if (outcome == Outcome::shortens) size = count / 2;
    if (size < count) Fail(ENOSPC);
    if (m_bytes.size() < m_position + size) m_bytes.resize(m_position + size);
    std::memcpy(m_bytes.data() + m_position, buffer, size);
    m_position += size;
    m_end = std::max(m_end, m_position);
    return size;
  }

  int Seek(long offset, SeekDirection direction) override {
    if (Strike() == Outcome::fails) return Fail(EIO);
    long from = 0;
    if (direction == kSeekFromPresent) from = static_cast<long>(m_position);
    if (direction == kSeekFromEnd) from = static_cast<long>(m_end);
    if (from + offset < 0) return -1;
    m_position = static_cast<std::size_t>(from + offset);
    return 0;
  }

  long Tell() const override { return static_cast<long>(m_position); }
  int EndOfFile() override { return m_position >= m_end ? 1 : 0; }

  Window Peek(std::size_t wanted) override {
    const std::size_t size = Allowed(wanted);
    const auto* begin = reinterpret_cast<const std::byte*>(m_bytes.data()) + std::min(m_position, m_bytes.size());
    return {begin, begin + size};
  }
  void Skip(std::size_t count) override { m_position += count; }

  // Returns the length that the file had when it was opened.
  long Length() override { return Strike() == Outcome::fails ? Fail(EIO) : static_cast<long>(m_bytes.size()); }

  int Open(const char*, const char*) override { return OpenAgain(); }
  int Open(const ExtNameStr&, const char*) override { return OpenAgain(); }
  int Open(const char*, const char*, const char*) override { return OpenAgain(); }
  int Open(const ExtNameStr&, const ExtNameStr&, const char*) override { return OpenAgain(); }
  void ClearAndReset() override { Clear(); }
  ExtNameStr GetNameStr() const override { return ExtNameStr("in memory"); }
  int Close() override { return 0; }
  int Close() const override { return 0; }
  int Flush() override { return Strike() == Outcome::fails ? Fail(EIO) : 0; }
  const char* Name() const override { return "in memory"; }
  unsigned long Footprint() const override { return 0; }

 private:
  enum class Outcome { works, fails, shortens, stops };

  // Counts the operation and returns its outcome.
  Outcome Strike() {
    ++m_operations;
    if (!Struck()) return Outcome::works;
    const bool now = m_operations == m_n;
    switch (m_fault) {
      case kFails:
        return Outcome::fails;
      case kFailsOnce:
        return now ? Outcome::fails : Outcome::works;
      case kShortens:
        return now ? Outcome::shortens : Outcome::works;
      case kStops:
        if (now) m_end = std::min(m_end, m_position);
        return now ? Outcome::stops : Outcome::works;
      default:
        return Outcome::works;
    }
  }

  // Returns -1, for the operations that report a failure this way.
  int Fail(int reason) {
    m_good = false;
    errno = reason;
    return -1;
  }

  // Returns how many of `count` bytes from the position on may be read.
  std::size_t Allowed(std::size_t count) {
    const Outcome outcome = Strike();
    if (outcome == Outcome::fails) {
      Fail(EIO);
      return 0;
    }
    std::size_t size = m_position < m_end ? std::min(count, m_end - m_position) : 0;
    if (outcome == Outcome::shortens) {
      size = std::min(size, count / 2);
      m_end = std::min(m_end, m_position + size);
    }
    return size;
  }

  int OpenAgain() {
    if (Strike() == Outcome::fails) {
      Fail(EACCES);
      return 0;
    }
    m_position = 0;
    m_good = true;
    return 1;
  }

  std::string m_bytes;
  std::size_t m_position = 0;
  std::size_t m_end;  // where the data ends for a reader
  bool m_good = true;
  Fault m_fault;
  int m_n;
  int m_operations = 0;
};

#endif
