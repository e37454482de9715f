#include "tools/files/GzipOutput.h"

#include <new>

namespace tool {

namespace {

constexpr std::size_t kPiece = 64UL * 1024;
constexpr int kGzipWindow = 16 + MAX_WBITS;  // the header and trailer of gzip
constexpr int kMemoryLevel = 8;

Bytef* Bytes(char* text) { return static_cast<Bytef*>(static_cast<void*>(text)); }

}  // namespace

GzipOutput::GzipOutput() {
  if (deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::bad_alloc();
}

GzipOutput::~GzipOutput() { deflateEnd(&m_stream); }

std::string_view GzipOutput::Run(std::string_view text, int flush) {
  // Deliberate: zlib does not change its input, but its type says that it might.
  m_stream.next_in = Bytes(const_cast<char*>(text.data()));
  m_stream.avail_in = static_cast<uInt>(text.size());
  std::size_t size = 0;
  do {
    m_packed.resize(size + kPiece);
    m_stream.next_out = Bytes(m_packed.data() + size);
    m_stream.avail_out = kPiece;
    deflate(&m_stream, flush);
    size += kPiece - m_stream.avail_out;
  } while (m_stream.avail_out == 0);
  return {m_packed.data(), size};
}

}  // namespace tool
