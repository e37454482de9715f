#include "tools/csv/BlockCutter.h"

#include <algorithm>
#include <utility>

namespace tool {

namespace {

std::size_t Count(std::string_view text, char wanted) {
  // Counts in bytes: the compiler then looks at 16 of them at once.
  constexpr std::size_t kStep = 128;
  std::size_t count = 0;
  while (text.size() >= kStep) {
    unsigned char found = 0;
    for (std::size_t i = 0; i < kStep; ++i) found = static_cast<unsigned char>(found + (text[i] == wanted ? 1 : 0));
    count += found;
    text.remove_prefix(kStep);
  }
  return count + static_cast<std::size_t>(std::count(text.begin(), text.end(), wanted));
}

}  // namespace

BlockCutter::BlockCutter(InputBytes& input, std::string_view ahead, const CsvDialect& dialect, std::size_t size)
    : m_input(input), m_quote(dialect.quote), m_size(size), m_ahead(ahead) {}

bool BlockCutter::Cut(std::string& block, End& end) {
  const std::size_t least = std::exchange(m_least, 1);
  const std::size_t limit = std::max(m_size, 2 * least);
  Fill(limit + 1);
  if (m_ahead.empty()) return false;
  if (m_ahead.size() <= limit) {
    block.swap(m_ahead);
    m_ahead.clear();
    end = m_failure ? End::failure : End::input;
    return true;
  }
  const std::size_t size = EndOfBlock(least, limit);
  block.swap(m_ahead);
  m_ahead.assign(block, size);
  block.resize(size);
  end = End::block;
  return true;
}

void BlockCutter::ThrowFailure() const {
  if (m_failure) std::rethrow_exception(m_failure);
}

void BlockCutter::GiveBack(std::string_view bytes, std::size_t least) {
  m_ahead.insert(0, bytes);
  m_least = least;
}

// Reads until so many bytes are there, or all.
void BlockCutter::Fill(std::size_t size) {
  std::size_t filled = m_ahead.size();
  if (filled >= size || m_isAtEnd) return;
  m_ahead.resize(size);
  try {
    for (std::size_t count = 1; filled < size && count != 0; filled += count) {
      count = m_input.Read(m_ahead.data() + filled, size - filled);
      m_isAtEnd = count == 0;
    }
  } catch (...) {
    // The bytes before the failure come first.
    m_failure = std::current_exception();
    m_isAtEnd = true;
  }
  m_ahead.resize(filled);
  // The byte after CR would say whether the line ends here.
  if (m_failure && m_ahead.ends_with('\r')) m_ahead.pop_back();
}

// Returns the size of a block of `least` to `limit` bytes, or one more. The byte after the limit is there.
std::size_t BlockCutter::EndOfBlock(std::size_t least, std::size_t limit) const {
  const auto endsLine = [this](std::size_t at) {
    const char last = m_ahead[at - 1];
    return last == '\n' || (last == '\r' && m_ahead[at] != '\n');
  };
  std::size_t quotes = m_quote ? Count(std::string_view(m_ahead).substr(0, limit), *m_quote) : 0;  // before `at`
  std::size_t lastLine = 0;
  for (std::size_t at = limit; at >= least; --at) {
    if (endsLine(at)) {
      if (quotes % 2 == 0) return at;
      if (lastLine == 0) lastLine = at;
    }
    if (m_quote && m_ahead[at - 1] == *m_quote) --quotes;
  }
  if (lastLine != 0) return lastLine;
  // No line ends here. CR and LF stay together.
  return m_ahead[limit - 1] == '\r' ? limit + 1 : limit;
}

}  // namespace tool
