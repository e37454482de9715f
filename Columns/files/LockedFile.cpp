#include "Columns/files/LockedFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Columns/files/FileFailure.h"
#include "Columns/files/NewFile.h"
#include "Columns/files/Sync.h"
#include "Platform/messages/ThrowError.h"

namespace dstext {

namespace {

bool IsSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool IsSameState(const struct stat& one, const struct stat& other) {
  return IsSameFile(one, other) && one.st_size == other.st_size && one.st_mtim.tv_sec == other.st_mtim.tv_sec &&
         one.st_mtim.tv_nsec == other.st_mtim.tv_nsec;
}

}  // namespace

LockedFile::LockedFile(const std::string& path) : m_name(path) {
  if (IsIrregular(path)) return;
  try {
    // The file that another command replaced while this one waited is not the file of that name any more.
    for (Open(), Lock(); !HasName(); Open(), Lock()) Close();
  } catch (...) {
    Close();
    throw;
  }
  fstat(m_descriptor, &m_locked);
}

LockedFile::~LockedFile() { Close(); }

// A network file system may demand a descriptor for writing. A file that is replaced need not be writable.
void LockedFile::Open() {
  m_descriptor = open(m_name.c_str(), O_RDWR | O_CLOEXEC);
  if (m_descriptor < 0) m_descriptor = open(m_name.c_str(), O_RDONLY | O_CLOEXEC);
  if (m_descriptor < 0) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, m_name.c_str());
}

void LockedFile::Lock() {
  while (flock(m_descriptor, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    m_warning = std::string("the file cannot be locked (") + std::strerror(errno) +
                "): another program may change it at the same time";
    return;
  }
}

bool LockedFile::HasName() const {
  struct stat opened {};
  struct stat named {};
  if (fstat(m_descriptor, &opened) != 0 || stat(m_name.c_str(), &named) != 0) return true;
  return IsSameFile(opened, named);
}

void LockedFile::Close() {
  if (m_descriptor >= 0) close(m_descriptor);
  m_descriptor = -1;
}

void LockedFile::RequireWritable() const {
  if (m_descriptor >= 0 && faccessat(AT_FDCWD, m_name.c_str(), W_OK, AT_EACCESS) != 0)
    ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, m_name.c_str());
}

void LockedFile::RefuseChange() const {
  if (m_descriptor < 0) return;
  struct stat now {};
  if (stat(m_name.c_str(), &now) != 0 || !IsSameState(m_locked, now))
    throw FileFailure("another program changed the file during the work, so no case was added", m_name);
}

void LockedFile::Sync() const {
  if (m_descriptor >= 0 && !SyncDescriptor(m_descriptor))
    throw FileFailure(std::string("the file cannot be written to the disk (") + std::strerror(errno) + ")", m_name);
}

}  // namespace dstext
