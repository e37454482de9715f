// A step between the bytes of an input and their reader, such as unpacking. It can start again from the first byte.
//
// Failures are thrown as ToolError about the input.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_INPUTFILTER_H
#define TOOLS_FILES_INPUTFILTER_H

#include <cstddef>
#include <functional>

namespace tool {

// Reads at most so many further bytes. Returns their number; 0 at the end.
using ReadFunction = std::function<std::size_t(char* bytes, std::size_t size)>;

class InputFilter {
 public:
  virtual ~InputFilter() = default;
  // As ReadFunction. `size` is at least 1.
  virtual std::size_t Read(char* bytes, std::size_t size) = 0;
  // Forgets everything: the source is at its first byte again.
  virtual void Restart() = 0;
};

}  // namespace tool

#endif
