// One open file: transfers at absolute positions, with no buffer and no position of its own.
//
// A transfer is full: it goes on after an interruption or when the system took less, until all is done, the file ends
// (reading) or the system fails. Positions and lengths are 64 bits, in bytes.
//
// Several streams share a file: each joins it and leaves it, and the last one to leave closes it.
//
// An enciphered file (FileMode::encrypt) is plain to its users: lengths and positions are the same, a hole reads as
// zero bytes. Only the disk has other bytes.
//
// Threads: any number at once, but Close is the last call. Writes to an enciphered file wait for one another.

#ifndef PLATFORM_STREAM_QUAV_FILE_H
#define PLATFORM_STREAM_QUAV_FILE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/stream/FileMode.h"

class QUAV_File {
 public:
  // What a transfer came to. An error is an errno; 0 with fewer bytes than asked for is the end of the file.
  struct Transfer {
    std::size_t bytes = 0;
    int error = 0;
  };

  // Opens the file, for one user. Null, with errno set, when that fails; a directory is refused with EISDIR, a file to
  // be enciphered that is not made anew with EINVAL.
  static std::shared_ptr<QUAV_File> Open(const char* name, const FileMode& mode);

  QUAV_File(const QUAV_File&) = delete;
  QUAV_File& operator=(const QUAV_File&) = delete;
  ~QUAV_File();

  const FileMode& Mode() const { return m_mode; }

  Transfer ReadAt(void* buffer, std::size_t size, std::int64_t offset) const;
  // Fails with EFBIG where a position behind the bytes is none.
  Transfer WriteAt(const void* buffer, std::size_t size, std::int64_t offset);
  // Writes at the end, wherever that is by now. For a file in append mode, which takes no other writes.
  Transfer Append(const void* buffer, std::size_t size);

  // -1, with errno set, when it cannot be told.
  std::int64_t Length() const;
  // Cuts the file off at the length, or fills it up with zero bytes. 0, or an errno.
  int Truncate(std::int64_t length);

  // Tells the kernel how the file will be used, a POSIX_FADV_ value. Advice cannot fail.
  void Advise(int advice) const;

  // One more user.
  void Join();
  // One user less; the last one closes the file, and is answered what Close says. 0 for the others.
  int Leave();
  // 0, or the errno that closing met. The file is closed either way; closing it again does nothing.
  int Close();

  // The errno of a write that failed when the stream that held the bytes was gone already, so that nobody could be
  // told: those who still share the file learn of it here. 0 for none.
  int LostWrite() const { return m_lostWrite; }
  void SetLostWrite(int error) { m_lostWrite = error; }

 private:
  class Enciphered;

  explicit QUAV_File(const FileMode& mode);

  Transfer ReadPlainAt(void* buffer, std::size_t size, std::int64_t offset) const;
  Transfer WritePlainAt(const void* buffer, std::size_t size, std::int64_t offset) const;

  int m_descriptor = -1;  // -1: not open
  const FileMode m_mode;
  std::atomic<int> m_users = 1;
  std::atomic<int> m_lostWrite = 0;
  std::unique_ptr<Enciphered> m_enciphered;  // null: the bytes on disk are plain
};

#endif
