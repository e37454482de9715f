#include "Columns/files/Sync.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace dstext {

bool SyncDescriptor(int descriptor) {
  while (fsync(descriptor) != 0) {
    // Some file systems have nothing to sync.
    if (errno == EINVAL || errno == EROFS || errno == ENOTSUP) return true;
    if (errno != EINTR) return false;
  }
  return true;
}

bool SyncFolder(const std::string& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return true;
  const bool isDone = SyncDescriptor(descriptor);
  const int reason = errno;
  close(descriptor);
  errno = reason;
  return isDone;
}

}  // namespace dstext
