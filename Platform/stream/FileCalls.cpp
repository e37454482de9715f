#include "Platform/stream/FileCalls.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

int Open(const char* name, int flags, mode_t permissions) { return ::open(name, flags, permissions); }

}  // namespace

FileCalls& PresentFileCalls() {
  static constinit FileCalls calls{&Open,    &::close, &::unlink,    &::pread,        &::pwrite,
                                   &::write, &::fstat, &::ftruncate, &::posix_fadvise};
  return calls;
}
