// A file with given bytes in a temporary directory of its own. The object removes both at its end.
//
// Threads: a value that is not copied.

#ifndef TESTS_SUPPORT_TEMPFILE_H
#define TESTS_SUPPORT_TEMPFILE_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

class TempFile {
 public:
  explicit TempFile(std::string_view bytes, const std::string& name = "sample.quav") {
    std::string pattern = (std::filesystem::temp_directory_path() / "datasrc-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    m_directory = pattern;
    m_name = (m_directory / name).string();
    SetBytes(bytes);
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile() {
    std::error_code ignored;  // Deliberate: the test may have removed the directory itself.
    std::filesystem::remove_all(m_directory, ignored);
  }

  const std::string& Name() const { return m_name; }
  std::string Directory() const { return m_directory.string(); }

  void SetBytes(std::string_view bytes) const {
    std::ofstream file(m_name, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("the temporary file cannot be written");
  }
  std::string Bytes() const {
    std::ifstream file(m_name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path m_directory;
  std::string m_name;
};

#endif
