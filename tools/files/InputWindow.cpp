#include "tools/files/InputWindow.h"

#include <algorithm>

namespace tool {

bool InputWindow::Grow() {
  std::copy(Begin(), End(), m_buffer.begin());
  m_end -= m_begin;
  m_begin = 0;
  // The buffer doubles when a record fills more than half of it, so that a long record is parsed only a few times.
  if (m_end > m_buffer.size() / 2) m_buffer.resize(2 * m_buffer.size());
  const std::size_t count = m_input.Read(End(), m_buffer.size() - m_end);
  m_end += count;
  return count != 0;
}

}  // namespace tool
