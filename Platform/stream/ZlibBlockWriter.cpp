#include "Platform/stream/ZlibBlockWriter.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>
#include <vector>

#include "Platform/Assert.h"
#include "Platform/stream/BlockCodec.h"

// A block that is being written to the file.
struct ZlibBlockWriter::Pack {
  std::int64_t position = 0;
  std::size_t plainSize = 0;
  std::size_t packedSize = 0;  // head and zlib stream; 0: packing failed
  std::unique_ptr<std::byte[]> plain = std::make_unique_for_overwrite<std::byte[]>(kPlainBlockSize);
  std::unique_ptr<std::byte[]> packed =
      std::make_unique_for_overwrite<std::byte[]>(kBlockHeadSize + DeflateRoom(kPlainBlockSize));

  std::size_t Room() const { return kPlainBlockSize - plainSize; }
};

// Packs blocks with its own tools; each thread has one.
class ZlibBlockWriter::Packer {
 public:
  explicit Packer(ByteOrder order) : m_order(order) {}

  void Do(Pack& pack) {
    const std::span<const std::byte> plain(pack.plain.get(), pack.plainSize);
    const std::span room(pack.packed.get() + kBlockHeadSize, DeflateRoom(pack.plainSize));
    const std::size_t size = m_deflater->Deflate(plain, room);
    pack.packedSize = size == 0 ? 0 : kBlockHeadSize + size;
    const ZlibBlock block{pack.position, 0, static_cast<std::uint32_t>(size), static_cast<std::uint32_t>(plain.size())};
    StoreBlockHead(pack.packed.get(), {block, BlockChecksum(plain)}, m_order);
  }

 private:
  ByteOrder m_order;
  std::unique_ptr<BlockDeflater> m_deflater = MakeBlockDeflater();
};

ZlibBlockWriter::ZlibBlockWriter(StreamBeneath& file, ByteOrder order, ZlibBlockList list, std::int64_t fileEnd,
                                 bool isNew, int threads)
    : m_file(file),
      m_order(order),
      m_list(std::move(list)),
      m_fileEnd(fileEnd),
      m_threadCount(threads),
      m_needsTable(isNew),
      m_blockStart(m_list.length) {}

ZlibBlockWriter::~ZlibBlockWriter() = default;

bool ZlibBlockWriter::Fail(int reason) {
  if (m_error == 0) m_error = reason;
  errno = m_error;
  return false;
}

// ---- Blocks ----

std::int64_t ZlibBlockWriter::Position() const {
  return m_blockStart + (m_block ? static_cast<std::int64_t>(m_block->plainSize) : 0);
}

void ZlibBlockWriter::NeedBlock() {
  if (m_block) return;
  m_block = m_spare ? std::move(m_spare) : std::make_unique<Pack>();
  m_block->position = m_blockStart;
  m_block->plainSize = 0;
}

void ZlibBlockWriter::Preload(std::span<const std::byte> bytes) {
  QUAV_ASSERT(bytes.size() < kPlainBlockSize, "bytes.size() < kPlainBlockSize");
  NeedBlock();
  std::ranges::copy(bytes, m_block->plain.get());
  m_block->plainSize = bytes.size();
}

std::size_t ZlibBlockWriter::Write(const std::byte* from, std::size_t count) {
  if (m_error != 0) {
    errno = m_error;
    return 0;
  }
  try {
    return Fill(from, count);
  } catch (const std::bad_alloc&) {
    Fail(ENOMEM);
    return 0;
  }
}

std::size_t ZlibBlockWriter::Fill(const std::byte* from, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    NeedBlock();
    m_needsTable = true;
    const std::size_t taken = std::min(count - done, m_block->Room());
    std::copy_n(from + done, taken, m_block->plain.get() + m_block->plainSize);
    m_block->plainSize += taken;
    done += taken;
    if (m_block->Room() == 0 && !GiveBlock()) return 0;
  }
  return done;
}

// Gives the block in hand to the jobs, and writes the finished blocks that are too many.
bool ZlibBlockWriter::GiveBlock() {
  if (!m_jobs) {
    m_jobs = std::make_unique<OrderedJobs<Pack>>(m_threadCount, [this]() -> OrderedJobs<Pack>::Worker {
      return [packer = std::make_shared<Packer>(m_order)](Pack& pack) { packer->Do(pack); };
    });
  }
  m_blockStart += static_cast<std::int64_t>(m_block->plainSize);
  m_jobs->Give(std::move(m_block));
  // Two for each thread: one in work, and the next one.
  while (m_jobs->Size() > 2 * static_cast<std::size_t>(m_jobs->Threads()))
    if (!WriteOldest()) return false;
  return true;
}

bool ZlibBlockWriter::WriteOldest() {
  std::unique_ptr<Pack> pack = m_jobs->Take();
  if (pack->packedSize == 0) return Fail(ENOMEM);
  const auto packed = static_cast<std::uint32_t>(pack->packedSize - kBlockHeadSize);
  const ZlibBlock block{pack->position, m_fileEnd, packed, static_cast<std::uint32_t>(pack->plainSize)};
  if (!PutBytes({pack->packed.get(), pack->packedSize})) return false;
  QUAV_ASSERT(m_list.Put(block), "m_list.Put(block)");
  m_spare = std::move(pack);
  return true;
}

// ---- The file ----

// Moves to the end and cuts off what an interrupted append has left after it.
bool ZlibBlockWriter::StandAtEnd() {
  if (m_isAtEnd) return true;
  const long length = m_file.Length();
  if (length < 0 || m_file.Seek(m_fileEnd, kSeekFromStart) != 0) return Fail(errno);
  const int error = length > m_fileEnd ? m_file.GetFile()->Truncate(m_fileEnd) : 0;
  if (error != 0) return Fail(error);
  return m_isAtEnd = true;
}

bool ZlibBlockWriter::PutBytes(std::span<const std::byte> bytes) {
  if (!StandAtEnd()) return false;
  if (m_file.Write(bytes.data(), bytes.size()) != bytes.size()) return Fail(m_file.Error());
  m_fileEnd += static_cast<std::int64_t>(bytes.size());
  return true;
}

bool ZlibBlockWriter::WriteHeld() {
  if (m_block && m_block->plainSize > 0 && !GiveBlock()) return false;
  while (m_jobs && m_jobs->Size() > 0)
    if (!WriteOldest()) return false;
  return m_file.Flush() == 0 || Fail(m_file.Error());
}

bool ZlibBlockWriter::Flush() {
  if (m_error != 0) return Fail(m_error);
  if (!m_needsTable) return true;
  try {
    return WriteHeld();
  } catch (const std::bad_alloc&) {
    return Fail(ENOMEM);
  }
}

bool ZlibBlockWriter::Finish() {
  if (!Flush()) return false;
  if (!m_needsTable) return true;
  m_needsTable = false;
  try {
    const std::vector<std::byte> table = TableBytes(m_list, m_fileEnd, m_order);
    return PutBytes(table) && (m_file.Flush() == 0 || Fail(m_file.Error()));
  } catch (const std::bad_alloc&) {
    return Fail(ENOMEM);
  }
}

std::size_t ZlibBlockWriter::Footprint() const {
  const std::size_t blocks = (m_block ? 1 : 0) + (m_spare ? 1 : 0) + (m_jobs ? m_jobs->Size() : 0);
  return blocks * (kPlainBlockSize + kBlockHeadSize + DeflateRoom(kPlainBlockSize));
}
