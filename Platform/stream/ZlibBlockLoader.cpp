#include "Platform/stream/ZlibBlockLoader.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <utility>

#include "Platform/stream/BlockCodec.h"

namespace {

// After this number of blocks in sequence the reader is expected to go on.
constexpr int kSequence = 3;

}  // namespace

// What loads a block; each thread has its own.
class ZlibBlockLoader::Tools {
 public:
  Tools(std::shared_ptr<const QUAV_File> file, ByteOrder order) : m_file(std::move(file)), m_order(order) {}

  void Load(LoadedZlibBlock& loaded) {
    loaded.error = 0;
    const ZlibBlock& block = loaded.block;
    const std::size_t size = kBlockHeadSize + block.packedSize;
    const QUAV_File::Transfer transfer = m_file->ReadAt(m_packed.get(), size, block.place);
    if (transfer.error != 0)
      loaded.error = transfer.error;
    else if (transfer.bytes < size || !Unpack(loaded))
      loaded.error = EBADMSG;
  }

 private:
  bool Unpack(const LoadedZlibBlock& loaded) {
    const std::span packed(m_packed.get(), kBlockHeadSize + loaded.block.packedSize);
    const auto head = LoadBlockHead(packed.first(kBlockHeadSize), loaded.block.place, m_order);
    if (!head || head->block != loaded.block) return false;
    const std::span plain(loaded.Plain(), loaded.block.plainSize);
    return m_inflater->Inflate(packed.subspan(kBlockHeadSize), plain) && BlockChecksum(plain) == head->checksum;
  }

  std::shared_ptr<const QUAV_File> m_file;
  ByteOrder m_order;
  std::unique_ptr<BlockInflater> m_inflater = MakeBlockInflater();
  std::unique_ptr<std::byte[]> m_packed =
      std::make_unique_for_overwrite<std::byte[]>(kBlockHeadSize + kMostPackedBlockSize);
};

ZlibBlockLoader::ZlibBlockLoader(std::shared_ptr<const QUAV_File> file, std::shared_ptr<const ZlibBlocksFound> found,
                                 ByteOrder order, int threads)
    : m_file(std::move(file)), m_found(std::move(found)), m_order(order), m_threadCount(threads) {}

ZlibBlockLoader::~ZlibBlockLoader() = default;

std::unique_ptr<LoadedZlibBlock> ZlibBlockLoader::Load(std::size_t index) {
  m_inSequence = m_last != kNone && index == m_last + 1 ? std::min(m_inSequence + 1, kSequence) : 1;
  const bool isAheadWorthIt = m_threadCount > 0 && m_inSequence >= kSequence;
  m_last = kNone;  // until the block is there
  std::unique_ptr<LoadedZlibBlock> loaded = isAheadWorthIt ? LoadAhead(index) : LoadHere(index);
  if (loaded->error == 0) m_last = index;
  return loaded;
}

void ZlibBlockLoader::Reuse(std::unique_ptr<LoadedZlibBlock> block) {
  if (block) m_spare = std::move(block);
}

std::unique_ptr<LoadedZlibBlock> ZlibBlockLoader::NewBlock(std::size_t index) {
  std::unique_ptr<LoadedZlibBlock> block = m_spare ? std::move(m_spare) : std::make_unique<LoadedZlibBlock>();
  block->block = m_found->list.blocks[index];
  return block;
}

std::unique_ptr<LoadedZlibBlock> ZlibBlockLoader::LoadHere(std::size_t index) {
  if (m_ahead) m_ahead->Drop();
  if (!m_tools) m_tools = std::make_unique<Tools>(m_file, m_order);
  std::unique_ptr<LoadedZlibBlock> loaded = NewBlock(index);
  m_tools->Load(*loaded);
  return loaded;
}

std::unique_ptr<LoadedZlibBlock> ZlibBlockLoader::LoadAhead(std::size_t index) {
  if (!m_ahead) StartThreads();
  if (m_aheadFirst != index) m_ahead->Drop();
  m_aheadFirst = index;
  // Two for each thread: one in work, and the next one.
  const std::size_t most = 2 * static_cast<std::size_t>(m_threadCount);
  while (m_ahead->Size() < most && index + m_ahead->Size() < m_found->list.blocks.size())
    m_ahead->Give(NewBlock(index + m_ahead->Size()));
  ++m_aheadFirst;
  return m_ahead->Take();
}

// Starts no more threads than there are blocks.
void ZlibBlockLoader::StartThreads() {
  using Jobs = OrderedJobs<LoadedZlibBlock>;
  const auto most = std::min(static_cast<std::size_t>(m_threadCount), m_found->list.blocks.size());
  m_ahead = std::make_unique<Jobs>(static_cast<int>(most), [this]() -> Jobs::Worker {
    return [tools = std::make_shared<Tools>(m_file, m_order)](LoadedZlibBlock& loaded) { tools->Load(loaded); };
  });
}

std::size_t ZlibBlockLoader::Footprint() const {
  return ((m_spare ? 1 : 0) + (m_ahead ? m_ahead->Size() : 0)) * LoadedZlibBlock::kMemorySize;
}
