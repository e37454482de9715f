#include "Platform/stream/ZlibBlockSearch.h"

#include <array>
#include <cerrno>
#include <optional>
#include <vector>

namespace {

// One look at a file; a read that fails ends it.
class Search {
 public:
  Search(const QUAV_File& file, std::int64_t begin, ByteOrder order)
      : m_file(file), m_begin(begin), m_order(order), m_length(file.Length()) {}

  ZlibBlocksFound Find();

 private:
  // The bytes from the place on; fewer than asked for where the file ends.
  std::vector<std::byte> Bytes(std::int64_t place, std::size_t size);
  std::optional<ZlibBlockList> TableAt(std::int64_t place, std::size_t size);
  std::optional<ZlibBlockList> TableAtEnd();
  bool PassBlock();
  bool PassTable();

  const QUAV_File& m_file;
  const std::int64_t m_begin;
  const ByteOrder m_order;
  const std::int64_t m_length;
  ZlibBlocksFound m_found;
};

std::vector<std::byte> Search::Bytes(std::int64_t place, std::size_t size) {
  std::vector<std::byte> bytes(size);
  const QUAV_File::Transfer transfer = m_file.ReadAt(bytes.data(), size, place);
  if (transfer.error != 0) m_found.error = transfer.error;
  bytes.resize(transfer.bytes);
  return bytes;
}

// `size` was held against what is left of the file.
std::optional<ZlibBlockList> Search::TableAt(std::int64_t place, std::size_t size) {
  const std::vector<std::byte> bytes = Bytes(place, size);
  if (bytes.size() != size) return std::nullopt;
  return LoadTable(bytes, m_begin, place, m_order);
}

std::optional<ZlibBlockList> Search::TableAtEnd() {
  const std::int64_t tailPlace = m_length - static_cast<std::int64_t>(kTableTailSize);
  if (tailPlace < m_begin) return std::nullopt;
  const auto tail = LoadTableTail(Bytes(tailPlace, kTableTailSize), m_order);
  if (!tail || tail->tablePlace < m_begin || tail->tablePlace >= tailPlace) return std::nullopt;
  return TableAt(tail->tablePlace, static_cast<std::size_t>(m_length - tail->tablePlace));
}

// Moves behind the whole block that stands next, if one does.
bool Search::PassBlock() {
  const auto head = LoadBlockHead(Bytes(m_found.fileEnd, kBlockHeadSize), m_found.fileEnd, m_order);
  if (!head || head->block.FileEnd() > m_length || !m_found.list.Put(head->block)) return false;
  m_found.fileEnd = head->block.FileEnd();
  return true;
}

// The same with the table of an earlier end.
bool Search::PassTable() {
  const auto size = LoadTableSize(Bytes(m_found.fileEnd, kTableHeadSize), m_order);
  if (!size || *size > static_cast<std::uint64_t>(m_length - m_found.fileEnd)) return false;
  std::optional<ZlibBlockList> list = TableAt(m_found.fileEnd, *size);
  if (!list) return false;
  m_found.list = std::move(*list);
  m_found.fileEnd += static_cast<std::int64_t>(*size);
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
