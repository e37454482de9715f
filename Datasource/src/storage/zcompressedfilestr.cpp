#include "storage/zcompressedfilestr.h"

#include <algorithm>

#include "Platform/Assert.h"

ZCompressed_FileStream::DataBuffer::DataBuffer(std::size_t capacity)
    : m_capacity(capacity), fBuffer(std::make_unique_for_overwrite<std::byte[]>(capacity)) {}

void ZCompressed_FileStream::DataBuffer::Write(WriteRequest& request) {
  std::size_t size = request.toGo;
  if (bufsize == 0) {
    position = *request.position;
  } else {
    QUAV_ASSERT(*request.position == End(), "bufsize == target-fBuffer");
    size = std::min(size, kBufferSize - bufsize);
  }
  QUAV_ASSERT(bufsize + size <= kBufferSize, "_fBuf->bufsize == BUFFER_SIZE");
  std::copy_n(request.from, size, fBuffer.get() + bufsize);
  bufsize += size;
  request.from += size;
  request.toGo -= size;
  *request.position += static_cast<long>(size);
}

void ZCompressed_FileStream::DataBuffer::Read(ReadRequest& request) const {
  if (!Holds(*request.position)) return;
  const std::size_t size = std::min(request.toGo, static_cast<std::size_t>(End() - *request.position));
  std::copy_n(fBuffer.get() + (*request.position - position), size, request.to);
  request.to += size;
  request.toGo -= size;
  *request.position += static_cast<long>(size);
}

void ZCompressed_FileStream::DataBuffer::Reset() {
  state = kFree;
  bufsize = 0;
  position = -1;
}
