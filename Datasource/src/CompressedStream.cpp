#include "CompressedStream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "ByteOrder.h"
#include "CaseCodes.h"
#include "CellCodes.h"
#include "Platform/Assert.h"

namespace {

constexpr int kMaxPart = 15;   // codes, or literals, of a block: what a nibble can tell
constexpr int kPartRoom = 16;  // copied as one; more than a part of codes
constexpr std::size_t kMaxBlockSize = 1 + kMaxPart + kMaxPart * sizeof(OBS);

static_assert(std::endian::native == std::endian::little, "the first cell is the low bit of a word");

using BlockBytes = std::array<std::byte, kMaxBlockSize>;

// Turns cells into blocks, which go to the stream many at once.
//
// The codes of some cells are found first. A block is then a run of codes, copied, and the run of literals behind it,
// copied; the bits that tell the literals say how long the runs are.
class BlockWriter {
 public:
  explicit BlockWriter(QUAV_StrBaseIO& stream) : m_stream(stream) {}

  void Add(const OBS* cells, long count) {
    while (count > kCellsAtOnce) {
      const int used = AddSome(cells, kCellsAtOnce, false);
      cells += used;
      count -= used;
    }
    AddSome(cells, static_cast<int>(count), true);
    Write();
  }

 private:
  static constexpr int kCellsAtOnce = 256;
  static constexpr std::size_t kStagedSize = 2048;

  // The codes of the cells at hand. Behind them are codes of no meaning, so that a whole part can always be copied, and
  // literals, which end every run of codes.
  struct Codes {
    std::array<std::byte, kCellsAtOnce + kPartRoom> codes;
    std::array<std::byte, kCellsAtOnce / 8 + sizeof(std::uint64_t)> literals;

    // Some 50 bits, that of the cell lowest.
    std::uint64_t LiteralsFrom(int cell) const {
      return Load<std::uint64_t>(&literals[static_cast<std::size_t>(cell / 8)]) >> cell % 8;
    }
  };

  // Returns the cells used. Of those that are not the last, some may be left: a block is as long as the cells allow.
  int AddSome(const OBS* cells, int count, bool last) {
    Codes codes;
    FindCodes(cells, count, codes.codes.data(), codes.literals.data());
    std::fill_n(&codes.literals[static_cast<std::size_t>((count + 7) / 8)], sizeof(std::uint64_t), std::byte{0xFF});
    int used = 0;
    const int enough = last ? count : count - 2 * kMaxPart;
    do used += AddBlock(cells, codes, used, count);
    while (used < enough);
    return used;
  }

  int AddBlock(const OBS* cells, const Codes& codes, int first, int end) {
    if (kStagedSize - m_size < kMaxBlockSize) Write();
    const std::uint64_t literals = codes.LiteralsFrom(first);
    const int codeCount = std::min(std::countr_zero(literals), kMaxPart);
    const int room = std::min(end - first - codeCount, kMaxPart);
    const int literalCount = std::min(std::countr_one(literals >> codeCount), room);
    std::byte* out = &m_staged[m_size];
    *out++ = static_cast<std::byte>(codeCount << 4 | literalCount);
    std::copy_n(&codes.codes[static_cast<std::size_t>(first)], kPartRoom, out);
    out += codeCount;
    for (const OBS* cell = cells + first + codeCount; cell < cells + first + codeCount + literalCount; ++cell) {
      Store(out, *cell);
      out += sizeof(OBS);
    }
    m_size = static_cast<std::size_t>(out - m_staged.data());
    return codeCount + literalCount;
  }

  void Write() {
    const unsigned long size = std::exchange(m_size, 0);
    if (size > 0 && m_stream.Write(m_staged.data(), size) != size) throw CompressedStreamError(errno);
  }

  QUAV_StrBaseIO& m_stream;
  std::size_t m_size = 0;
  std::array<std::byte, kStagedSize> m_staged;
};

struct Block {
  int codes;
  int literals;
  long Cells() const { return codes + literals; }
  long Bytes() const { return codes + literals * static_cast<long>(sizeof(OBS)); }
};

Block BlockOf(std::byte control) {
  const auto bits = static_cast<std::uint8_t>(control);
  return {bits >> 4, bits & 0xF};
}

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
    const Block block = BlockOf(std::byte{control});
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

// What is left of the stream's window, which is moved on when less than a block is.
class BlockWindow {
 public:
  explicit BlockWindow(QUAV_FileStream& stream) : m_stream(stream), m_window(stream.Peek(kMaxBlockSize)) {
    m_next = m_window.begin;
  }

  const std::byte* Next() {
    if (Left() < kMaxBlockSize) MoveOn();
    return m_next;
  }
  std::size_t Left() const { return static_cast<std::size_t>(m_window.end - m_next); }
  void Use(std::size_t size) { m_next += size; }
  // Leaves the stream behind what was used.
  void End() { m_stream.Skip(static_cast<std::size_t>(m_next - m_window.begin)); }

 private:
  void MoveOn() {
    if (m_next == m_window.begin) return;  // it is all that there is
    End();
    m_window = m_stream.Peek(kMaxBlockSize);
    m_next = m_window.begin;
  }

  QUAV_FileStream& m_stream;
  QUAV_FileStream::Window m_window;
  const std::byte* m_next;
};

// Where there is room for them, the cells of a whole part are stored, and those too many are overwritten by what
// follows: that saves the guess how many there are.
void DecodeBlock(const std::byte* in, const Block& block, OBS* cells, long room) {
  const auto cellAt = [in](int i) { return kCellOfCode[static_cast<std::uint8_t>(in[i])]; };
  if (room >= kMaxPart) {
#pragma GCC unroll 15
    for (int i = 0; i < kMaxPart; ++i) cells[i] = cellAt(i);
  } else {
    for (int i = 0; i < block.codes; ++i) cells[i] = cellAt(i);
  }
  in += block.codes;
  cells += block.codes;
  for (int i = 0; i < block.literals; ++i) cells[i] = Load<OBS>(in + static_cast<std::size_t>(i) * sizeof(OBS));
}

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
  BlockWriter(stream).Add(cells, count);
}

bool DecodeCompressed(QUAV_FileStream& stream, OBS* cells, long count) {
  if (count <= 0) return true;
  errno = 0;
  BlockWindow window(stream);
  if (window.Left() == 0 && stream.Good()) return false;
  while (count > 0) {
    const std::byte* const in = window.Next();
    if (window.Left() == 0) throw CompressedStreamError(errno);
    const Block block = BlockOf(*in);
    const auto size = static_cast<std::size_t>(block.Bytes()) + 1;
    if (window.Left() < size) throw CompressedStreamError(errno);
    QUAV_ASSERT(block.Cells() <= count, "len >= 0");
    // A window ends with its block at the earliest: only one that has more is read beyond it.
    DecodeBlock(in + 1, block, cells, window.Left() > kMaxPart ? count : 0);
    cells += block.Cells();
    count -= block.Cells();
    window.Use(size);
  }
  window.End();
  return true;
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
