// The window of a stream in zlib blocks: the bytes in memory from the stream's position on, in one piece.
//
// They are in the memory of one block. When the next block joins, what is left of the window moves before its bytes.
//
// Threads: one thread at a time.

#ifndef PLATFORM_STREAM_ZLIBBLOCKWINDOW_H
#define PLATFORM_STREAM_ZLIBBLOCKWINDOW_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/ZlibBlockLoader.h"

class ZlibBlockWindow {
 public:
  std::int64_t Position() const { return m_windowEnd - (m_end - m_next); }
  std::size_t Held() const { return static_cast<std::size_t>(m_end - m_next); }
  QUAV_FileStream::Window Bytes() const { return {m_next, m_end}; }
  // Moves the position on, by at most Held().
  void Take(std::size_t count) { m_next += count; }

  // Moves to any position from 0 on. Returns whether the present block has it. If not, the window becomes empty; the
  // block stays for a later move.
  bool MoveTo(std::int64_t position);
  // Adds the block that has the byte at the window's end: its first byte, unless the window is empty. `length` is the
  // number of its bytes that belong to the stream. Held() is at most LoadedZlibBlock::kRoomBefore. Returns the block
  // that was there before, or null.
  std::unique_ptr<LoadedZlibBlock> Add(std::unique_ptr<LoadedZlibBlock> block, std::size_t length);

  bool HasBlock() const { return m_block != nullptr; }

 private:
  std::unique_ptr<LoadedZlibBlock> m_block;  // null at first
  std::size_t m_length = 0;                  // the bytes of the block in the stream
  const std::byte* m_next = nullptr;         // the window
  const std::byte* m_end = nullptr;
  std::int64_t m_windowEnd = 0;  // the position of the window's end; without a window, the stream's position
};

#endif
