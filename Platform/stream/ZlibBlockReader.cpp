// The window is in the memory of the present block. When the window is used up, or shorter than requested, the next
// block is loaded. Before its bytes is room for the rest of the window, so that both are in one piece.

#include "Platform/stream/ZlibBlockReader.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/stream/BlockCodec.h"

namespace {

constexpr std::size_t kRoomInFront = QUAV_FileStream::kMaxPeek;

// After this number of blocks in sequence the reader is expected to go on.
constexpr int kSequence = 3;

}  // namespace

// A block that is being loaded from the file.
struct ZlibBlockReader::Load {
  ZlibBlock block;
  int error = 0;
  std::unique_ptr<std::byte[]> plain = std::make_unique_for_overwrite<std::byte[]>(kRoomInFront + kMostPlainBlockSize);

  std::byte* Plain() const { return plain.get() + kRoomInFront; }
};

// Loads blocks with its own tools; each thread has one.
class ZlibBlockReader::Loader {
 public:
  Loader(std::shared_ptr<const QUAV_File> file, ByteOrder order) : m_file(std::move(file)), m_order(order) {}

  void Do(Load& load) {
    load.error = 0;
    const ZlibBlock& block = load.block;
    const std::size_t size = kBlockHeadSize + block.packedSize;
    const QUAV_File::Transfer transfer = m_file->ReadAt(m_packed.get(), size, block.place);
    if (transfer.error != 0)
      load.error = transfer.error;
    else if (transfer.bytes < size || !Unpack(load))
      load.error = EBADMSG;
  }

 private:
  bool Unpack(const Load& load) {
    const std::span packed(m_packed.get(), kBlockHeadSize + load.block.packedSize);
    const auto head = LoadBlockHead(packed.first(kBlockHeadSize), load.block.place, m_order);
    if (!head || head->block != load.block) return false;
    const std::span plain(load.Plain(), load.block.plainSize);
    return m_inflater->Inflate(packed.subspan(kBlockHeadSize), plain) && BlockChecksum(plain) == head->checksum;
  }

  std::shared_ptr<const QUAV_File> m_file;
  ByteOrder m_order;
  std::unique_ptr<BlockInflater> m_inflater = MakeBlockInflater();
  std::unique_ptr<std::byte[]> m_packed =
      std::make_unique_for_overwrite<std::byte[]>(kBlockHeadSize + kMostPackedBlockSize);
};

ZlibBlockReader::ZlibBlockReader(std::shared_ptr<const QUAV_File> file, std::shared_ptr<const ZlibBlocksFound> found,
                                 ByteOrder order, int threads)
    : m_file(std::move(file)), m_found(std::move(found)), m_order(order), m_threadCount(threads) {}

ZlibBlockReader::~ZlibBlockReader() = default;

// ---- Blocks ----

std::unique_ptr<ZlibBlockReader::Load> ZlibBlockReader::NewLoad(std::size_t index) {
  std::unique_ptr<Load> load = m_spare ? std::move(m_spare) : std::make_unique<Load>();
  load->block = List().blocks[index];
  return load;
}

bool ZlibBlockReader::IsAheadWorthIt() const { return m_threadCount > 0 && m_inSequence >= kSequence; }

std::unique_ptr<ZlibBlockReader::Load> ZlibBlockReader::Fetch(std::size_t index) {
  m_inSequence = m_loadedIndex != kNone && index == m_loadedIndex + 1 ? std::min(m_inSequence + 1, kSequence) : 1;
  if (IsAheadWorthIt()) return FetchAhead(index);
  if (m_ahead) m_ahead->Drop();
  if (!m_loader) m_loader = std::make_unique<Loader>(m_file, m_order);
  std::unique_ptr<Load> load = NewLoad(index);
  m_loader->Do(*load);
  return load;
}

// Starts no more threads than there are blocks.
void ZlibBlockReader::StartThreads() {
  const auto most = std::min(static_cast<std::size_t>(m_threadCount), List().blocks.size());
  m_ahead = std::make_unique<OrderedJobs<Load>>(static_cast<int>(most), [this]() -> OrderedJobs<Load>::Worker {
    return [loader = std::make_shared<Loader>(m_file, m_order)](Load& load) { loader->Do(load); };
  });
}

