// Temp directories that belong to one test. The process uses them while the object lives; before and after, it uses
// those of the environment. The functions show what other processes would find there.

#ifndef TESTS_SUPPORT_SPOOLDIRECTORIES_H
#define TESTS_SUPPORT_SPOOLDIRECTORIES_H

#include <stdlib.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/tempdirs/QuavTempDirs.h"

class SpoolDirectories {
 public:
  explicit SpoolDirectories(std::size_t count) {
    std::string pattern = (std::filesystem::temp_directory_path() / "datasrc-spool-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    m_root = pattern;
    Use(count);
  }
  SpoolDirectories(const SpoolDirectories&) = delete;
  SpoolDirectories& operator=(const SpoolDirectories&) = delete;
  ~SpoolDirectories() {
    QuavTempDirs::Instance().SetFromEnvironment(nullptr);
    std::error_code ignored;  // Deliberate: the system clears its temporary directory in the end.
    std::filesystem::remove_all(m_root, ignored);
  }

  // Makes the process use `count` directories from now on.
  void Use(std::size_t count) {
    std::vector<std::string> directories;
    for (std::size_t i = 0; i < count; ++i) {
      directories.push_back((m_root / std::to_string(i)).string());
      std::filesystem::create_directory(directories.back());
    }
    QuavTempDirs::Instance().Set(directories, nullptr);
  }

  // Returns whether no directory holds a file with a name.
  bool AreEmpty() const {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_root))
      if (!entry.is_directory()) return false;
    return true;
  }

  std::string Root() const { return m_root.string(); }

 private:
  std::filesystem::path m_root;
};

// Returns the names of the stripe files from the joined name of a temp file.
inline std::vector<std::string> StripeNames(const std::string& joined) {
  std::vector<std::string> names;
  std::istringstream parts(joined);
  for (std::string name; std::getline(parts, name, ',');) names.push_back(name);
  return names;
}

// Returns a path through which this process reaches the one file that is open in the directory of `name`. The file
// itself has no name.
inline std::filesystem::path OpenFileIn(const std::string& name) {
  const std::string directory = std::filesystem::path(name).parent_path().string() + "/";
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const std::string target = std::filesystem::read_symlink(entry, gone).string();
    if (!gone && target.starts_with(directory)) return entry.path();
  }
  throw std::runtime_error("no file is open in " + directory);
}

// Returns what is on disk of that file.
inline std::string BytesOnDisk(const std::string& name) {
  std::ifstream file(OpenFileIn(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

#endif
