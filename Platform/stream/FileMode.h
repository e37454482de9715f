// The way to open a file, parsed from the letters of a mode.
//
//   r   reads; the file must exist
//   w   writes; makes the file, or empties it
//   a   writes, always at the end; makes the file when it does not exist
//   +   after one of these: reads and writes
//   b   after one of these: changes nothing, every file is bytes
//   T   after w: temporary, only this process's user has access (0600)
//   D   after w: deleted on close. The file has no name, so no other process can open it, and it disappears with its
//       last user, even when the process is killed. Where the file system has no nameless files, the file is made under
//       the name (0600) and unlinked at once. An existing file of that name is never changed.
//
// Threads: a value.

#ifndef PLATFORM_STREAM_FILEMODE_H
#define PLATFORM_STREAM_FILEMODE_H

#include <optional>

struct FileMode {
  bool read = false;
  bool write = false;
  bool append = false;
  bool create = false;
  bool truncate = false;
  bool temporary = false;
  bool deleteOnClose = false;
  // The bytes on disk are enciphered (FileCipher.h). No letter sets this; the stream does. It is only for new files:
  // the key of an existing file is unknown.
  bool encrypt = false;
};

// Returns nothing when the letters are no mode, as for null and the empty text.
std::optional<FileMode> ParseFileMode(const char* letters);

#endif
