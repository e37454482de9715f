// A window that moves over an input. It holds the bytes from the present position on, as many as its reader asked for.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_INPUTWINDOW_H
#define TOOLS_FILES_INPUTWINDOW_H

#include <cstddef>
#include <string_view>
#include <vector>

#include "tools/files/InputBytes.h"

namespace tool {

class InputWindow {
 public:
  // The input outlives this object and is at its start.
  explicit InputWindow(InputBytes& input) : m_input(&input), m_buffer(kPiece) {}

  // A window over bytes that Hold gives.
  InputWindow() : m_buffer(kPiece) {}

  // Puts a copy of the bytes into the window, in place of all others. They are the whole input.
  void Hold(std::string_view bytes);
  // The reader may change the bytes of the window.
  char* Begin() { return m_buffer.data() + m_begin; }
  char* End() { return m_buffer.data() + m_end; }
  // Drops bytes at the start of the window.
  void Skip(std::size_t count) { m_begin += count; }
  // Adds bytes to the end of the window. Moves the window in memory. Returns false at the end of the input.
  bool Grow();

 private:
  static constexpr std::size_t kPiece = 256UL * 1024;

  InputBytes* m_input = nullptr;  // null for held bytes
  std::vector<char> m_buffer;
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
};

}  // namespace tool

#endif
