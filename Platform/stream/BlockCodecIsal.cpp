#ifdef DATASRC_HAS_ISAL

#include <isa-l/igzip_lib.h>

#include <array>

#include "Platform/stream/BlockCodecs.h"

namespace {

std::uint8_t* AsIsal(const std::byte* bytes) { return reinterpret_cast<std::uint8_t*>(const_cast<std::byte*>(bytes)); }

class IsalDeflater final : public BlockDeflater {
 public:
  std::size_t Deflate(std::span<const std::byte> plain, std::span<std::byte> room) override {
    isal_deflate_stateless_init(&m_stream);
    m_stream.level = kLevel;
    m_stream.level_buf = m_memory.data();
    m_stream.level_buf_size = static_cast<std::uint32_t>(m_memory.size());
    m_stream.gzip_flag = IGZIP_ZLIB;
    m_stream.end_of_stream = 1;
    m_stream.flush = NO_FLUSH;
    m_stream.next_in = AsIsal(plain.data());
    m_stream.avail_in = static_cast<std::uint32_t>(plain.size());
    m_stream.next_out = AsIsal(room.data());
    m_stream.avail_out = static_cast<std::uint32_t>(room.size());
    return isal_deflate_stateless(&m_stream) == COMP_OK && m_stream.avail_in == 0 ? m_stream.total_out : 0;
  }

 private:
  // Level 1 makes files of doubles larger; level 2 is not faster than 3.
  static constexpr std::uint32_t kLevel = 3;

  isal_zstream m_stream{};
  std::array<std::uint8_t, ISAL_DEF_LVL3_DEFAULT> m_memory;
};

}  // namespace

std::unique_ptr<BlockDeflater> MakeIsalDeflater() { return std::make_unique<IsalDeflater>(); }

#endif
