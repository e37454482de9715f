#include "tools/files/GzipInput.h"

#include <algorithm>
#include <new>
#include <utility>

#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr std::size_t kPiece = 256UL * 1024;
constexpr int kGzipWindow = 16 + MAX_WBITS;  // the header and trailer of gzip

Bytef* Bytes(char* text) { return static_cast<Bytef*>(static_cast<void*>(text)); }

}  // namespace

GzipInput::GzipInput(ReadFunction source, std::string name)
    : m_source(std::move(source)), m_name(std::move(name)), m_packed(kPiece) {
  if (inflateInit2(&m_stream, kGzipWindow) != Z_OK) throw std::bad_alloc();
}

GzipInput::~GzipInput() { inflateEnd(&m_stream); }

void GzipInput::Restart() {
  inflateReset(&m_stream);
  m_stream.avail_in = 0;
  m_isInMember = true;
  m_wasFull = false;
}

std::size_t GzipInput::Read(char* bytes, std::size_t size) {
  m_stream.next_out = Bytes(bytes);
  m_stream.avail_out = static_cast<uInt>(std::min<std::size_t>(size, kPiece));
  const uInt room = m_stream.avail_out;
  while (m_stream.avail_out == room) {
    // Where the room was too small, zlib may keep some of what it has unpacked.
    if (m_stream.avail_in == 0 && !m_wasFull && !Fill()) {
      if (m_isInMember) throw ToolError("the packed data end too early", m_name);
      return 0;
    }
    if (!m_isInMember && !BeginsMember()) continue;
    const int result = inflate(&m_stream, Z_NO_FLUSH);
    m_wasFull = result != Z_STREAM_END && m_stream.avail_out == 0;
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    if (result == Z_STREAM_END) {
      m_isInMember = false;
    } else if (result != Z_OK && result != Z_BUF_ERROR && m_stream.avail_out == room) {
      // Bytes before the damage are returned first: inflate reports it again.
      throw ToolError("the packed data are damaged", m_name);
    }
  }
  return room - m_stream.avail_out;
}

bool GzipInput::Fill() {
  m_stream.avail_in = static_cast<uInt>(m_source(m_packed.data(), m_packed.size()));
  m_stream.next_in = Bytes(m_packed.data());
  return m_stream.avail_in != 0;
}

// Skips zero bytes after a member. Returns false when no other byte is left in the buffer.
bool GzipInput::BeginsMember() {
  for (; m_stream.avail_in != 0 && *m_stream.next_in == 0; ++m_stream.next_in) --m_stream.avail_in;
  if (m_stream.avail_in == 0) return false;
  inflateReset(&m_stream);
  m_isInMember = true;
  return true;
}

}  // namespace tool
