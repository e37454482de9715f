#include "storage/ZBlockFile.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "Platform/Assert.h"

namespace {

constexpr int kLevel = 1;
constexpr std::size_t kPaddedTo = 16;
// The results that stand instead of zlib's: Compression for a block that has not ended, Decompression for bytes that
// are no whole block.
constexpr int kNotAtTheEnd = Z_BUF_ERROR;
constexpr int kNoWholeBlock = Z_DATA_ERROR;

// The size of the largest compressed block, before padding. Without a stream, deflateBound returns the bound for any
// settings.
std::size_t WorstSize() { return deflateBound(nullptr, ZCompressed_FileStream::kBufferSize); }

std::size_t Padding(std::size_t size) { return size % kPaddedTo == 0 ? 0 : kPaddedTo - size % kPaddedTo; }

z_stream Stream(std::byte* out, std::size_t outSize, const std::byte* in, std::size_t inSize) {
  z_stream stream{};
  stream.next_in = const_cast<Bytef*>(static_cast<const Bytef*>(static_cast<const void*>(in)));
  stream.avail_in = static_cast<uInt>(inSize);
  stream.next_out = static_cast<Bytef*>(static_cast<void*>(out));
  stream.avail_out = static_cast<uInt>(outSize);
  return stream;
}

}  // namespace

// ---- One block ----

int ZBlockFile::Compression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize) {
  z_stream stream = Stream(out, outSize, in, inSize);
  const int begun = deflateInit(&stream, kLevel);
  if (begun != Z_OK) return begun;
  const int result = deflate(&stream, Z_FINISH);
  outSize = stream.total_out;
  deflateEnd(&stream);
  return result == Z_OK ? kNotAtTheEnd : result;
}

int ZBlockFile::Decompression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize) {
  z_stream stream = Stream(out, outSize, in, inSize);
  const int begun = inflateInit(&stream);
  if (begun != Z_OK) return begun;
  const int result = inflate(&stream, Z_FINISH);
  const bool allTaken = stream.avail_in == 0;
  const std::size_t size = stream.total_out;
  const int ended = inflateEnd(&stream);
  if (result == Z_STREAM_END) outSize = size;
  if (result == Z_STREAM_END) return ended;
  if (result == Z_NEED_DICT || (result == Z_BUF_ERROR && allTaken)) return kNoWholeBlock;
  return result;
}

// ---- The file ----

void ZBlockFile::Begin(std::shared_ptr<QUAV_File> file) {
  if (!m_compressed) m_compressed = std::make_unique<DataBuffer>(WorstSize() + kPaddedTo);
  m_file = std::move(file);
  m_file->Join();
}

void ZBlockFile::End() {
  if (m_file) m_file->Leave();
  m_file.reset();
}

void ZBlockFile::Forget() {
  m_table = {};
  m_compressed.reset();
}

void ZBlockFile::Append(DataBuffer& buffer) {
  if (Fault() != 0) return;
  std::size_t size = m_compressed->Capacity() - kPaddedTo;
  const int result = Compression(m_compressed->Bytes(), size, buffer.Bytes(), buffer.bufsize);
  QUAV_ASSERT(result == Z_STREAM_END, "false");
  m_fault = Write(buffer, size);
}

// Writes the compressed bytes, and adds the block to the table. Returns 0 or an errno.
int ZBlockFile::Write(const DataBuffer& buffer, std::size_t size) {
  const std::size_t padding = Padding(size);
  std::fill_n(m_compressed->Bytes() + size, padding, std::byte{0});
  const long position = m_table.FileEnd();
  const QUAV_File::Transfer transfer = m_file->WriteAt(m_compressed->Bytes(), size + padding, position);
  if (transfer.error != 0) return transfer.error;
  try {
    m_table.PushBlockInfo(buffer.position, buffer.bufsize, position, size, padding);
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  return 0;
}

int ZBlockFile::Load(const blockInfo& block, DataBuffer& buffer) {
  const std::size_t length = block.compressedLength + block.padding;
  const QUAV_File::Transfer transfer = m_file->ReadAt(m_compressed->Bytes(), length, block.filePosition);
  if (transfer.bytes < length) return transfer.error != 0 ? transfer.error : EIO;
  std::size_t size = ZCompressed_FileStream::kBufferSize;
  int ret = Decompression(buffer.Bytes(), size, m_compressed->Bytes(), block.compressedLength);
  // A shorter block would leave a gap, at which a reader would try the same block for ever.
  if (ret == 0 && size != block.size) ret = kNoWholeBlock;
  QUAV_ASSERT(ret == 0, "ret == 0");
  buffer.bufsize = size;
  buffer.position = block.position;
  return 0;
}
