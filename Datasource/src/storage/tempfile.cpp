#include "datasrc/QUAV_TempFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Assert.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/tempdirs/QuavTempDirs.h"
#include "datasrc/Settings.h"
#include "storage/StripeStream.h"

namespace {

constexpr int kNoTempFile = 1001;
// Read and write, bytes, temporary, deleted on close.
constexpr char kStripeMode[] = "w+bTD";

// Adds, but stops at the smallest and the largest position. There a read gets nothing, and a write fails at once or
// when it is flushed.
long Sum(long from, long offset) {
  long sum = 0;
  if (!__builtin_add_overflow(from, offset, &sum)) return sum;
  return offset < 0 ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
}

}  // namespace

struct QUAV_TempFile::Data {
  long highest = 0;  // the position after all that was written
  std::vector<std::unique_ptr<QUAV_FileStream>> streams;
  std::string names;  // empty: not built yet
  bool metEnd = false;
  bool hasWindows = true;
  unsigned long mostAtOnce = ~0UL;
  bool isRewritable = true;
  int lostWrite = 0;  // the errno of a failed write that cannot be repeated; 0: none

  // A copy of some bytes, for streams without a window of their own, and for a window that would end too early.
  std::vector<std::byte> copied;
  long copiedFrom = 0;
  std::size_t copiedSize = 0;  // 0: no bytes are held

  // A part of one of the files.
  struct Piece {
    QUAV_FileStream& stream;
    long offset;
    unsigned long size;  // up to the end of the stripe; for a single file, what it takes at once
  };
  Piece PieceAt(long position) const;
  // Calls `transfer(stream, bytes done, size)` for each file's part of a range. `transfer` returns the bytes that it
  // transferred. Stops when that, or the seek before it, comes up short. Returns the sum of the bytes.
  template <class Transfer>
  unsigned long Walk(long position, unsigned long count, Transfer transfer);
  unsigned long ReadAt(long position, std::byte* to, unsigned long count);

  // Runs the operation on every stream, and returns whether any of them returned true.
  template <class Operation>
  bool Any(Operation operation) {
    bool any = false;
    for (const auto& stream : streams) any = operation(*stream) || any;
    return any;
  }

  Window CopiedWindow(long position, std::size_t wanted);
};

QUAV_TempFile::Data::Piece QUAV_TempFile::Data::PieceAt(long position) const {
  const auto n = static_cast<long>(streams.size());
  if (n == 1) return {*streams.front(), position, mostAtOnce};
  const long stripe = position / kStripeSize;
  const long offset = position % kStripeSize;
  return {*streams[static_cast<std::size_t>(stripe % n)], stripe / n * kStripeSize + offset,
          static_cast<unsigned long>(kStripeSize - offset)};
}

template <class Transfer>
unsigned long QUAV_TempFile::Data::Walk(long position, unsigned long count, Transfer transfer) {
  if (position < 0) return 0;
  const auto room = static_cast<unsigned long>(std::numeric_limits<long>::max() - position);
  unsigned long done = 0;
  while (done < count && done <= room) {
    const Piece piece = PieceAt(position + static_cast<long>(done));
    const unsigned long wanted = std::min(piece.size, count - done);
    if (piece.stream.Seek(piece.offset, kSeekFromStart) != 0) break;
    const unsigned long got = transfer(piece.stream, done, wanted);
    done += got;
    if (got < wanted) break;
  }
  return done;
}

unsigned long QUAV_TempFile::Data::ReadAt(long position, std::byte* to, unsigned long count) {
  return Walk(position, count, [to](QUAV_FileStream& stream, unsigned long done, unsigned long size) {
    return stream.Read(to + done, size);
  });
}

// Uses up the held bytes first, so that a file that is read in sequence is only read forward.
QUAV_FileStream::Window QUAV_TempFile::Data::CopiedWindow(long position, std::size_t wanted) {
  std::size_t held = 0;
  if (copiedFrom <= position && position - copiedFrom < static_cast<long>(copiedSize))
    held = copiedSize - static_cast<std::size_t>(position - copiedFrom);
  if (held < wanted || held == 0) {
    copied.resize(kMaxPeek);
    std::copy_n(copied.begin() + static_cast<std::ptrdiff_t>(copiedSize - held), held, copied.begin());
    const std::size_t more = hasWindows ? wanted - held : kMaxPeek - held;
    copiedSize = held + ReadAt(position + static_cast<long>(held), copied.data() + held, more);
    copiedFrom = position;
  }
  const std::byte* const begin = copied.data() + (position - copiedFrom);
  return {begin, copied.data() + copiedSize};
}

QUAV_TempFile::QUAV_TempFile(const char* prefix) { MakeStripes(prefix, std::nullopt); }

QUAV_TempFile::QUAV_TempFile(const char* prefix, bool encrypt) { MakeStripes(prefix, encrypt); }

