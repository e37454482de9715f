#include "Columns/files/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <tuple>
#include <utility>

#include "Columns/files/FileFailure.h"
#include "Columns/files/LockedFile.h"
#include "Columns/files/Sync.h"

namespace dstext {

namespace {

constexpr mode_t kNewFileMode = 0666;  // before the umask
constexpr mode_t kPrivateMode = 0600;  // until the file is complete
constexpr mode_t kModeBits = 07777;
constexpr mode_t kPrivilegeBits = 06000;  // set-user-ID and set-group-ID
constexpr int kMostNames = 100;           // names that are tried beside the final one

// The names of files that are not finished. A handler of signals reads them at any time, so each has a fixed place.
struct UnfinishedName {
  std::atomic<bool> isTaken{false};
  std::atomic<bool> isSet{false};
  std::array<char, PATH_MAX> name{};
};

std::array<UnfinishedName, 8> theUnfinishedNames;

// More names than there are places stay unknown to the handler, and so do very long ones.
void Remember(const std::string& name) {
  if (name.size() >= PATH_MAX) return;
  for (UnfinishedName& place : theUnfinishedNames) {
    if (place.isTaken.exchange(true)) continue;
    place.name[name.copy(place.name.data(), PATH_MAX - 1)] = '\0';
    place.isSet = true;
    return;
  }
}

void Forget(const std::string& name) {
  for (UnfinishedName& place : theUnfinishedNames) {
    if (!place.isSet || name != place.name.data()) continue;
    place.isSet = false;
    place.isTaken = false;
    return;
  }
}

// Returns the file that a symbolic link leads to, so that the link stays when the file is replaced.
std::string Resolved(const std::string& path) {
  std::error_code none;
  const auto resolved = std::filesystem::weakly_canonical(path, none);
  return resolved.empty() ? path : resolved.string();
}

std::string FolderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

mode_t ModeOfAnyNewFile() {
  const mode_t mask = umask(0);
  umask(mask);
  return kNewFileMode & ~mask;
}

// Gives the file the owner and the group. Returns false when only the group or neither could be set: giving a file away
// is for a privileged process, and a user may choose only among his own groups.
bool SetOwner(int descriptor, uid_t owner, gid_t group) {
  if (fchown(descriptor, owner, group) == 0) return true;
  constexpr uid_t kSame = static_cast<uid_t>(-1);
  std::ignore = fchown(descriptor, kSame, group);
  return false;
}

std::string NameOfDescriptor(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

bool Link(int descriptor, const std::string& name) {
  return linkat(AT_FDCWD, NameOfDescriptor(descriptor).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

NewFile::NewFile(const std::string& path, const NewFileOptions& options)
    : m_name(path), m_finalName(Resolved(path)), m_options(options) {
  try {
    if (!MakeNameless()) MakeNamed();
  } catch (...) {
    if (m_descriptor >= 0) close(m_descriptor);
    throw;
  }
}

NewFile::~NewFile() {
  if (m_descriptor >= 0) close(m_descriptor);
  if (m_partName.empty()) return;
  unlink(m_partName.c_str());
  Forget(m_partName);
}

// Other code can open a nameless file only through /proc.
bool NewFile::MakeNameless() {
  m_descriptor = open(FolderOf(m_finalName).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kPrivateMode);
  if (m_descriptor < 0) return false;
  if (access(Path().c_str(), R_OK | W_OK) == 0) return true;
  close(m_descriptor);
  m_descriptor = -1;
  return false;
}

void NewFile::MakeNamed() {
  std::string partName = m_finalName + ".XXXXXX";
  m_descriptor = mkostemp(partName.data(), O_CLOEXEC);
  if (m_descriptor < 0) Fail("the output cannot be created");
  m_partName = std::move(partName);
  Remember(m_partName);
}

std::string NewFile::Path() const { return m_partName.empty() ? NameOfDescriptor(m_descriptor) : m_partName; }

void NewFile::Finish() {
  const std::string folder = FolderOf(m_finalName);  // after the rename, a lack of memory must not be a failure
  KeepOwnerAndMode();
  if (m_options.sync && !SyncDescriptor(m_descriptor)) Fail("the output cannot be written");
  if (m_options.old != nullptr) m_options.old->RefuseChange();
  if (m_partName.empty()) GiveName();
  const int descriptor = m_descriptor;
  m_descriptor = -1;
  if (close(descriptor) != 0) Fail("the output cannot be written");
  if (!m_partName.empty() && std::rename(m_partName.c_str(), m_finalName.c_str()) != 0)
    Fail("the output cannot be given its final name");
  Forget(m_partName);
  m_partName.clear();
  if (m_options.sync && !SyncFolder(folder)) Fail("the name of the output cannot be written");
}

// The owner comes first: setting it can change the mode.
void NewFile::KeepOwnerAndMode() const {
  struct stat replaced {};
  mode_t mode = ModeOfAnyNewFile();
  if (stat(m_finalName.c_str(), &replaced) == 0) {
    mode = replaced.st_mode & kModeBits;
    if (!SetOwner(m_descriptor, replaced.st_uid, replaced.st_gid)) mode &= ~kPrivilegeBits;
  }
  if (fchmod(m_descriptor, mode) != 0) Fail("the mode of the output cannot be set");
}

// Links the file to its final name when that is free, otherwise to a name beside it: only a rename can replace a file.
void NewFile::GiveName() {
  if (Link(m_descriptor, m_finalName)) return;
  for (int number = 0; number < kMostNames && errno == EEXIST; ++number) {
    std::string partName = m_finalName + "." + std::to_string(getpid()) + "-" + std::to_string(number);
    if (!Link(m_descriptor, partName)) continue;
    m_partName = std::move(partName);  // cannot fail: the destructor removes the name
    Remember(m_partName);
    return;
  }
  Fail("the output cannot be given its final name");
}

void NewFile::Fail(const char* what) const {
  const int reason = errno;
  throw FileFailure(std::string(what) + " (" + std::generic_category().message(reason) + ")", m_name);
}

void RemoveUnfinishedFiles() {
  for (const UnfinishedName& place : theUnfinishedNames)
    if (place.isSet) unlink(place.name.data());
}

bool IsIrregular(const std::string& path) {
  std::error_code none;
  const auto status = std::filesystem::status(path, none);
  return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

void RefuseUnwritableOutput(const std::string& path) {
  std::error_code none;
  const auto status = std::filesystem::status(path, none);
  if (!std::filesystem::exists(status)) return;
  const auto reason = [](int number) { return " (" + std::generic_category().message(number) + ")"; };
  constexpr char kIrregular[] = "the output is not a regular file";
  if (std::filesystem::is_directory(status)) throw FileFailure(kIrregular + reason(EISDIR), path);
  if (!std::filesystem::is_regular_file(status)) throw FileFailure(kIrregular, path);
  if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
    throw FileFailure("the output may not be written" + reason(errno), path);
}

void RefuseToReplaceInput(const std::string& input, const std::string& output, const char* what) {
  struct stat from {};
  struct stat to {};
  if (stat(input.c_str(), &from) != 0 || stat(output.c_str(), &to) != 0) return;
  if (S_ISREG(to.st_mode) && from.st_dev == to.st_dev && from.st_ino == to.st_ino)
    throw FileFailure(std::string("the output would replace the ") + what, output);
}

}  // namespace dstext
