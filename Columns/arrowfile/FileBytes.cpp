#include "Columns/arrowfile/FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Platform/messages/MessageNumbers.h"
#include "Platform/messages/ThrowError.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

FileBytes::FileBytes(const std::string& path) : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (m_descriptor < 0) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, path.c_str());
  struct stat status {};
  const bool isFile = fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
  m_size = status.st_size;
  if (isFile) return;
  close(m_descriptor);
  throw ArrowFileError("an Arrow file is read from its end, so it must be a regular file");
}

FileBytes::~FileBytes() { close(m_descriptor); }

Bytes FileBytes::Read(std::int64_t position, std::int64_t size) const {
  if (position < 0 || size < 0 || position > m_size || size > m_size - position)
    throw ArrowFileError("the file ends before byte " + std::to_string(position) + " + " + std::to_string(size));
  // Memory of new[] is aligned for every type; that of make_shared is not.
  const std::shared_ptr<std::byte[]> data(new std::byte[static_cast<std::size_t>(size)]);
  for (std::int64_t got = 0; got < size;) {
    const ssize_t count = pread(m_descriptor, data.get() + got, static_cast<std::size_t>(size - got), position + got);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw ArrowFileError(std::string("the file cannot be read (") + std::strerror(errno) + ")");
    if (count == 0) throw ArrowFileError("the file has become shorter");
    got += count;
  }
  return {data, size};
}

}  // namespace arrowfile