std::unique_ptr<ZlibBlockReader::Load> ZlibBlockReader::FetchAhead(std::size_t index) {
  if (!m_ahead) StartThreads();
  if (m_aheadFirst != index) m_ahead->Drop();
  m_aheadFirst = index;
  // Two for each thread: one in work, and the next one.
  const std::size_t most = 2 * static_cast<std::size_t>(m_threadCount);
  while (m_ahead->Size() < most && index + m_ahead->Size() < List().blocks.size())
    m_ahead->Give(NewLoad(index + m_ahead->Size()));
  ++m_aheadFirst;
  return m_ahead->Take();
}

// Makes one window of the rest of the old one and the new block.
void ZlibBlockReader::TakeOver(std::unique_ptr<Load> load) {
  const std::int64_t blockStart = load->block.position;
  const std::size_t held = Held();
  // After a seek there is no window, and the position may be inside the block.
  const std::byte* const begin = load->Plain() + (held == 0 ? m_windowEnd - blockStart : 0);
  std::copy(m_next, m_end, load->Plain() - held);
  m_next = begin - held;
  m_end = load->Plain() + List().LengthOf(m_nextIndex);
  m_windowEnd = blockStart + static_cast<std::int64_t>(List().LengthOf(m_nextIndex));
  if (m_load) m_spare = std::move(m_load);
  m_load = std::move(load);
  m_loadedIndex = m_nextIndex++;
}

// Returns whether there was another block.
bool ZlibBlockReader::NextBlock() {
  if (m_nextIndex == List().blocks.size()) {
    m_metEnd = true;
    return m_found->isWhole ? false : Fail(ENODATA);
  }
  std::unique_ptr<Load> load = Fetch(m_nextIndex);
  if (load->error != 0) {
    const int reason = load->error;
    m_loadedIndex = kNone;  // the next attempt does not count as a sequence
    m_spare = std::move(load);
    return Fail(reason);
  }
  TakeOver(std::move(load));
  return true;
}

bool ZlibBlockReader::Fail(int reason) {
  if (m_error == 0) m_error = reason;
  errno = reason;
  return false;
}

// ---- The stream ----

void ZlibBlockReader::Seek(std::int64_t position) {
  m_metEnd = false;
  const std::size_t index = List().Find(position);
  if (m_load && index == m_loadedIndex) {
    m_next = m_load->Plain() + (position - m_load->block.position);
    m_end = m_load->Plain() + List().LengthOf(index);
    m_windowEnd = position + (m_end - m_next);
    m_nextIndex = index + 1;
    return;
  }
  m_next = m_end = nullptr;
  m_windowEnd = position;
  m_nextIndex = index;
}

std::size_t ZlibBlockReader::Read(std::byte* to, std::size_t count) {
  std::size_t done = 0;
  while (done < count && (Held() > 0 || NextBlock())) {
    const std::size_t taken = std::min(count - done, Held());
    to = std::copy_n(m_next, taken, to);
    m_next += taken;
    done += taken;
  }
  return done;
}

ZlibBlockReader::Window ZlibBlockReader::Peek(std::size_t wanted) {
  QUAV_ASSERT(wanted <= kRoomInFront, "wanted <= kMaxPeek");
  while (Held() < wanted && NextBlock()) {
  }
  return {m_next, m_end};
}

void ZlibBlockReader::Skip(std::size_t count) {
  QUAV_ASSERT(count <= Held(), "count <= window");
  m_next += count;
}

void ZlibBlockReader::Clear() {
  m_error = 0;
  m_metEnd = false;
}

std::size_t ZlibBlockReader::Footprint() const {
  const std::size_t blocks = (m_load ? 1 : 0) + (m_spare ? 1 : 0) + (m_ahead ? m_ahead->Size() : 0);
  return blocks * (kRoomInFront + kMostPlainBlockSize);
}
