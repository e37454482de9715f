#include "Platform/stream/zcmpsFilestr.h"

#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/stream/StreamBeneath.h"
#include "Platform/stream/ZlibBlockReader.h"
#include "Platform/stream/ZlibBlockWriter.h"

namespace {

constexpr unsigned int kMostThreads = 16;

static_assert(zcmpsFilestr::kBlockSize == kPlainBlockSize);

// Choice: if the last block is this long, an append starts a new one; otherwise it writes that block again, together
// with the new bytes. So many small appends neither leave many small blocks nor write the same bytes again and again.
constexpr std::int64_t kLongEnough = 64L * 1024;

// The processor cores that this process may use: in a container they are fewer than the machine has.
unsigned int Cores() {
  cpu_set_t cores;
  return sched_getaffinity(0, sizeof(cores), &cores) == 0 ? static_cast<unsigned int>(CPU_COUNT(&cores))
                                                          : std::thread::hardware_concurrency();
}

// One thread for each core; none with a single core, where threads would only slow each other down.
int ThreadCount() {
  const unsigned int cores = Cores();
  return cores < 2 ? 0 : static_cast<int>(std::min(cores, kMostThreads));
}

ByteOrder Order(bool reversed) { return reversed ? ByteOrder::reversed : ByteOrder::native; }

}  // namespace

struct zcmpsFilestr::Data {
  explicit Data(const QUAV_FileStream& stream) : file(stream) {}

  StreamBeneath file;
  std::int64_t row0 = 0;
  ByteOrder order = ByteOrder::native;
  bool packsOnThreads = false;
  int threadsAhead = ThreadCount();
  int error = 0;                                 // the first failure outside file, reader and writer
  std::shared_ptr<const ZlibBlocksFound> found;  // null when not reading
  std::unique_ptr<ZlibBlockReader> reader;       // null when not reading
  std::unique_ptr<ZlibBlockWriter> writer;       // null when not writing

  bool Fail(int reason) {
    if (error == 0) error = reason;
    errno = reason;
    return false;
  }
  int Error() const;
  void Clear();
  void MakeReader();
  bool OpenForWriting();
  void Write(ZlibBlockList list, std::int64_t fileEnd, bool isNew);
  bool Append(std::int64_t position);
  int Seek(std::int64_t position);
  int Close();
  int Open(const ExtNameStr& name, const char* mode);
  std::int64_t Position() const;
};

// ---- Failures ----

int zcmpsFilestr::Data::Error() const {
  if (error != 0) return error;
  if (reader && reader->Error() != 0) return reader->Error();
  if (writer && writer->Error() != 0) return writer->Error();
  return file.Error();
}

void zcmpsFilestr::Data::Clear() {
  error = 0;
  if (reader) reader->Clear();
  file.Clear();
}

// ---- Reading, writing, appending ----

void zcmpsFilestr::Data::MakeReader() {
  reader = std::make_unique<ZlibBlockReader>(file.GetFile(), found, order, threadsAhead);
}

// Opens the file again, because it may be open for reading only. That closes it first, so the stream no longer reads.
bool zcmpsFilestr::Data::OpenForWriting() {
  reader.reset();
  found.reset();
  return file.Open(file.GetNameStr(), "rb+") != 0 || Fail(errno);
}

void zcmpsFilestr::Data::Write(ZlibBlockList list, std::int64_t fileEnd, bool isNew) {
  const int threads = packsOnThreads ? ThreadCount() : 0;
  writer = std::make_unique<ZlibBlockWriter>(file, order, std::move(list), fileEnd, isNew, threads);
}

