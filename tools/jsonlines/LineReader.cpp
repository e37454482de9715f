#include "tools/jsonlines/LineReader.h"

#include <cstring>

#include "tools/messages/LineError.h"

namespace tool {

std::string ParseTrouble(std::size_t position, const nlohmann::detail::exception& error) {
  constexpr int kNumberOverflow = 406;
  if (error.id == kNumberOverflow)
    return "the number that ends at character " + std::to_string(position) + " is too large";
  return "this is not valid JSON from character " + std::to_string(position) + " on";
}

bool LineReader::Next() { return FindLine() && !IsBlankToTheEnd(); }

bool LineReader::FindLine() {
  m_window.Skip(m_size);
  ++m_number;
  std::size_t looked = 0;
  for (;;) {
    const auto size = static_cast<std::size_t>(m_window.End() - m_window.Begin());
    const auto* const end = static_cast<const char*>(std::memchr(m_window.Begin() + looked, '\n', size - looked));
    if (end != nullptr) {
      m_text = {m_window.Begin(), end};
      m_size = m_text.size() + 1;
      if (m_text.size() > kLongestLine) Fail(kTooLongLine);
      return true;
    }
    looked = size;
    if (size > kLongestLine) Fail(kTooLongLine);
    if (m_window.Grow()) continue;
    m_text = {m_window.Begin(), size};
    m_size = size;
    return size != 0;
  }
}

// Returns whether there is nothing but blanks from the line on. Very many blanks are not all looked at.
bool LineReader::IsBlankToTheEnd() {
  const std::size_t size = m_text.size();
  bool isAtEnd = false;
  for (std::size_t looked = 0; !isAtEnd && looked <= kLongestLine;) {
    const std::string_view bytes(m_window.Begin() + looked, m_window.End());
    if (!IsBlank(bytes)) break;
    looked += bytes.size();
    isAtEnd = !m_window.Grow();
  }
  m_text = {m_window.Begin(), size};
  return isAtEnd;
}

void LineReader::Fail(const std::string& text) const { throw LineError(text, m_number, m_input.Name()); }

}  // namespace tool
