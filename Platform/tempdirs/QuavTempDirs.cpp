#include "Platform/tempdirs/QuavTempDirs.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include "Platform/Assert.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/stream/QUAV_FileStream.h"

namespace {

constexpr int kNoTempFile = 1001;
constexpr int kDirectoryLeftOut = 1004;

constexpr char kVariable[] = "TMPDIR";
constexpr char kDefaultDirectory[] = "/tmp";

// The parts of a file's name: prefix, process, number and random part, as FormTempName writes them.
constexpr std::size_t kPrefixRoom = 32;  // a longer prefix fits only after a shorter directory
constexpr std::size_t kMaxName = kPrefixRoom + sizeof("-4294967295-0123456789abcdef-01234567");
constexpr std::size_t kMaxDirectory = kTempNameRoom - sizeof("/") - kMaxName;

std::vector<std::string> Split(const std::string& list) {
  std::vector<std::string> directories;
  std::istringstream parts(list);
  for (std::string part; std::getline(parts, part, ':');) {
    if (!part.empty()) directories.push_back(part);
  }
  return directories;
}

std::vector<std::string> DirectoriesOfEnvironment() {
  const char* value = std::getenv(kVariable);
  if (value == nullptr || *value == '\0') return {kDefaultDirectory};
  std::error_code unknown;
  return std::filesystem::is_directory(value, unknown) ? std::vector<std::string>{value} : Split(value);
}

std::string Joined(const std::vector<std::string>& directories) {
  std::string text;
  for (const std::string& directory : directories) text += (text.empty() ? "" : ":") + directory;
  return text;
}

// Makes a file in the directory: only that is a sure test. Sets errno when it returns false.
bool IsUsable(const std::string& directory) {
  if (directory.size() > kMaxDirectory) {
    errno = ENAMETOOLONG;
    return false;
  }
  QUAV_FileStream probe;
  return probe.Open((directory + "/" + std::to_string(::getpid()) + "-probe").c_str(), "w+bTD") != 0;
}

void WarnOf(const std::string& directory, ErrorMonitor* monitor) {
  if (monitor == nullptr) return;
  std::array<char, 1024> text;
  std::snprintf(text.data(), text.size(), QuavServerErrorText(kDatasrcCatalog, kDirectoryLeftOut), directory.c_str());
  monitor->Warning({.text = text.data(), .number = kDirectoryLeftOut});
}

// Processes of different containers may have the same number and share a directory, so names also have a random part.
unsigned RandomPart() {
  static thread_local std::random_device random;
  return random();
}

}  // namespace

QuavTempDirs& QuavTempDirs::Instance() {
  static QuavTempDirs instance;
  return instance;
}

void QuavTempDirs::Set(const std::vector<std::string>& directories, ErrorMonitor* monitor) {
  m_set = true;
  Take(directories, monitor);
}

void QuavTempDirs::Take(const std::vector<std::string>& directories, ErrorMonitor* monitor) {
  m_directories.clear();
  int reason = ENOENT;
  for (const std::string& directory : directories) {
    std::string absolute = std::filesystem::absolute(directory).string();
    if (IsUsable(absolute)) {
      m_directories.push_back(std::move(absolute));
      continue;
    }
    reason = errno;
    WarnOf(directory, monitor);
  }
  if (!m_directories.empty()) return;
  const std::string all = Joined(directories);
  errno = reason;
  ThrowError::StringSys(kDatasrcCatalog, kNoTempFile, all.c_str());
}

void QuavTempDirs::SetFromEnvironment(ErrorMonitor* monitor) { Set(DirectoriesOfEnvironment(), monitor); }

// The user may correct the environment variable, so a list that could not be made from it is tried again.
void QuavTempDirs::NeedList() {
  if (m_set) return;
  const std::scoped_lock lock(m_making);
  if (m_set) return;
  Take(DirectoriesOfEnvironment(), nullptr);
  m_set = true;
}

std::size_t QuavTempDirs::Size() {
  NeedList();
  return m_directories.size();
}

const std::string& QuavTempDirs::Directory(std::size_t index) {
  NeedList();
  QUAV_ASSERT(index < m_directories.size(), "index < m_directories.size()");
  return m_directories[index];
}

const std::string& QuavTempDirs::Next() {
  NeedList();
  QUAV_ASSERT(!m_directories.empty(), "!m_directories.empty()");
  return m_directories[m_turn++ % m_directories.size()];
}

char* FormTempName(const char* prefix, char* buffer) {
  static std::atomic<unsigned long> lastNumber = 0;
  const int size = std::snprintf(buffer, kTempNameRoom, "%s/%s-%d-%lx-%08x", QuavTempDirs::Instance().Next().c_str(),
                                 prefix, static_cast<int>(::getpid()), ++lastNumber, RandomPart());
  if (0 <= size && static_cast<std::size_t>(size) < kTempNameRoom) return buffer;
  errno = ENAMETOOLONG;
  ThrowError::StringSys(kDatasrcCatalog, kNoTempFile, prefix);
  return buffer;
}
