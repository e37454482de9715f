// An input with given bytes, in a file without a name.

#ifndef DATASRC_TESTS_CLI_INPUTFILE_H
#define DATASRC_TESTS_CLI_INPUTFILE_H

#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>

class InputFile {
 public:
  explicit InputFile(std::string_view bytes) : m_file(memfd_create("input", MFD_CLOEXEC)) {
    if (m_file < 0 || ::write(m_file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
      throw std::runtime_error("cannot make a file in memory");
  }
  ~InputFile() { ::close(m_file); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(m_file); }

 private:
  int m_file;
};

#endif
