#include "tools/files/InputWindow.h"

#include <algorithm>

namespace tool {

bool InputWindow::Grow() {
  std::copy(Begin(), End(), m_buffer.begin());
  m_end -= m_begin;
  m_begin = 0;
  // A record that fills more than half of it makes it twice as large, so that long ones are looked at a few times only.
  if (m_end > m_buffer.size() / 2) m_buffer.resize(2 * m_buffer.size());
  const std::size_t count = m_input.Read(End(), m_buffer.size() - m_end);
  m_end += count;
  return count != 0;
}

}  // namespace tool