bool zcmpsFilestr::Data::Append(std::int64_t position) {
  if (!found || position < 0 || position > found->list.length) return Fail(EINVAL);
  ZlibBlockList list = found->list;
  const std::int64_t fileEnd = found->fileEnd;
  std::vector<std::byte> again;
  if (position > 0) {
    const std::int64_t last = list.blocks[list.Find(position - 1)].position;
    if (position - last < kLongEnough) {
      again.resize(static_cast<std::size_t>(position - last));
      reader->Seek(last);
      if (reader->Read(again.data(), again.size()) != again.size()) return Fail(errno);
      position = last;
    }
  }
  list.Cut(position);
  if (!OpenForWriting()) return false;
  Write(std::move(list), fileEnd, false);
  if (!again.empty()) writer->Preload(again);
  return true;
}

bool zcmpsFilestr::setRow0Pos(long position) {
  Data& d = *m_data;
  d.row0 = position;
  d.order = ByteOrder::native;
  if (!d.OpenForWriting()) return false;
  d.Write({}, position, true);
  return true;
}

void zcmpsFilestr::setMultiThread(int wanted) { m_data->packsOnThreads = wanted != 0; }

bool zcmpsFilestr::readFilePosInfo(long row0, bool reversed) {
  Data& d = *m_data;
  d.row0 = row0;
  d.order = Order(reversed);
  d.writer.reset();
  d.reader.reset();
  d.found.reset();
  if (!d.file.IsOpen() && !d.file.Open(d.file.GetNameStr(), "rb")) return d.Fail(errno);
  auto found = std::make_shared<ZlibBlocksFound>(FindZlibBlocks(*d.file.GetFile(), row0, d.order));
  if (found->error != 0) return d.Fail(found->error);
  d.found = std::move(found);
  d.MakeReader();
  return true;
}

bool zcmpsFilestr::setFileToAppend(long position, bool reversed) {
  m_data->order = Order(reversed);
  return m_data->Append(position - m_data->row0);
}

bool zcmpsFilestr::IsWhole() const { return !m_data->found || m_data->found->isWhole; }

long zcmpsFilestr::NextBlock(long position) const {
  const Data& d = *m_data;
  if (!d.found) return position;
  const std::vector<ZlibBlock>& blocks = d.found->list.blocks;
  const auto next = std::ranges::lower_bound(blocks, position - d.row0, {}, &ZlibBlock::position);
  return d.row0 + (next != blocks.end() ? next->position : d.found->list.length);
}

void zcmpsFilestr::SetReadAhead(bool wanted) { SetReadAheadThreads(wanted ? ThreadCount() : 0); }

void zcmpsFilestr::SetReadAheadThreads(int threads) {
  Data& d = *m_data;
  threads = std::clamp(threads, 0, static_cast<int>(kMostThreads));
  if (std::exchange(d.threadsAhead, threads) == threads || !d.reader) return;
  const std::int64_t position = d.reader->Position();
  d.MakeReader();
  d.reader->Seek(position);
}

// ---- Making and closing ----

zcmpsFilestr::zcmpsFilestr(const QUAV_FileStream& stream) : m_data(std::make_unique<Data>(stream)) {}

// The base holds nothing: everything is in m_data. NOLINTNEXTLINE(bugprone-copy-constructor-init)
zcmpsFilestr::zcmpsFilestr(const zcmpsFilestr& other)
    : QUAV_FileStream(), m_data(std::make_unique<Data>(other.m_data->file)) {
  const Data& from = *other.m_data;
  m_data->row0 = from.row0;
  m_data->order = from.order;
  m_data->threadsAhead = from.threadsAhead;
  if (!from.reader) return;
  m_data->found = from.found;
  m_data->MakeReader();
  m_data->reader->Seek(from.reader->Position());
}

zcmpsFilestr::~zcmpsFilestr() { m_data->Close(); }

int zcmpsFilestr::Data::Close() {
  const bool isFinished = !writer || writer->Finish();
  const int reason = writer ? writer->Error() : 0;
  // The threads must end before the file that they read.
  reader.reset();
  writer.reset();
  found.reset();
  if (!isFinished) Fail(reason);
  const int closing = file.Close();
  if (isFinished) return closing;
  errno = reason;
  return -1;
}

