#include "Platform/stream/ZlibBlocks.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

using Mark = std::array<char, 4>;

constexpr Mark kBlockMark{'Z', 'B', 'L', 'K'};
constexpr Mark kTableMark{'Z', 'T', 'A', 'B'};
constexpr Mark kTailMark{'Z', 'E', 'N', 'D'};

// What a table may tell of, so that sums of sizes cannot run over.
constexpr std::int64_t kMostPosition = std::numeric_limits<std::int64_t>::max() / 2;

// Numbers one behind the other, in the order of the file.
class Writer {
 public:
  Writer(std::byte* at, ByteOrder order) : m_at(at), m_order(order) {}
  template <class T>
  Writer& Put(T number) {
    Store(m_at, number, m_order);
    m_at += sizeof(T);
    return *this;
  }
  // Text has no order.
  Writer& Put(const Mark& mark) {
    Store(m_at, mark);
    m_at += mark.size();
    return *this;
  }
  std::byte* At() const { return m_at; }

 private:
  std::byte* m_at;
  ByteOrder m_order;
};

class Reader {
 public:
  Reader(const std::byte* at, ByteOrder order) : m_at(at), m_order(order) {}
  template <class T>
  T Get() {
    const T number = Load<T>(m_at, m_order);
    m_at += sizeof(T);
    return number;
  }
  bool Meets(const Mark& mark) {
    const Mark found = Load<Mark>(m_at);
    m_at += mark.size();
    return found == mark;
  }

 private:
  const std::byte* m_at;
  ByteOrder m_order;
};

bool IsPossible(const ZlibBlock& block) {
  return 0 <= block.position && block.position <= kMostPosition && 0 < block.plainSize &&
         block.plainSize <= kMostPlainBlockSize && 0 < block.packedSize && block.packedSize <= kMostPackedBlockSize;
}

constexpr std::size_t TableSize(std::size_t blocks) {
  return kTableHeadSize + blocks * kTableEntrySize + kTableTailSize;
}

}  // namespace

// ---- The list ----

bool ZlibBlockList::Put(const ZlibBlock& block) {
  if (!IsPossible(block) || block.position > length) return false;
  Cut(block.position);
  blocks.push_back(block);
  length = block.PlainEnd();
  return true;
}

void ZlibBlockList::Cut(std::int64_t position) {
  while (!blocks.empty() && blocks.back().position >= position) blocks.pop_back();
  length = position;
}

std::size_t ZlibBlockList::Find(std::int64_t position) const {
  if (position >= length) return blocks.size();
  const auto behind = std::ranges::upper_bound(blocks, position, {}, &ZlibBlock::position);
  return static_cast<std::size_t>(behind - blocks.begin()) - 1;
}

std::size_t ZlibBlockList::LengthOf(std::size_t index) const {
  const std::int64_t end = index + 1 < blocks.size() ? blocks[index + 1].position : length;
  return static_cast<std::size_t>(end - blocks[index].position);
}

// ---- Heads of blocks ----

void StoreBlockHead(std::byte* at, const ZlibBlockHead& head, ByteOrder order) {
  Writer out(at, order);
  out.Put(kBlockMark).Put(head.block.plainSize).Put(head.block.position).Put(head.block.packedSize).Put(head.checksum);
  out.Put(BlockChecksum({at, out.At()}));
}

std::optional<ZlibBlockHead> LoadBlockHead(std::span<const std::byte> bytes, std::int64_t place, ByteOrder order) {
  if (bytes.size() != kBlockHeadSize) return std::nullopt;
  Reader in(bytes.data(), order);
  if (!in.Meets(kBlockMark)) return std::nullopt;
  ZlibBlockHead head;
  head.block.plainSize = in.Get<std::uint32_t>();
  head.block.position = in.Get<std::int64_t>();
  head.block.place = place;
  head.block.packedSize = in.Get<std::uint32_t>();
  head.checksum = in.Get<std::uint32_t>();
  const std::uint32_t checksum = BlockChecksum(bytes.first(kBlockHeadSize - sizeof(checksum)));
  if (in.Get<std::uint32_t>() != checksum || !IsPossible(head.block)) return std::nullopt;
  return head;
}

// ---- Tables ----

std::vector<std::byte> TableBytes(const ZlibBlockList& list, std::int64_t place, ByteOrder order) {
  std::vector<std::byte> bytes(TableSize(list.blocks.size()));
  Writer out(bytes.data(), order);
  out.Put(kTableMark).Put(static_cast<std::uint64_t>(list.blocks.size())).Put(list.length);
  for (const ZlibBlock& block : list.blocks)
    out.Put(block.position).Put(block.place).Put(block.packedSize).Put(block.plainSize);
  out.Put(place);
  out.Put(BlockChecksum({bytes.data(), out.At()})).Put(kTailMark);
  return bytes;
}

std::optional<std::size_t> LoadTableSize(std::span<const std::byte> head, ByteOrder order) {
  if (head.size() < kTableHeadSize) return std::nullopt;
  Reader in(head.data(), order);
  if (!in.Meets(kTableMark)) return std::nullopt;
  const auto blocks = in.Get<std::uint64_t>();
  if (blocks > static_cast<std::uint64_t>(kMostPosition) / kTableEntrySize - 2) return std::nullopt;
  return TableSize(blocks);
}

std::optional<ZlibTableTail> LoadTableTail(std::span<const std::byte> tail, ByteOrder order) {
  if (tail.size() != kTableTailSize) return std::nullopt;
  Reader in(tail.data(), order);
  ZlibTableTail found;
  found.tablePlace = in.Get<std::int64_t>();
  found.checksum = in.Get<std::uint32_t>();
  if (!in.Meets(kTailMark)) return std::nullopt;
  return found;
}

std::optional<ZlibBlockList> LoadTable(std::span<const std::byte> bytes, std::int64_t begin, std::int64_t place,
                                       ByteOrder order) {
  if (bytes.size() < kTableHeadSize + kTableTailSize || LoadTableSize(bytes, order) != bytes.size())
    return std::nullopt;
  const auto tail = LoadTableTail(bytes.last(kTableTailSize), order);
  // The sum reaches to its own place: behind it are itself and the mark.
  const std::size_t summed = bytes.size() - sizeof(ZlibTableTail::checksum) - kTailMark.size();
  if (!tail || tail->tablePlace != place || tail->checksum != BlockChecksum(bytes.first(summed))) return std::nullopt;

  Reader in(bytes.data() + kTailMark.size(), order);
  const auto count = static_cast<std::size_t>(in.Get<std::uint64_t>());
  const auto length = in.Get<std::int64_t>();
  ZlibBlockList list;
  list.blocks.reserve(count);
  std::int64_t free = begin;  // blocks stand one behind the other, whatever is between them
  for (std::size_t i = 0; i < count; ++i) {
    ZlibBlock block;
    block.position = in.Get<std::int64_t>();
    block.place = in.Get<std::int64_t>();
    block.packedSize = in.Get<std::uint32_t>();
    block.plainSize = in.Get<std::uint32_t>();
    if (block.place < free || block.place > place || block.FileEnd() > place || !list.Put(block)) return std::nullopt;
    // None takes the place of another in a table.
    if (list.blocks.size() != i + 1) return std::nullopt;
    free = block.FileEnd();
  }
  if (length > list.length || (count > 0 && length <= list.blocks.back().position) || length < 0) return std::nullopt;
  list.length = length;
  return list;
}
