#include "storage/CompressedStream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "Platform/Assert.h"
#include "casecodes/CaseCodes.h"
#include "casecodes/CellCodes.h"
#include "core/ByteOrder.h"

namespace {

constexpr int kMaxPart = 15;   // the most codes, or literals, in a block: what a nibble can hold
constexpr int kPartRoom = 16;  // bytes copied at once; more than a block has codes
constexpr std::size_t kMaxBlockSize = 1 + kMaxPart + kMaxPart * sizeof(OBS);

using BlockBytes = std::array<std::byte, kMaxBlockSize>;

// Returns the index of the lowest bit that is set, or `most` when no lower bit is set.
int LowestBit(std::uint64_t word, int most) { return std::countr_zero(word | std::uint64_t{1} << most); }

// Turns cells into blocks, and writes many blocks at once.
//
// It first finds the codes of some cells. A block is then a run of codes, copied, and the run of literals after it,
// copied. The bits that mark the literals give the lengths of the runs.
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

  // The codes of the cells at hand. After them come codes without meaning, so that kPartRoom codes can always be
  // copied, and literal bits, which end every run of codes.
  struct Codes {
    std::array<std::byte, kCellsAtOnce + kPartRoom> codes;
    std::array<std::uint64_t, kCellsAtOnce / kCellsPerWord + 1> literals;

    // Returns the bits from the cell on; the bit of the cell is the lowest.
    std::uint64_t LiteralsFrom(int cell) const {
      const auto word = static_cast<std::size_t>(cell / kCellsPerWord);
      const int bit = cell % kCellsPerWord;
      // Two shifts, because one shift must not be by all 64 bits.
      return literals[word] >> bit | literals[word + 1] << 1 << (kCellsPerWord - 1 - bit);
    }
  };

  // Returns the number of cells used. Unless `last` is set, it may leave some cells: a block is as long as the cells
  // allow.
  int AddSome(const OBS* cells, int count, bool last) {
    Codes codes;
    FindCodes(cells, count, codes.codes.data(), codes.literals.data());
    codes.literals[static_cast<std::size_t>((count + kCellsPerWord - 1) / kCellsPerWord)] = ~std::uint64_t{0};
    int used = 0;
    const int enough = last ? count : count - 2 * kMaxPart;
    do used += AddBlock(cells, codes, used, count);
    while (used < enough);
    return used;
  }

  int AddBlock(const OBS* cells, const Codes& codes, int first, int end) {
    if (kStagedSize - m_size < kMaxBlockSize) Write();
    const std::uint64_t literals = codes.LiteralsFrom(first);
    const int codeCount = LowestBit(literals, kMaxPart);
    const int room = std::min(end - first - codeCount, kMaxPart);
    const int literalCount = LowestBit(~(literals >> codeCount), room);
    std::byte* out = &m_staged[m_size];
    *out++ = static_cast<std::byte>(codeCount << 4 | literalCount);
    std::copy_n(&codes.codes[static_cast<std::size_t>(first)], kPartRoom, out);
    out += codeCount;
    const OBS* const literal = cells + first + codeCount;
    // Most blocks have no literal or one, and the processor cannot predict which: one is always stored.
    if (room > 0) Store(out, *literal);
    for (int i = 1; i < literalCount; ++i) Store(out + static_cast<std::size_t>(i) * sizeof(OBS), literal[i]);
    out += static_cast<std::size_t>(literalCount) * sizeof(OBS);
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

// Walks through the blocks that hold `count` cells together. Calls `use` after each control byte; `use` reads the
// block's data.
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

// The rest of the stream's window. The window moves on when it holds less than a block of the largest size.
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
  // Moves the stream to the end of what was used.
  void End() { m_stream.Skip(static_cast<std::size_t>(m_next - m_window.begin)); }

 private:
  void MoveOn() {
    if (m_next == m_window.begin) return;  // the stream has no more bytes
    End();
    m_window = m_stream.Peek(kMaxBlockSize);
    m_next = m_window.begin;
  }

  QUAV_FileStream& m_stream;
  QUAV_FileStream::Window m_window;
  const std::byte* m_next;
};

// Needs room after the block, in the input and in `cells`: it always stores as many cells as a block can have codes,
// and one literal. What follows overwrites the surplus. This saves a branch on the number of codes.
void DecodeBlockFast(const std::byte* in, const Block& block, OBS* cells) {
#pragma GCC unroll 15
  for (int i = 0; i < kMaxPart; ++i) cells[i] = kCellOfCode[static_cast<std::uint8_t>(in[i])];
  in += block.codes;
  cells += block.codes;
  cells[0] = Load<OBS>(in);
  for (int i = 1; i < block.literals; ++i) cells[i] = Load<OBS>(in + static_cast<std::size_t>(i) * sizeof(OBS));
}

void DecodeBlock(const std::byte* in, const Block& block, OBS* cells) {
  for (int i = 0; i < block.codes; ++i) *cells++ = kCellOfCode[static_cast<std::uint8_t>(*in++)];
  for (int i = 0; i < block.literals; ++i, in += sizeof(OBS)) *cells++ = Load<OBS>(in);
}

}  // namespace

const OBS Compression1::sysmis = kSystemMissingCell;

std::uint8_t Compression1::Compressed(const OBS& cell) { return CodeOfCell(cell); }

void Compression1::Decompress(unsigned char code, OBS& cell) { cell = kCellOfCode[code]; }

bool ReadCompressed(QUAV_StrBaseIO& stream, OBS* cells, long count) {
  return ForEachBlock(stream, count, [&](std::uint8_t, Block block) {
    BlockBytes bytes;
    ReadWhole(stream, bytes.data(), block.Bytes());
    DecodeBlock(bytes.data(), block, cells);
    cells += block.Cells();
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
    const bool hasRoom = count > kMaxPart && window.Left() >= kMaxBlockSize;
    if (hasRoom)
      DecodeBlockFast(in + 1, block, cells);
    else
      DecodeBlock(in + 1, block, cells);
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
