// A stream on successive zlib blocks of a file, with the positions that their bytes have in the file's stream.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_GOODBLOCKS_H
#define DATASRC_SRC_SYSTEMFILE_GOODBLOCKS_H

#include <cstdint>
#include <memory>

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/ZlibBlockReader.h"
#include "Platform/stream/ZlibBlockSearch.h"

class GoodBlocks final : public QUAV_FileStream {
 public:
  // The stream begins at the first of these blocks. Positions count from the byte `row0` of the file.
  GoodBlocks(const std::shared_ptr<const QUAV_File>& file, const std::shared_ptr<const ZlibBlocksFound>& blocks,
             long row0, ByteOrder order, int threads)
      : m_row0(row0), m_reader(file, blocks, order, threads) {
    m_reader.Seek(blocks->list.blocks.empty() ? 0 : blocks->list.blocks.front().position);
  }

  void Clear() override { m_reader.Clear(); }
  bool Good() override { return m_reader.Error() == 0; }
  unsigned long Read(void* buffer, unsigned long count) override {
    return m_reader.Read(static_cast<std::byte*>(buffer), count);
  }
  // Only positions of these blocks.
  int Seek(long offset, SeekDirection /*direction*/) override {
    m_reader.Seek(offset - m_row0);
    return 0;
  }
  long Tell() const override { return m_row0 + m_reader.Position(); }
  Window Peek(std::size_t wanted) override { return m_reader.Peek(wanted); }
  void Skip(std::size_t count) override { m_reader.Skip(count); }
  long Length() override { return m_row0 + m_reader.Length(); }
  bool IsOpen() const override { return true; }
  int Error() const override { return m_reader.Error(); }

 private:
  long m_row0;
  ZlibBlockReader m_reader;
};

#endif
