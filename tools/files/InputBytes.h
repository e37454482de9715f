// The bytes of an input: a file, or standard input, which may be a pipe.
//
// A caller that needs a second pass rewinds. A file is then read again. The bytes of a pipe are kept: the first
// megabytes in memory, the rest in temp files, which are enciphered and in the directories of TMPDIR.
//
// Filters may stand between the bytes and the reader: one that unpacks them, and one that converts them to UTF-8.
//
// A file that cannot be opened is error 1201, a temp file that cannot be made is error 1001. What cannot be read or
// kept is a ToolError.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_INPUTBYTES_H
#define TOOLS_FILES_INPUTBYTES_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_TempFile.h"
#include "tools/files/InputFilter.h"

namespace tool {

class InputBytes {
 public:
  // "-" is standard input.
  explicit InputBytes(const std::string& path);
  InputBytes(const InputBytes&) = delete;
  InputBytes& operator=(const InputBytes&) = delete;
  ~InputBytes();

  // The name for messages.
  const std::string& Name() const { return m_name; }
  // Reads at most `size` further bytes. Returns their number; 0 at the end.
  std::size_t Read(char* bytes, std::size_t size);
  // Goes back to the start.
  void Rewind();
  // Returns the first bytes, at least four if there are so many, and rewinds. An empty input has none.
  std::string Start();
  // Promises that the input will not be rewound any more: from here on no bytes have to be kept.
  void ReadOnce() { m_keeps = false; }

  // From here on the input is that of the gzip data. To be called at the start.
  void Unpack();
  // Converts the input from an encoding to UTF-8. Returns false when there is no such encoding. To be called at the
  // start, after Unpack.
  bool Decode(const std::string& encoding);

 private:
  std::size_t ReadBytes(char* bytes, std::size_t size);
  ReadFunction Reader();
  std::size_t ReadDescriptor(char* bytes, std::size_t size);
  std::size_t ReadKept(char* bytes, std::size_t size);
  void Keep(const char* bytes, std::size_t size);
  void Spill(const char* bytes, std::size_t size);
  [[noreturn]] void Fail(const char* what) const;

  std::string m_name;
  int m_descriptor;
  bool m_closes = false;
  bool m_isFile = false;  // true for a file that can be read again
  bool m_keeps = true;
  std::string m_kept;                     // the first bytes of a pipe
  std::unique_ptr<QUAV_TempFile> m_rest;  // the bytes after them, when they are too many for memory
  std::size_t m_spilled = 0;              // bytes in m_rest
  std::size_t m_position = 0;             // in the kept bytes; m_rest is at the same place, or at its start before it
  std::vector<std::unique_ptr<InputFilter>> m_filters;  // each reads from the one before it
};

}  // namespace tool

#endif
