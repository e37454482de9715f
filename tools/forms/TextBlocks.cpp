#include "tools/forms/TextBlocks.h"

#include <algorithm>
#include <utility>

namespace tool {

TextBlocks::TextBlocks(const ShownForm& shown, std::size_t cellsPerCase, TaskPool& pool, Output& output,
                       std::size_t blockSize)
    : m_shown(shown),
      m_cellsPerCase(cellsPerCase),
      m_cellsPerBlock(std::max(blockSize / sizeof(OBS), cellsPerCase)),
      m_output(output),
      m_line(pool) {}

TextBlocks::~TextBlocks() = default;

void TextBlocks::Add(const OBS* cells) {
  if (m_filling == nullptr) TakeFreeBlock();
  std::vector<OBS>& block = m_filling->cells;
  block.insert(block.end(), cells, cells + m_cellsPerCase);
  if (block.size() + m_cellsPerCase > m_cellsPerBlock) Submit();
}

void TextBlocks::TakeFreeBlock() {
  if (m_line.Size() == m_line.Room()) WriteOldest();
  if (m_free.empty()) {
    m_blocks.push_back(std::make_unique<Block>(m_shown));
    m_free.push_back(m_blocks.back().get());
  }
  m_filling = m_free.back();
  m_free.pop_back();
}

void TextBlocks::Submit() {
  Block* const block = std::exchange(m_filling, nullptr);
  m_submitted.push_back(block);
  m_line.Add([this, block] { block->MakeText(m_cellsPerCase); });
}

void TextBlocks::Block::MakeText(std::size_t cellsPerCase) {
  text.clear();
  ends.clear();
  try {
    for (std::size_t at = 0; at < cells.size(); at += cellsPerCase) {
      formatter.Text()->AppendCase(text, cells.data() + at);
      ends.push_back(text.size());
    }
  } catch (...) {
    failure = std::current_exception();
  }
  cells.clear();
}

void TextBlocks::Finish() {
  if (m_hasFailed) return;
  if (m_filling != nullptr) Submit();
  while (m_line.Size() != 0) WriteOldest();
}

void TextBlocks::Follow(Progress& progress) {
  m_progress = &progress;
  m_written = 0;
}

void TextBlocks::WriteOldest() {
  m_hasFailed = true;  // unless this function returns
  m_line.FinishOldest();
  Block* const block = m_submitted.front();
  m_submitted.pop_front();
  Write(*block);
  m_written += std::ssize(block->ends);
  if (m_progress != nullptr) m_progress->StepTo(m_written);
  m_hasFailed = false;
  m_free.push_back(block);
}

void TextBlocks::Write(const Block& block) {
  std::size_t done = 0;
  for (auto end = block.ends.begin(); end != block.ends.end();) {
    end = std::lower_bound(end, block.ends.end(), done + m_output.MissingBytes());
    if (end != block.ends.end()) ++end;
    const std::size_t until = end[-1];
    m_output.Text().append(block.text, done, until - done);
    m_output.Settle();
    done = until;
  }
  if (block.failure) std::rethrow_exception(block.failure);
}

long long TextBlocks::ReplacedValues() const {
  long long count = 0;
  for (const auto& block : m_blocks) count += block->formatter.ReplacedValues();
  return count;
}

void TextBlocks::AddLosses(Losses& losses) const {
  for (const auto& block : m_blocks) block->formatter.Text()->AddLosses(losses);
}

}  // namespace tool
