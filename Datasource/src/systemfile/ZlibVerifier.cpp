#include "systemfile/ZlibVerifier.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <string_view>
#include <utility>

#include "Platform/stream/ZlibBlockLoader.h"
#include "core/ByteOrder.h"
#include "systemfile/GoodBlocks.h"

namespace {

constexpr std::string_view kTableMark = "ZTAB";

}  // namespace

ZlibVerifier::ZlibVerifier(std::shared_ptr<const QUAV_File> file, long row0, ByteOrder order, int threads,
                           VerifiedFile& result)
    : m_file(std::move(file)), m_row0(row0), m_order(order), m_threads(threads > 1 ? threads : 0), m_result(result) {}

void ZlibVerifier::AddFault(std::int64_t byte, const std::string& text, long long row) {
  m_result.faults.push_back({kUnexpectedEnd, text, {.offset = byte}, false, row});
}

// Returns the place in the file of the block that has a byte of the stream, or of the end of the blocks.
std::int64_t ZlibVerifier::InFile(long byte) const {
  const ZlibBlockList& list = m_found->list;
  const std::size_t index = list.Find(std::max(byte - m_row0, 0L));
  return index < list.blocks.size() ? list.blocks[index].place : m_found->fileEnd;
}

void ZlibVerifier::Verify(CaseTaker& cases) {
  m_found = std::make_shared<ZlibBlocksFound>(FindZlibBlocks(*m_file, m_row0, m_order));
  if (m_found->error != 0) {
    AddFault(m_row0, "the zlib blocks cannot be read" + SystemReason(m_found->error), 0);
    m_result.missing.push_back({});
    return;
  }
  VerifyBlocks(cases);
  if (!m_found->isWhole) AddTableFault();
}

// The list has no table: it was found block by block, up to the first that is not whole.
void ZlibVerifier::AddTableFault() {
  const std::int64_t length = m_file->Length();
  const auto bytesAt = [&](std::int64_t place, std::span<std::byte> bytes) {
    return place >= m_row0 && m_file->ReadAt(bytes.data(), bytes.size(), place).bytes == bytes.size();
  };
  std::array<std::byte, kTableTailSize> bytes;
  const auto tail =
      bytesAt(length - static_cast<std::int64_t>(bytes.size()), bytes) ? LoadTableTail(bytes, m_order) : std::nullopt;
  const bool isNamed = tail && tail->tablePlace >= m_row0 && tail->tablePlace < length;
  const std::int64_t table = isNamed ? tail->tablePlace : m_found->fileEnd;
  std::array<std::byte, kTableMark.size()> mark;
  const bool isTable = bytesAt(table, mark) && std::string_view(AsText(mark.data()), mark.size()) == kTableMark;
  AddFault(table,
           isNamed || isTable ? "the table of the zlib blocks is damaged or not whole"
                              : "the table of the zlib blocks is not at the end of the file",
           -1);
  if (m_found->fileEnd >= (isNamed ? table : length) || (isTable && table == m_found->fileEnd)) return;
  AddFault(
      m_found->fileEnd,
      "no whole zlib block is here, and without the table those after it are not found: the rest of the file is not "
      "verified",
      m_result.readableCases);
}

void ZlibVerifier::VerifyBlocks(CaseTaker& cases) {
  GoodBlocks stream(m_file, m_found, m_row0, m_order, m_threads);
  GroupReader reader(stream, cases.Layout().NominalCaseSize());
  const auto fault = VerifyCodedCases(stream, reader, cases);
  m_result.readableCases = cases.Cases();
  // What is missing after the last block is said about the table.
  const bool isEnd = fault && fault->isSystem && stream.Error() == ENODATA;
  if (!fault && m_found->isWhole) return;
  if (!fault || isEnd) {
    if (m_result.declaredCases != m_result.readableCases) m_result.missing.push_back({m_result.readableCases, -1});
    return;
  }
  m_result.missing.push_back({m_result.readableCases, -1});
  if (!fault->isSystem) return AddFault(InFile(fault->byte), fault->text, m_result.readableCases);
  const std::vector<bool> isGood = TestBlocks(m_result.readableCases);
  const auto lastBad = std::find(isGood.rbegin(), isGood.rend(), false);
  const auto first = static_cast<std::size_t>(isGood.rend() - lastBad);
  if (m_found->isWhole && first > 0 && first < isGood.size()) TakeTail(BlocksFrom(first), cases);
}

// Adds a fault for each damaged block; `row` is the case at the first of them.
std::vector<bool> ZlibVerifier::TestBlocks(long long row) {
  const std::vector<ZlibBlock>& blocks = m_found->list.blocks;
  std::vector<bool> isGood(blocks.size());
  ZlibBlockLoader loader(m_file, m_found, m_order, m_threads);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    auto block = loader.Load(i);
    isGood[i] = block->error == 0;
    if (!isGood[i]) {
      AddFault(blocks[i].place,
               block->error == EBADMSG ? "the zlib block is damaged: nothing in it can be read"
                                       : "the zlib block cannot be read" + SystemReason(block->error),
               std::exchange(row, -1));
    }
    loader.Reuse(std::move(block));
  }
  return isGood;
}

// Returns the blocks from `first` to the end, as a list of their own.
ZlibVerifier::Blocks ZlibVerifier::BlocksFrom(std::size_t first) const {
  auto run = std::make_shared<ZlibBlocksFound>(*m_found);
  run->list.blocks.erase(run->list.blocks.begin(), run->list.blocks.begin() + static_cast<std::ptrdiff_t>(first));
  return run;
}

void ZlibVerifier::TakeTail(const Blocks& run, CaseTaker& cases) {
  GoodBlocks search(m_file, run, m_row0, m_order, m_threads);
  const auto tail = FindTail(search, cases.Layout().NominalCaseSize());
  if (!tail || tail->cases == 0) return;
  const long long before = m_result.readableCases;
  const long long row = m_result.declaredCases - tail->cases;
  const bool isRowKnown = row >= before;
  if (cases.WantsCases()) {
    GoodBlocks stream(m_file, run, m_row0, m_order, m_threads);
    GroupReader reader(stream, cases.Layout().NominalCaseSize());
    try {
      reader.Seek(tail->group, tail->code);
    } catch (const SystemFileException&) {
      return;
    }
    VerifyCodedCases(stream, reader, cases);
  }
  m_result.readableCases = before + tail->cases;
  m_result.missing.back().to = isRowKnown ? row : RowGap().to;
  m_result.missing.back().isWithin = true;
}
