#include "Columns/arrowfile/FileBytes.h"

#include <sys/stat.h>

#include <cstring>

#include "Platform/messages/MessageNumbers.h"
#include "Platform/messages/ThrowError.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

FileBytes::FileBytes(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    throw ArrowFileError("an Arrow file is read from its end, so it must be a regular file");
  if (m_stream.Open(path.c_str(), "rb") == 0) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, path.c_str());
  m_size = m_stream.Length();
}

Bytes FileBytes::Read(std::int64_t position, std::int64_t size) {
  if (position < 0 || size < 0 || position > m_size || size > m_size - position)
    throw ArrowFileError("the file ends before byte " + std::to_string(position) + " + " + std::to_string(size));
  // Memory of new[] is aligned for every type; that of make_shared is not.
  const std::shared_ptr<std::byte[]> data(new std::byte[static_cast<std::size_t>(size)]);
  const auto count = static_cast<unsigned long>(size);
  if (m_stream.Seek(position, kSeekFromStart) == 0 && m_stream.Read(data.get(), count) == count) return {data, size};
  if (m_stream.Error() == 0) throw ArrowFileError("the file has become shorter");
  throw ArrowFileError(std::string("the file cannot be read (") + std::strerror(m_stream.Error()) + ")");
}

}  // namespace arrowfile