void QUAV_TempFile::MakeStripes(const char* prefix, std::optional<bool> encrypt) {
  const std::size_t n = QuavTempDirs::Instance().Size();
  QUAV_ASSERT(n != 0, "n");
  const StripeKind kind = StripeKindOf(prefix, getzcompression_());
  m_kind = kind;
  m_data = std::make_unique<Data>();
  m_data->hasWindows = StripeHasWindow(kind);
  m_data->mostAtOnce = MostAtOnce(kind);
  m_data->isRewritable = StripeIsRewritable(kind);
  while (m_data->streams.size() < n) {
    std::array<char, kTempNameRoom> name;
    FormTempName(prefix, name.data());
    m_data->streams.push_back(MakeStripe(kind, encrypt));
    if (m_data->streams.back()->Open(name.data(), kStripeMode) == 0)
      ThrowError::StringSys(kDatasrcCatalog, kNoTempFile, name.data());
  }
}

QUAV_TempFile::QUAV_TempFile(const QUAV_TempFile& other)
    : QUAV_FileStream(other), m_kind(other.m_kind), m_data(std::make_unique<Data>()) {
  m_data->highest = other.m_data->highest;
  m_data->hasWindows = other.m_data->hasWindows;
  m_data->mostAtOnce = other.m_data->mostAtOnce;
  m_data->isRewritable = other.m_data->isRewritable;
  m_data->lostWrite = other.m_data->lostWrite;
  for (const auto& stream : other.m_data->streams)
    m_data->streams.push_back(CopyStripe(static_cast<StripeKind>(m_kind), *stream));
}

QUAV_TempFile::~QUAV_TempFile() = default;

void QUAV_TempFile::Clear() {
  for (const auto& stream : m_data->streams) stream->Clear();
}

bool QUAV_TempFile::Good() {
  return !m_data->Any([](QUAV_FileStream& stream) { return !stream.Good(); });
}

unsigned long QUAV_TempFile::Read(void* buffer, unsigned long count) {
  const unsigned long total = m_data->ReadAt(Tell(), static_cast<std::byte*>(buffer), count);
  SetPosition(Sum(Tell(), static_cast<long>(total)));
  if (total < count) m_data->metEnd = true;
  return total;
}

// A failed write may have reached some of the files. Files that are written only in sequence keep its bytes: no later
// write could go to its place.
unsigned long QUAV_TempFile::Write(const void* buffer, unsigned long count) {
  if (m_data->lostWrite != 0) {
    errno = m_data->lostWrite;
    return 0;
  }
  const auto* const from = static_cast<const std::byte*>(buffer);
  const auto transfer = [from](QUAV_FileStream& stream, unsigned long done, unsigned long size) {
    return stream.Write(from + done, size);
  };
  m_data->copiedSize = 0;
  const unsigned long total = m_data->Walk(Tell(), count, transfer);
  if (total < count && !m_data->isRewritable && !Good()) m_data->lostWrite = errno;
  SetPosition(Sum(Tell(), static_cast<long>(total)));
  m_data->highest = std::max(m_data->highest, Tell());
  return total;
}

int QUAV_TempFile::Seek(long offset, SeekDirection direction) {
  m_data->metEnd = false;
  long from = 0;
  if (direction == kSeekFromPresent) from = Tell();
  if (direction == kSeekFromEnd) from = m_data->highest;
  SetPosition(Sum(from, offset));
  return 0;
}

int QUAV_TempFile::EndOfFile() { return m_data->metEnd ? 1 : 0; }

int QUAV_TempFile::Close() {
  return m_data->Any([](QUAV_FileStream& stream) { return stream.Close() != 0; }) ? 1 : 0;
}

int QUAV_TempFile::Flush() {
  return m_data->Any([](QUAV_FileStream& stream) { return stream.Flush() != 0; }) ? 1 : 0;
}

const char* QUAV_TempFile::Name() const {
  if (m_data->names.empty()) {
    for (const auto& stream : m_data->streams) {
      if (!m_data->names.empty()) m_data->names += ',';
      m_data->names += stream->Name();
    }
  }
  return m_data->names.c_str();
}

unsigned long QUAV_TempFile::Footprint() const { return m_data->streams.front()->Footprint() * m_data->streams.size(); }

QUAV_FileStream::Window QUAV_TempFile::Peek(std::size_t wanted) {
  QUAV_ASSERT(wanted <= kMaxPeek, "wanted <= kMaxPeek");
  const long position = Tell();
  if (position < 0) return {};
  const Data::Piece piece = m_data->PieceAt(position);
  Window window;
  if (!m_data->hasWindows || wanted > piece.size) {
    window = m_data->CopiedWindow(position, wanted);
  } else if (piece.stream.Seek(piece.offset, kSeekFromStart) == 0) {
    window = piece.stream.Peek(wanted);
    if (window.Size() > piece.size) window.end = window.begin + piece.size;
  }
  if (window.Size() < wanted) m_data->metEnd = true;
  return window;
}

void QUAV_TempFile::Skip(std::size_t count) { SetPosition(Tell() + static_cast<long>(count)); }

long QUAV_TempFile::Length() { return m_data->highest; }

bool QUAV_TempFile::IsOpen() const {
  return !m_data->Any([](const QUAV_FileStream& stream) { return !stream.IsOpen(); });
}

int QUAV_TempFile::Error() const {
  for (const auto& stream : m_data->streams)
    if (const int error = stream->Error(); error != 0) return error;
  return 0;
}
