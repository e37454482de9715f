// The bytes of an Arrow file.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWFILE_FILEBYTES_H
#define COLUMNS_ARROWFILE_FILEBYTES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Platform/stream/QUAV_FileStream.h"

namespace arrowfile {

// A part of a file in memory, at an address that is a multiple of 16.
struct Bytes {
  std::shared_ptr<const std::byte[]> data;
  std::int64_t size = 0;
};

class FileBytes {
 public:
  // Throws QuavServerError 1201 for a file that cannot be opened, ArrowFileError for what is no regular file.
  explicit FileBytes(const std::string& path);

  std::int64_t Size() const { return m_size; }
  // Returns `size` bytes from `position` on. Throws ArrowFileError when the file does not have them.
  Bytes Read(std::int64_t position, std::int64_t size);

 private:
  QUAV_FileStream m_stream;
  std::int64_t m_size = 0;
};

}  // namespace arrowfile

#endif
