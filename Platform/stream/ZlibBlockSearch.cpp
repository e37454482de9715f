#include "Platform/stream/ZlibBlockSearch.h"

#include <cerrno>
#include <optional>
#include <span>
#include <vector>

namespace {

std::int64_t EndOfTable(std::int64_t place, const ZlibBlockList& list) {
  return place + static_cast<std::int64_t>(TableSize(list.blocks.size()));
}

// One search of a file; a failed read ends it.
class Search {
 public:
  Search(const QUAV_File& file, std::int64_t begin, ByteOrder order)
      : m_file(file), m_begin(begin), m_order(order), m_length(file.Length()) {}

  ZlibBlocksFound Find();

 private:
  // The bytes at the place, valid until the next call; fewer than requested at the end of the file.
  std::span<const std::byte> Bytes(std::int64_t place, std::size_t size);
  std::optional<ZlibBlockList> TableAt(std::int64_t place);
  std::optional<ZlibBlockList> TableAtEnd();
  bool PassBlock();
  bool PassTable();

  const QUAV_File& m_file;
  const std::int64_t m_begin;
  const ByteOrder m_order;
  const std::int64_t m_length;
  ZlibBlocksFound m_found;
  std::vector<std::byte> m_bytes;
};

std::span<const std::byte> Search::Bytes(std::int64_t place, std::size_t size) {
  if (m_bytes.size() < size) m_bytes.resize(size);
  const QUAV_File::Transfer transfer = m_file.ReadAt(m_bytes.data(), size, place);
  if (transfer.error != 0) m_found.error = transfer.error;
  return std::span(m_bytes).first(transfer.bytes);
}

std::optional<ZlibBlockList> Search::TableAt(std::int64_t place) {
  const NextTableBytes next = [this, at = place](std::size_t size) mutable {
    const std::span<const std::byte> bytes = Bytes(at, size);
    at += static_cast<std::int64_t>(bytes.size());
    return bytes;
  };
  return LoadTable(next, m_begin, place, m_order);
}

std::optional<ZlibBlockList> Search::TableAtEnd() {
  const std::int64_t tailPlace = m_length - static_cast<std::int64_t>(kTableTailSize);
  if (tailPlace < m_begin) return std::nullopt;
  const auto tail = LoadTableTail(Bytes(tailPlace, kTableTailSize), m_order);
  if (!tail || tail->tablePlace < m_begin || tail->tablePlace >= tailPlace) return std::nullopt;
  auto list = TableAt(tail->tablePlace);
  if (list && EndOfTable(tail->tablePlace, *list) != m_length) return std::nullopt;
  return list;
}

// Moves past the next block, if it is whole.
bool Search::PassBlock() {
  const auto head = LoadBlockHead(Bytes(m_found.fileEnd, kBlockHeadSize), m_found.fileEnd, m_order);
  if (!head || head->block.FileEnd() > m_length || !m_found.list.Put(head->block)) return false;
  m_found.fileEnd = head->block.FileEnd();
  return true;
}

// Moves past the table of an earlier end, if it is whole.
bool Search::PassTable() {
  std::optional<ZlibBlockList> list = TableAt(m_found.fileEnd);
  if (!list) return false;
  m_found.list = std::move(*list);
  m_found.fileEnd = EndOfTable(m_found.fileEnd, m_found.list);
  return true;
}

ZlibBlocksFound Search::Find() {
  if (m_length < 0) {
    m_found.error = errno;
    return m_found;
  }
  m_found.fileEnd = m_begin;
  if (auto list = TableAtEnd()) {
    m_found.list = std::move(*list);
    m_found.fileEnd = m_length;
    m_found.isWhole = true;
    return m_found;
  }
  while (m_found.error == 0 && (PassBlock() || PassTable())) {
  }
  return m_found;
}

}  // namespace

ZlibBlocksFound FindZlibBlocks(const QUAV_File& file, std::int64_t begin, ByteOrder order) {
  return Search(file, begin, order).Find();
}
