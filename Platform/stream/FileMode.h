// How a file is opened, as the letters of a mode tell it.
//
//   r   reads; the file must be there
//   w   writes; the file is made anew
//   a   writes, always at the end; the file is made when missing
//   +   behind one of these: reads and writes
//   b   behind one of these: changes nothing, every file is bytes
//   T   behind w: temporary, a file for this process's user alone (0600)
//   D   behind w: deleted on close. From the start the file has no name that another process could open; it goes with
//       its last user, also when the process is killed. What stands under the name already is left alone.
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
  // No letter asks for it, but the stream: the bytes on disk are enciphered (FileCipher.h). Only for files made anew:
  // nobody else has the key of one that stands.
  bool encrypt = false;
};

// Nothing when the letters are no mode (null and the empty text are none).
std::optional<FileMode> ParseFileMode(const char* letters);

#endif
