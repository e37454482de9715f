#include "CompressedStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include "ByteOrder.h"
#include "CaseCodes.h"
#include "Platform/Assert.h"

namespace {

constexpr int kMaxPart = 15;  // codes, or literals, of a block: what a nibble can tell

// The block in hand while writing.
class BlockWriter {
 public:
  explicit BlockWriter(QUAV_StrBaseIO& stream) : m_stream(stream) {}

  void Add(OBS cell) {
    const std::uint8_t code = CodeOfCell(cell);
    if (code == kCodeLiteral) {
      if (m_literals == kMaxPart) Write();
      m_literal[static_cast<std::size_t>(m_literals++)] = cell;
    } else {
      // Codes come first in a block: one behind a literal needs a block of its own.
      if (m_literals > 0 || m_codes == kMaxPart) Write();
      m_code[static_cast<std::size_t>(m_codes++)] = std::byte{code};
    }
  }

  void Write() {
    std::array<std::byte, 1 + kMaxPart + kMaxPart * sizeof(OBS)> bytes;
    auto* end = bytes.data();
    *end++ = static_cast<std::byte>(m_codes << 4 | m_literals);
    end = std::copy_n(m_code.begin(), m_codes, end);
    for (int i = 0; i < m_literals; ++i, end += sizeof(OBS)) Store(end, m_literal[static_cast<std::size_t>(i)]);
    const auto size = static_cast<unsigned long>(end - bytes.data());
    if (m_stream.Write(bytes.data(), size) != size) throw CompressedStreamError(errno);
    m_codes = m_literals = 0;
  }

 private:
  QUAV_StrBaseIO& m_stream;
  int m_codes = 0;
  int m_literals = 0;
  std::array<std::byte, kMaxPart> m_code;
  std::array<OBS, kMaxPart> m_literal;
};

struct Block {
  int codes;
  int literals;
  long Cells() const { return codes + literals; }
  long Bytes() const { return codes + literals * static_cast<long>(sizeof(OBS)); }
};

// Walks the blocks that hold `count` cells together; `use` is called behind each control byte and reads the block's
// data.
template <class Use>
bool ForEachBlock(QUAV_StrBaseIO& stream, long count, Use use) {
  errno = 0;
  for (bool first = true; count > 0; first = false) {
    std::uint8_t control = 0;
    if (stream.Read(&control, 1) != 1) {
      if (first && stream.Good()) return false;
      throw CompressedStreamError(errno);
    }
    const Block block{control >> 4, control & 0xF};
    const long len = count - block.Cells();
    QUAV_ASSERT(len >= 0, "len >= 0");
    use(control, block);
    count = len;
  }
  return true;
}

void ReadWhole(QUAV_StrBaseIO& stream, std::byte* bytes, long size) {
  if (stream.Read(bytes, static_cast<unsigned long>(size)) != static_cast<unsigned long>(size))
    throw CompressedStreamError(errno);
}

using BlockBytes = std::array<std::byte, 1 + kMaxPart + kMaxPart * sizeof(OBS)>;

}  // namespace

const OBS Compression1::sysmis = kSystemMissingCell;

std::uint8_t Compression1::Compressed(const OBS& cell) { return CodeOfCell(cell); }

void Compression1::Decompress(unsigned char code, OBS& cell) { cell = kCellOfCode[code]; }

bool ReadCompressed(QUAV_StrBaseIO& stream, OBS* cells, long count) {
  return ForEachBlock(stream, count, [&](std::uint8_t, Block block) {
    BlockBytes bytes;
    ReadWhole(stream, bytes.data(), block.Bytes());
    const std::byte* in = bytes.data();
    for (int i = 0; i < block.codes; ++i) *cells++ = kCellOfCode[static_cast<std::uint8_t>(*in++)];
    for (int i = 0; i < block.literals; ++i, in += sizeof(OBS)) *cells++ = Load<OBS>(in);
  });
}

void WriteCompressed(QUAV_StrBaseIO& stream, const OBS* cells, long count) {
  errno = 0;
  BlockWriter writer(stream);
  for (long i = 0; i < count; ++i) writer.Add(cells[i]);
  writer.Write();
}

bool SkipCompressed(QUAV_StrBaseIO& stream, long count) {
  return ForEachBlock(stream, count, [&](std::uint8_t, Block block) {
    if (stream.Seek(block.Bytes(), kSeekFromPresent) != 0) throw CompressedStreamError(errno);
  });
}

bool CopyPrecompressed(QUAV_StrBaseIO& from, QUAV_StrBaseIO& to, long count) {
  return ForEachBlock(from, count, [&](std::uint8_t control, Block block) {
    BlockBytes bytes;
    bytes[0] = std::byte{control};
    ReadWhole(from, bytes.data() + 1, block.Bytes());
    const auto size = static_cast<unsigned long>(block.Bytes()) + 1;
    if (to.Write(bytes.data(), size) != size) throw CompressedStreamError(errno);
  });
}
