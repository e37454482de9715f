#include <zlib.h>

#include "Platform/stream/BlockCodecs.h"

namespace {

// Converts to zlib's own type for bytes, which is not const even for input.
Bytef* AsZlib(const std::byte* bytes) { return reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes)); }

void SetInput(z_stream& stream, std::span<const std::byte> bytes) {
  stream.next_in = AsZlib(bytes.data());
  stream.avail_in = static_cast<uInt>(bytes.size());
}

void SetOutput(z_stream& stream, std::span<std::byte> room) {
  stream.next_out = AsZlib(room.data());
  stream.avail_out = static_cast<uInt>(room.size());
}

class ZlibDeflater final : public BlockDeflater {
 public:
  ZlibDeflater() : m_isReady(deflateInit(&m_stream, Z_BEST_SPEED) == Z_OK) {}
  ~ZlibDeflater() override { deflateEnd(&m_stream); }
  ZlibDeflater(const ZlibDeflater&) = delete;
  ZlibDeflater& operator=(const ZlibDeflater&) = delete;

  std::size_t Deflate(std::span<const std::byte> plain, std::span<std::byte> room) override {
    if (!m_isReady || deflateReset(&m_stream) != Z_OK) return 0;
    SetInput(m_stream, plain);
    SetOutput(m_stream, room);
    return deflate(&m_stream, Z_FINISH) == Z_STREAM_END ? m_stream.total_out : 0;
  }

 private:
  z_stream m_stream{};
  bool m_isReady;
};

class ZlibInflater final : public BlockInflater {
 public:
  ZlibInflater() : m_isReady(inflateInit(&m_stream) == Z_OK) {}
  ~ZlibInflater() override { inflateEnd(&m_stream); }
  ZlibInflater(const ZlibInflater&) = delete;
  ZlibInflater& operator=(const ZlibInflater&) = delete;

  bool Inflate(std::span<const std::byte> stream, std::span<std::byte> plain) override {
    if (!m_isReady || inflateReset(&m_stream) != Z_OK) return false;
    SetInput(m_stream, stream);
    SetOutput(m_stream, plain);
    return inflate(&m_stream, Z_FINISH) == Z_STREAM_END && m_stream.avail_in == 0 && m_stream.avail_out == 0;
  }

 private:
  z_stream m_stream{};
  bool m_isReady;
};

}  // namespace

std::unique_ptr<BlockDeflater> MakeZlibDeflater() { return std::make_unique<ZlibDeflater>(); }

std::unique_ptr<BlockInflater> MakeZlibInflater() { return std::make_unique<ZlibInflater>(); }

std::uint32_t ZlibChecksum(std::span<const std::byte> bytes, std::uint32_t before) {
  return static_cast<std::uint32_t>(crc32_z(before, AsZlib(bytes.data()), bytes.size()));
}
