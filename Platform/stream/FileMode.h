// How a file is opened, as the letters of a mode tell it.
//
//   r   reads; the file must be there
//   w   writes; the file is made anew
//   a   writes, always at the end; the file is made when missing
//   +   behind one of these: reads and writes
//   b   behind one of these: changes nothing, every file is bytes
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
};

// Nothing when the letters are no mode (null and the empty text are none).
std::optional<FileMode> ParseFileMode(const char* letters);

#endif
