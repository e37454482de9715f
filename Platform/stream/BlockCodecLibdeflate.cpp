#ifdef DATASRC_HAS_LIBDEFLATE

#include <libdeflate.h>

#include "Platform/stream/BlockCodecs.h"

namespace {

constexpr int kLevel = 1;

class LibdeflateDeflater final : public BlockDeflater {
 public:
  std::size_t Deflate(std::span<const std::byte> plain, std::span<std::byte> room) override {
    if (!m_compressor) return 0;
    return libdeflate_zlib_compress(m_compressor.get(), plain.data(), plain.size(), room.data(), room.size());
  }

 private:
  struct Free {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
  };
  std::unique_ptr<libdeflate_compressor, Free> m_compressor{libdeflate_alloc_compressor(kLevel)};
};

class LibdeflateInflater final : public BlockInflater {
 public:
  bool Inflate(std::span<const std::byte> stream, std::span<std::byte> plain) override {
    if (!m_decompressor) return false;
    std::size_t used = 0;
    const libdeflate_result result =
        libdeflate_zlib_decompress_ex(m_decompressor.get(), stream.data(), stream.size(), plain.data(), plain.size(),
                                      &used, nullptr);  // null: the output must fill the room exactly
    return result == LIBDEFLATE_SUCCESS && used == stream.size();
  }

 private:
  struct Free {
    void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
  };
  std::unique_ptr<libdeflate_decompressor, Free> m_decompressor{libdeflate_alloc_decompressor()};
};

}  // namespace

std::unique_ptr<BlockDeflater> MakeLibdeflateDeflater() { return std::make_unique<LibdeflateDeflater>(); }

std::unique_ptr<BlockInflater> MakeLibdeflateInflater() { return std::make_unique<LibdeflateInflater>(); }

// For empty input libdeflate returns its initial value and ignores the sum before.
std::uint32_t LibdeflateChecksum(std::span<const std::byte> bytes, std::uint32_t before) {
  return bytes.empty() ? before : libdeflate_crc32(before, bytes.data(), bytes.size());
}

#endif
