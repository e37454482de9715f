#include "tools/jsonlines/LineBlocks.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "tools/jsonlines/LineReader.h"

namespace tool {

namespace {

// Returns the place after the last whole line that is not blank; 0 if there is none.
std::size_t EndOfLines(std::string_view text) {
  const std::size_t end = text.rfind('\n');
  if (end == std::string_view::npos) return 0;
  const std::size_t last = text.find_last_not_of(kBlanks, end);
  return last == std::string_view::npos ? 0 : text.find('\n', last) + 1;
}

}  // namespace

bool LineBlock::NextLine(std::string_view& line) {
  if (m_next == m_bytes.size()) return false;
  const char* const begin = m_bytes.data() + m_next;
  const std::size_t room = m_bytes.size() - m_next;
  const auto* const end = static_cast<const char*>(std::memchr(begin, '\n', room));
  line = {begin, end == nullptr ? room : static_cast<std::size_t>(end - begin)};
  m_next += end == nullptr ? room : line.size() + 1;
  ++m_number;
  return true;
}

void LineBlock::Restart() {
  m_next = 0;
  m_number = 0;
}

LineBlocks::LineBlocks(InputBytes& input, const BlockWork& work, MakeBlock make)
    : m_input(input), m_size(work.blockSize), m_make(std::move(make)), m_line(*work.pool) {}

LineBlocks::~LineBlocks() = default;

LineBlock* LineBlocks::Next() {
  if (m_block != nullptr) {
    m_linesBefore += m_block->m_lines;
    m_free.push_back(std::move(m_block));
  }
  AddBlocks();
  if (m_ahead.empty()) {
    if (m_failure) std::rethrow_exception(m_failure);
    return nullptr;
  }
  m_line.FinishOldest();
  m_block = std::move(m_ahead.front());
  m_ahead.pop_front();
  return m_block.get();
}

void LineBlocks::AddBlocks() {
  while (m_ahead.size() < m_line.Room()) {
    if (m_free.empty()) m_free.push_back(m_make());
    LineBlock* const block = m_free.back().get();
    if (!Cut(block->m_bytes)) return;
    m_ahead.push_back(std::move(m_free.back()));
    m_free.pop_back();
    m_line.Add([block] {
      block->m_lines = std::count(block->m_bytes.begin(), block->m_bytes.end(), '\n');
      block->Restart();
      block->Work();
    });
  }
}

// Stores the next block, of at least one byte. Blank lines after its lines stay for the next one: at the end they are no
// lines. Returns false when there is none.
bool LineBlocks::Cut(std::string& block) {
  for (std::size_t wanted = m_size;; wanted *= 2) {
    Fill(wanted);
    if (const std::size_t end = EndOfLines(m_rest); end != 0) {
      block.swap(m_rest);
      m_rest.assign(block, end);
      block.resize(end);
      return true;
    }
    if (m_isAtEnd || m_rest.size() > kLongestLine) break;
  }
  if (m_failure) m_rest.clear();
  block = std::exchange(m_rest, {});
  return m_isAtEnd ? !IsBlank(block) : !block.empty();
}

// Reads until so many bytes are there, or all.
void LineBlocks::Fill(std::size_t size) {
  std::size_t filled = m_rest.size();
  if (filled >= size || m_isAtEnd) return;
  m_rest.resize(size);
  try {
    for (std::size_t count = 1; filled < size && count != 0; filled += count) {
      count = m_input.Read(m_rest.data() + filled, size - filled);
      m_isAtEnd = count == 0;
    }
  } catch (...) {
    m_failure = std::current_exception();
    m_isAtEnd = true;
  }
  m_rest.resize(filled);
}

}  // namespace tool
