// The bytes of an input: a file, or standard input, which may be a pipe.
//
// Whoever has to look twice rewinds. A file is read again; what came through a pipe is kept, in memory first and from
// some megabytes on in a file without a name.
//
// A file that cannot be opened is error 1201, one that cannot be read a ToolError.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_INPUTBYTES_H
#define TOOLS_FILES_INPUTBYTES_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

namespace tool {

class InputBytes {
 public:
  // "-" is standard input.
  explicit InputBytes(const std::string& path);
  InputBytes(const InputBytes&) = delete;
  InputBytes& operator=(const InputBytes&) = delete;
  ~InputBytes();

  // For messages.
  const std::string& Name() const { return m_name; }
  // Reads on, at most `size` bytes. Returns how many; 0 is the end.
  std::size_t Read(char* bytes, std::size_t size);
  // Goes back to the start.
  void Rewind();
  // The first byte; 0 when there is none. Rewinds.
  char First();
  // The input will not be rewound any more: nothing has to be kept from here on.
  void ReadOnce() { m_keeps = false; }

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::size_t ReadDescriptor(char* bytes, std::size_t size);
  std::size_t ReadKept(char* bytes, std::size_t size);
  void Keep(const char* bytes, std::size_t size);
  void Spill(const char* bytes, std::size_t size);
  [[noreturn]] void Fail(const char* what) const;

  std::string m_name;
  int m_descriptor;
  bool m_closes = false;
  bool m_isFile = false;  // and can be read again
  bool m_keeps = true;
  std::string m_kept;                         // the first bytes of a pipe
  std::unique_ptr<std::FILE, Closer> m_rest;  // those behind, when they are too many
  std::size_t m_spilled = 0;                  // bytes in m_rest
  std::size_t m_position = 0;                 // in what is kept
};

}  // namespace tool

#endif