int zcmpsFilestr::Data::Open(const ExtNameStr& name, const char* mode) {
  Close();
  error = 0;
  return file.Open(name, mode);
}

int zcmpsFilestr::Open(const char* name, const char* mode) { return m_data->Open(ExtNameStr(name), mode); }

int zcmpsFilestr::Open(const ExtNameStr& name, const char* mode) { return m_data->Open(name, mode); }

int zcmpsFilestr::Open(const char* name, const char* /*password*/, const char* mode) {
  return m_data->Open(ExtNameStr(name), mode);
}

int zcmpsFilestr::Open(const ExtNameStr& name, const ExtNameStr& /*password*/, const char* mode) {
  return m_data->Open(name, mode);
}

int zcmpsFilestr::Close() { return m_data->Close(); }

int zcmpsFilestr::Close() const { return m_data->Close(); }

// ---- The stream ----

std::int64_t zcmpsFilestr::Data::Position() const {
  if (reader) return row0 + reader->Position();
  return writer ? row0 + writer->Position() : row0;
}

void zcmpsFilestr::Clear() { m_data->Clear(); }

bool zcmpsFilestr::Good() { return m_data->Error() == 0; }

int zcmpsFilestr::Error() const { return m_data->Error(); }

unsigned long zcmpsFilestr::Read(void* buffer, unsigned long count) {
  if (m_data->reader) return m_data->reader->Read(static_cast<std::byte*>(buffer), count);
  m_data->Fail(EBADF);
  return 0;
}

unsigned long zcmpsFilestr::Write(const void* buffer, unsigned long count) {
  if (m_data->writer) return m_data->writer->Write(static_cast<const std::byte*>(buffer), count);
  m_data->Fail(EBADF);
  return 0;
}

// `position` counts from row 0.
int zcmpsFilestr::Data::Seek(std::int64_t position) {
  if (reader && position >= 0) {
    reader->Seek(position);
    return 0;
  }
  if (writer && position == writer->Position()) return 0;
  errno = reader ? EINVAL : writer ? ESPIPE : EBADF;
  return -1;
}

int zcmpsFilestr::Seek(long offset, SeekDirection direction) {
  long from = 0;
  if (direction == kSeekFromPresent) from = Tell();
  if (direction == kSeekFromEnd) from = Length();
  long target = 0;
  if (!__builtin_add_overflow(from, offset, &target) && !__builtin_sub_overflow(target, m_data->row0, &target))
    return m_data->Seek(target);
  errno = EINVAL;
  return -1;
}

long zcmpsFilestr::Tell() const { return m_data->Position(); }

int zcmpsFilestr::EndOfFile() { return m_data->reader && m_data->reader->MetEnd() ? 1 : 0; }

void zcmpsFilestr::ClearAndReset() { m_data->Clear(); }

ExtNameStr zcmpsFilestr::GetNameStr() const { return m_data->file.GetNameStr(); }

int zcmpsFilestr::Flush() {
  if (!m_data->writer || m_data->writer->Flush()) return 0;
  return -1;
}

const char* zcmpsFilestr::Name() const { return m_data->file.Name(); }

unsigned long zcmpsFilestr::Footprint() const {
  unsigned long bytes = m_data->file.Footprint();
  if (m_data->reader) bytes += m_data->reader->Footprint();
  if (m_data->writer) bytes += m_data->writer->Footprint();
  return bytes;
}

zcmpsFilestr::Window zcmpsFilestr::Peek(std::size_t wanted) {
  if (m_data->reader) return m_data->reader->Peek(wanted);
  m_data->Fail(EBADF);
  return {};
}

void zcmpsFilestr::Skip(std::size_t count) {
  if (m_data->reader) m_data->reader->Skip(count);
}

long zcmpsFilestr::Length() {
  if (m_data->reader) return m_data->row0 + m_data->reader->Length();
  return m_data->Position();
}

bool zcmpsFilestr::IsOpen() const { return m_data->file.IsOpen(); }
