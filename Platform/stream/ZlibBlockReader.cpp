#include "Platform/stream/ZlibBlockReader.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/Assert.h"

ZlibBlockReader::ZlibBlockReader(const std::shared_ptr<const QUAV_File>& file,
                                 std::shared_ptr<const ZlibBlocksFound> found, ByteOrder order, int threads)
    : m_found(std::move(found)), m_loader(file, m_found, order, threads) {}

// ---- Blocks ----

// Adds the next block to the window. Returns whether there was one.
bool ZlibBlockReader::NextBlock() {
  const ZlibBlockList& list = m_found->list;
  if (m_nextIndex == list.blocks.size()) {
    m_metEnd = true;
    return m_found->isWhole ? false : Fail(ENODATA);
  }
  std::unique_ptr<LoadedZlibBlock> block = m_loader.Load(m_nextIndex);
  const int reason = block->error;
  if (reason == 0) block = m_window.Add(std::move(block), list.LengthOf(m_nextIndex++));
  m_loader.Reuse(std::move(block));
  return reason == 0 || Fail(reason);
}

bool ZlibBlockReader::Fail(int reason) {
  if (m_error == 0) m_error = reason;
  errno = reason;
  return false;
}

// ---- The stream ----

void ZlibBlockReader::Seek(std::int64_t position) {
  m_metEnd = false;
  m_nextIndex = m_found->list.Find(position);
  if (m_window.MoveTo(position)) ++m_nextIndex;
}

std::size_t ZlibBlockReader::Read(std::byte* to, std::size_t count) {
  std::size_t done = 0;
  while (done < count && (m_window.Held() > 0 || NextBlock())) {
    const std::size_t taken = std::min(count - done, m_window.Held());
    to = std::copy_n(m_window.Bytes().begin, taken, to);
    m_window.Take(taken);
    done += taken;
  }
  return done;
}

ZlibBlockReader::Window ZlibBlockReader::Peek(std::size_t wanted) {
  QUAV_ASSERT(wanted <= LoadedZlibBlock::kRoomBefore, "wanted <= kMaxPeek");
  while (m_window.Held() < wanted && NextBlock()) {
  }
  return m_window.Bytes();
}

void ZlibBlockReader::Skip(std::size_t count) {
  QUAV_ASSERT(count <= m_window.Held(), "count <= window");
  m_window.Take(count);
}

void ZlibBlockReader::Clear() {
  m_error = 0;
  m_metEnd = false;
}

std::size_t ZlibBlockReader::Footprint() const {
  return m_loader.Footprint() + (m_window.HasBlock() ? LoadedZlibBlock::kMemorySize : 0);
}
