// One open file: transfers at absolute positions, without a buffer and without a current position.
//
// A transfer is complete: after an interruption or a short transfer it continues until all is done, the file ends
// (reading) or the system fails. Positions and lengths are 64 bits, in bytes.
//
// Several streams share a file: each joins it and leaves it, and the last one that leaves closes it.
//
// Users of an enciphered file (FileMode::encrypt) see plain bytes: lengths and positions are the same, and a hole
// reads as zero bytes. Only the bytes on disk differ. A file without a name can be opened again through /proc/self/fd, as
// long as it is open: then the process sees plain bytes, too. Who opens a file by its name sees the bytes on disk.
//
// Threads: any number at once, but Close must be the last call. Writes to an enciphered file wait for one another.

#ifndef PLATFORM_STREAM_QUAV_FILE_H
#define PLATFORM_STREAM_QUAV_FILE_H

#include <sys/types.h>

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "Platform/stream/FileMode.h"

class QUAV_File {
 public:
  // The last possible position.
  static constexpr std::int64_t kMaxPosition = std::numeric_limits<std::int64_t>::max();

  // The result of a transfer. `error` is an errno; 0 with fewer bytes than requested means the end of the file.
  struct Transfer {
    std::size_t bytes = 0;
    int error = 0;
  };

  // Two open files are the same one, whatever their names are, when their identities are equal.
  struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    auto operator<=>(const Identity&) const = default;
  };

  // Opens the file, for one user. Returns null, with errno set, on failure: EISDIR for a directory, EINVAL when
  // `encrypt` is set but the mode does not make the file anew, and for appending to a file that is open and enciphered.
  static std::shared_ptr<QUAV_File> Open(const char* name, const FileMode& mode);

  QUAV_File(const QUAV_File&) = delete;
  QUAV_File& operator=(const QUAV_File&) = delete;
  ~QUAV_File();

  const FileMode& Mode() const { return m_mode; }
  Identity GetIdentity() const { return m_identity; }

  Transfer ReadAt(void* buffer, std::size_t size, std::int64_t offset) const;
  // Fails with EFBIG when the bytes would pass the last possible position.
  Transfer WriteAt(const void* buffer, std::size_t size, std::int64_t offset);
  // Writes at the present end of the file. Only a file in append mode takes this, and it takes no other writes.
  Transfer Append(const void* buffer, std::size_t size);

  // Returns -1, with errno set, when the length is unknown.
  std::int64_t Length() const;
  // Cuts the file at the length, or extends it with zero bytes. Returns 0, or an errno. Do not use it on an
  // enciphered file, whose holes it does not update: an extended range would read as noise.
  int Truncate(std::int64_t length);

  // Tells the kernel how the file will be used; `advice` is a POSIX_FADV_ value. A failure is ignored.
  void Advise(int advice) const;

  // Adds one user.
  void Join();
  // Removes one user. The last one closes the file and gets the result of Close; the others get 0.
  int Leave();
  // Returns 0, or the errno of a failed close. The file is closed in both cases; closing it again does nothing.
  int Close();

  // The errno of a write that failed after its stream could no longer report it, because the stream was being
  // destroyed. The streams that still share the file report it. 0: no such failure.
  int LostWrite() const { return m_lostWrite; }
  void SetLostWrite(int error) { m_lostWrite = error; }

 private:
  class Enciphered;

  explicit QUAV_File(const FileMode& mode);

  Transfer ReadPlainAt(void* buffer, std::size_t size, std::int64_t offset) const;
  Transfer WritePlainAt(const void* buffer, std::size_t size, std::int64_t offset) const;

  int m_descriptor = -1;  // -1: not open
  const FileMode m_mode;
  Identity m_identity;
  std::atomic<int> m_users = 1;
  std::atomic<int> m_lostWrite = 0;
  std::shared_ptr<Enciphered> m_enciphered;  // null: the bytes on disk are plain
};

#endif
