// The blocks of one compressed file: their form, their table, and how one of them is written and read.
//
//   block in the file := zlib block, padding up to a multiple of 16 bytes
//
// Blocks follow one another from the start of the file. Each block holds ZCompressed_FileStream::kBufferSize bytes of
// the stream. Only the last block of each write run may hold fewer.
//
// Threads: one at a time: the task's thread during a run, the caller's between runs. In a read run the table is
// constant, so both may look at it. The caller may ask for the fault at any time.

#ifndef DATASRC_SRC_STORAGE_ZBLOCKFILE_H
#define DATASRC_SRC_STORAGE_ZBLOCKFILE_H

#include <atomic>
#include <cstddef>
#include <memory>

#include "Platform/stream/QUAV_File.h"
#include "storage/sortTemp/blockManager.h"
#include "storage/zcompressedfilestr.h"

class ZBlockFile {
 public:
  using DataBuffer = ZCompressed_FileStream::DataBuffer;

  ZBlockFile() = default;
  ZBlockFile(const ZBlockFile&) = delete;
  ZBlockFile& operator=(const ZBlockFile&) = delete;
  ~ZBlockFile() { End(); }

  // Between Begin and End the file is kept open for transfers. Begin throws std::bad_alloc.
  void Begin(std::shared_ptr<QUAV_File> file);
  void End();
  // Drops the table and the memory.
  void Forget();

  const blockManager& Table() const { return m_table; }
  // Returns the errno of the Append that failed, 0 if none did.
  int Fault() const { return m_fault.load(std::memory_order_relaxed); }

  // Writes the bytes of the buffer after the last block. After a failure of the disk it writes no more: the table has
  // no gaps. A failure of zlib is an assertion.
  void Append(DataBuffer& buffer);
  // Fills the buffer with a block. Returns 0 or an errno: EIO for a file that has become shorter. A block that differs
  // from what was written is an assertion.
  int Load(const blockInfo& block, DataBuffer& buffer);

  // Compresses `inSize` bytes into one block. `outSize` is the room at first, and the size of the block afterwards.
  // Returns Z_STREAM_END, or the error of deflate; -5 when deflate reports success before it is at the end.
  static int Compression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize);
  // Decompresses a block. Returns 0, or the error of inflate; -3 when the bytes are no whole block.
  static int Decompression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize);

 protected:
  std::unique_ptr<DataBuffer> m_compressed;  // Tests make it too small, to see that this is asserted.

 private:
  int Write(const DataBuffer& buffer, std::size_t size);

  std::shared_ptr<QUAV_File> m_file;  // null between End and Begin
  blockManager m_table;
  std::atomic<int> m_fault = 0;
};

#endif
