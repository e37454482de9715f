#include "datasrc/QUAV_InMemoryFile.h"

#include <algorithm>
#include <cstddef>
#include <vector>

struct QUAV_InMemoryFile::Data {
  std::vector<std::unique_ptr<std::byte[]>> blocks;
  unsigned long position = 0;
  unsigned long highest = 0;  // the end of what was written

  void NeedRoom(unsigned long size) {
    while (blocks.size() * kBlockSize < size) blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(kBlockSize));
  }

  // Calls `copy(pointer into a block, bytes done, bytes in this block)` for each block's part of the next `count`
  // bytes, and advances the position over them.
  template <class Copy>
  void Pass(unsigned long count, Copy copy) {
    for (unsigned long done = 0; done < count;) {
      const unsigned long offset = position % kBlockSize;
      const unsigned long size = std::min(kBlockSize - offset, count - done);
      copy(blocks[position / kBlockSize].get() + offset, done, size);
      done += size;
      position += size;
    }
  }
};

QUAV_InMemoryFile::QUAV_InMemoryFile(unsigned long initialSize) : m_data(std::make_unique<Data>()) {
  m_data->NeedRoom(initialSize);
}

QUAV_InMemoryFile::~QUAV_InMemoryFile() = default;

void QUAV_InMemoryFile::Clear() {}

bool QUAV_InMemoryFile::Good() { return true; }

unsigned long QUAV_InMemoryFile::Read(void* buffer, unsigned long count) {
  auto* const to = static_cast<std::byte*>(buffer);
  const unsigned long read = std::min(count, m_data->highest - m_data->position);
  m_data->Pass(read, [to](const std::byte* place, unsigned long done, unsigned long size) {
    std::copy_n(place, size, to + done);
  });
  return read;
}

unsigned long QUAV_InMemoryFile::Write(const void* buffer, unsigned long count) {
  const auto* const from = static_cast<const std::byte*>(buffer);
  m_data->NeedRoom(m_data->position + count);
  m_data->Pass(count, [from](std::byte* place, unsigned long done, unsigned long size) {
    std::copy_n(from + done, size, place);
  });
  m_data->highest = std::max(m_data->highest, m_data->position);
  return count;
}

int QUAV_InMemoryFile::Seek(long offset, SeekDirection direction) {
  long from = 0;
  switch (direction) {
    case kSeekFromStart:
      break;
    case kSeekFromPresent:
      from = static_cast<long>(m_data->position);
      break;
    case kSeekFromEnd:
      from = static_cast<long>(m_data->highest);
      break;
    default:
      return -2;
  }
  long target = 0;
  if (__builtin_add_overflow(from, offset, &target) || target < 0 || target > static_cast<long>(m_data->highest))
    return -1;
  m_data->position = static_cast<unsigned long>(target);
  return 0;
}

long QUAV_InMemoryFile::Tell() const { return static_cast<long>(m_data->position); }

int QUAV_InMemoryFile::EndOfFile() { return m_data->position >= m_data->blocks.size() ? 1 : 0; }
