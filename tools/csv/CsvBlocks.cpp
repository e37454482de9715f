#include "tools/csv/CsvBlocks.h"

#include <algorithm>
#include <utility>

#include "tools/csv/CsvNames.h"

namespace tool {

CsvBlocks::CsvBlocks(InputBytes& input, CsvReader& reader, const CsvDialect& dialect, std::size_t fields,
                     const BlockWork& work, MakeTaker make)
    : m_name(input.Name()),
      m_dialect(dialect),
      m_fields(fields),
      m_make(std::move(make)),
      m_cutter(input, reader.BytesAhead(), dialect, work.blockSize),
      m_linesBefore(reader.NextLine() - 1),
      m_line(*work.pool) {
  m_mostAhead = m_line.Room();
}

CsvBlocks::~CsvBlocks() = default;

bool CsvBlocks::DeliverNext() {
  if (m_block != nullptr && !m_block->isDone) {
    m_block->taker->Clear();
    m_block->Work(m_fields);
    m_block->taker->Deliver(0);
    return true;
  }
  do {
    if (m_block != nullptr) CloseBlock();
    if (!OpenNext()) return false;
  } while (!m_block->hasRecord);
  Deliver();
  return true;
}

bool CsvBlocks::OpenNext() {
  AddBlocks();
  if (m_ahead.empty()) {
    m_cutter.ThrowFailure();
    return false;
  }
  m_line.FinishOldest();
  m_block = std::move(m_ahead.front());
  m_ahead.pop_front();
  return true;
}

void CsvBlocks::AddBlocks() {
  while (m_ahead.size() < m_mostAhead) {
    if (m_free.empty()) m_free.push_back(std::make_unique<Block>(m_name, m_dialect, m_make()));
    Block* const block = m_free.back().get();
    if (!m_cutter.Cut(block->bytes, block->end)) return;
    m_ahead.push_back(std::move(m_free.back()));
    m_free.pop_back();
    m_line.Add([this, block] { block->Parse(m_fields); });
  }
}

void CsvBlocks::Block::Parse(std::size_t fields) {
  reader.BeginPart(bytes, end == BlockCutter::End::input ? CsvReader::PartEnd::input : CsvReader::PartEnd::record);
  taker->Clear();
  hasRecord = false;
  isDone = false;
  isRefused = false;
  fault.reset();
  Work(fields);
}

void CsvBlocks::Block::Work(std::size_t fields) {
  try {
    while (!taker->IsFull()) {
      isDone = true;  // unless another record is taken
      if (!reader.Next()) return;
      hasRecord = true;
      RefuseWrongCount(reader, fields);
      isRefused = !taker->Take(reader);
      if (isRefused) return;
      isDone = false;
    }
  } catch (const LineError& error) {
    fault = error;
  }
}

void CsvBlocks::Deliver() {
  const long long blankLines = std::exchange(m_blankLines, 0);
  if (blankLines != 0 && m_fields != 1) throw LineError(WrongCount(1, m_fields), m_firstBlankLine, m_name);
  m_block->taker->Deliver(blankLines);
}

// Goes to the end of the block, whose records are delivered.
void CsvBlocks::CloseBlock() {
  ThrowFault();
  KeepBlankLines();
  m_linesBefore += m_block->reader.LinesOfPart();
  if (m_block->end == BlockCutter::End::block && m_block->reader.RestOfPart() != 0) {
    CutAgain();
  } else {
    m_mostAhead = std::min(m_mostAhead + 1, m_line.Room());
  }
  m_free.push_back(std::move(m_block));
}

void CsvBlocks::ThrowFault() {
  try {
    if (m_block->isRefused) m_block->taker->Refuse(m_block->reader);
  } catch (const LineError& error) {
    m_block->fault = error;
  }
  if (m_block->fault) throw m_block->fault->After(m_linesBefore);
}

void CsvBlocks::KeepBlankLines() {
  const CsvReader& reader = m_block->reader;
  if (reader.BlankLinesAtEnd() == 0) return;
  if (m_blankLines == 0) m_firstBlankLine = m_linesBefore + reader.FirstBlankLineAtEnd();
  m_blankLines += reader.BlankLinesAtEnd();
}

// The block does not end between two records. Its rest may begin a long record, so the next block is longer.
void CsvBlocks::CutAgain() {
  const std::size_t rest = m_block->reader.RestOfPart();
  std::string bytes = m_block->bytes.substr(m_block->bytes.size() - rest);
  m_line.Drop();
  for (std::unique_ptr<Block>& block : m_ahead) {
    bytes += block->bytes;
    m_free.push_back(std::move(block));
  }
  m_ahead.clear();
  m_cutter.GiveBack(bytes, 2 * rest);
  m_mostAhead = 1;
}

}  // namespace tool
