#include "Platform/stream/ZlibBlocks.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

using Mark = std::array<char, 4>;

constexpr Mark kBlockMark{'Z', 'B', 'L', 'K'};
constexpr Mark kTableMark{'Z', 'T', 'A', 'B'};
constexpr Mark kTailMark{'Z', 'E', 'N', 'D'};

// The largest position that a table may contain, so that sums of sizes do not overflow.
constexpr std::int64_t kMostPosition = std::numeric_limits<std::int64_t>::max() / 2;

// Stores numbers one after the other, in the byte order of the file.
class Writer {
 public:
  Writer(std::byte* at, ByteOrder order) : m_at(at), m_order(order) {}
  template <class T>
  Writer& Put(T number) {
    Store(m_at, number, m_order);
    m_at += sizeof(T);
    return *this;
  }
  // Text has no byte order.
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

std::optional<ZlibTableTail> LoadTableTail(std::span<const std::byte> tail, ByteOrder order) {
  if (tail.size() != kTableTailSize) return std::nullopt;
  Reader in(tail.data(), order);
  ZlibTableTail found;
  found.tablePlace = in.Get<std::int64_t>();
  found.checksum = in.Get<std::uint32_t>();
  if (!in.Meets(kTailMark)) return std::nullopt;
  return found;
}

namespace {

// Loads a table from its pieces into a list. It stops when the bytes are no table.
class TableLoader {
 public:
  TableLoader(const NextTableBytes& next, std::int64_t begin, std::int64_t place, ByteOrder order)
      : m_next(next), m_order(order), m_free(begin), m_place(place) {}

  std::optional<ZlibBlockList> Load() {
    if (!LoadHead() || !LoadEntries() || !LoadTail() || !IsLengthPossible()) return std::nullopt;
    m_list.length = m_length;
    return std::move(m_list);
  }

 private:
  static constexpr std::size_t kEntriesAtOnce = 1024;

  // Returns an empty span when there are fewer bytes.
  std::span<const std::byte> Piece(std::size_t size) {
    const std::span<const std::byte> piece = m_next(size);
    return piece.size() == size ? piece : std::span<const std::byte>();
  }

  bool LoadHead() {
    const auto head = Piece(kTableHeadSize);
    if (head.empty()) return false;
    Reader in(head.data(), m_order);
    if (!in.Meets(kTableMark)) return false;
    m_count = in.Get<std::uint64_t>();
    m_length = in.Get<std::int64_t>();
    m_checksum = BlockChecksum(head);
    return true;
  }

  bool LoadEntries() {
    for (std::uint64_t left = m_count; left > 0;) {
      const std::size_t count = std::min<std::uint64_t>(left, kEntriesAtOnce);
      const auto entries = Piece(count * kTableEntrySize);
      if (entries.empty()) return false;
      Reader in(entries.data(), m_order);
      for (std::size_t i = 0; i < count; ++i)
        if (!LoadEntry(in)) return false;
      m_checksum = BlockChecksum(entries, m_checksum);
      left -= count;
    }
    return true;
  }

  bool LoadEntry(Reader& in) {
    ZlibBlock block;
    block.position = in.Get<std::int64_t>();
    block.place = in.Get<std::int64_t>();
    block.packedSize = in.Get<std::uint32_t>();
    block.plainSize = in.Get<std::uint32_t>();
    // Blocks follow one another in the file; anything may be between them.
    if (block.place < m_free || block.place > m_place || block.FileEnd() > m_place) return false;
    m_free = block.FileEnd();
    const std::size_t before = m_list.blocks.size();
    // In a table no block replaces another.
    return m_list.Put(block) && m_list.blocks.size() == before + 1;
  }

  bool LoadTail() {
    const auto bytes = Piece(kTableTailSize);
    const auto tail = LoadTableTail(bytes, m_order);
    // The sum covers the table up to the sum's own place.
    return tail && tail->tablePlace == m_place &&
           tail->checksum == BlockChecksum(bytes.first(sizeof(tail->tablePlace)), m_checksum);
  }

  // The stream takes at least one byte of the last block.
  bool IsLengthPossible() const {
    const std::int64_t least = m_list.blocks.empty() ? 0 : m_list.blocks.back().position + 1;
    return least <= m_length && m_length <= m_list.length;
  }

  const NextTableBytes& m_next;
  const ByteOrder m_order;
  std::int64_t m_free;  // the first byte of the file at which the next block may begin
  const std::int64_t m_place;
  std::uint64_t m_count = 0;
  std::int64_t m_length = 0;
  std::uint32_t m_checksum = 0;
  ZlibBlockList m_list;
};

}  // namespace

std::optional<ZlibBlockList> LoadTable(const NextTableBytes& next, std::int64_t begin, std::int64_t place,
                                       ByteOrder order) {
  return TableLoader(next, begin, place, order).Load();
}
