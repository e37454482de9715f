#include "tools/files/InputWindow.h"

#include <algorithm>

namespace tool {

void InputWindow::Hold(std::string_view bytes) {
  if (m_buffer.size() < bytes.size()) m_buffer.resize(bytes.size());
  std::ranges::copy(bytes, m_buffer.begin());
  m_begin = 0;
  m_end = bytes.size();
}

bool InputWindow::Grow() {
  if (m_input == nullptr) return false;
  std::copy(Begin(), End(), m_buffer.begin());
  m_end -= m_begin;
  m_begin = 0;
  // The buffer doubles when a record fills more than half of it, so that a long record is parsed only a few times.
  if (m_end > m_buffer.size() / 2) m_buffer.resize(2 * m_buffer.size());
  const std::size_t count = m_input->Read(End(), m_buffer.size() - m_end);
  m_end += count;
  return count != 0;
}

}  // namespace tool
