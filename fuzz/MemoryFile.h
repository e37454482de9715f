// An unnamed file in memory that holds given bytes. Code that opens files by name can open it by Path().

#ifndef DATASRC_FUZZ_MEMORYFILE_H
#define DATASRC_FUZZ_MEMORYFILE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* bytes, std::size_t size) : m_file(memfd_create("fuzz", MFD_CLOEXEC)) {
    if (m_file < 0 || ::write(m_file, bytes, size) != static_cast<ssize_t>(size))
      throw std::runtime_error("cannot make a file in memory");
  }
  ~MemoryFile() { ::close(m_file); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(m_file); }

 private:
  int m_file;
};

#endif
