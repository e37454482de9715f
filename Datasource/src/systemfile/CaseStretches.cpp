#include "systemfile/CaseStretches.h"

#include <algorithm>
#include <cerrno>

#include "systemfile/GroupReader.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr std::size_t kPiece = QUAV_FileStream::kBufferSize;
// Shorter stretches are read several at a time, in order: a read of each would take longer.
constexpr long kLeastPreload = 64L * 1024;
// A stretch may be longer or shorter than the one before by this part of it.
constexpr long kPartOfSlack = 32;

}  // namespace

// ---- CaseStretch ----

void CaseStretch::Begin(const CasePlace& place, long begin, std::span<const std::byte> bytes) {
  m_place = place;
  m_begin = begin;
  m_size = bytes.size();
  if (m_memory.size() < m_size) m_memory.resize(m_size);
  std::copy_n(bytes.data(), m_size, m_memory.data());
  m_isEnd = false;
  m_error = 0;
}

void CaseStretch::Begin(const QUAV_File& file, long begin, std::size_t size) {
  m_begin = begin;
  m_size = 0;
  if (m_memory.size() < size) m_memory.resize(size);
  const QUAV_File::Transfer read = file.ReadAt(m_memory.data(), size, begin);
  m_size = read.bytes;
  SetEnd(read.bytes < size, read.error);
}

bool CaseStretch::Load(QUAV_FileStream& stream) {
  if (m_isEnd) return false;
  const long end = m_begin + static_cast<long>(m_size);
  if (stream.Tell() != end) stream.Seek(end, kSeekFromStart);
  if (m_memory.size() < m_size + kPiece) m_memory.resize(std::max(m_size + kPiece, m_memory.size() * 3 / 2));
  const std::size_t read = stream.Read(m_memory.data() + m_size, kPiece);
  m_size += read;
  if (read < kPiece) SetEnd(true, stream.Good() ? 0 : stream.Error());
  return read != 0;
}

void CaseStretch::SetEnd(bool isEnd, int error) {
  m_isEnd = isEnd;
  m_error = error;
}

// ---- StretchStream ----

void StretchStream::Enter(CaseStretch& stretch, long length) {
  m_stretch = &stretch;
  m_next = 0;
  m_length = length;
}

int StretchStream::Seek(long offset, SeekDirection direction) {
  const bool isHere = m_stretch != nullptr && direction == kSeekFromStart && offset >= m_stretch->FirstByte() &&
                      offset - m_stretch->FirstByte() <= std::ssize(m_stretch->Bytes());
  if (!isHere) {
    errno = EINVAL;
    return -1;
  }
  m_next = static_cast<std::size_t>(offset - m_stretch->FirstByte());
  return 0;
}

long StretchStream::Tell() const {
  return m_stretch == nullptr ? 0 : m_stretch->FirstByte() + static_cast<long>(m_next);
}

StretchStream::Window StretchStream::Peek(std::size_t wanted) {
  while (m_stretch->Bytes().size() - m_next < wanted && m_more != nullptr && m_stretch->Load(*m_more)) {
  }
  const std::span<const std::byte> left = m_stretch->Bytes().subspan(m_next);
  // Whoever meets the end takes the reason from here.
  if (left.size() < wanted && m_stretch->Error() != 0) errno = m_stretch->Error();
  return {left.data(), left.data() + left.size()};
}

int StretchStream::Error() const { return m_stretch == nullptr ? 0 : m_stretch->Error(); }

// ---- CaseStretches ----

CaseStretches::CaseStretches(QUAV_FileStream& stream, const QUAV_File* file, long row0, int cellsPerCase,
                             const CasePlace& place)
    : m_loading(&stream),
      m_file(file),
      m_row0(row0),
      m_cells(cellsPerCase),
      m_length(stream.Length()),
      m_place(place) {}

void CaseStretches::Preload(long index, CaseStretch& stretch) {
  const Expected expected = [&] {
    const std::lock_guard lock(m_lock);
    return m_expected;
  }();
  stretch.Begin({}, 0, {});
  if (m_file == nullptr || expected.size < kLeastPreload) return;
  const long before = index - expected.index;  // stretches that are not found yet
  const long slack = expected.size / kPartOfSlack;
  const long begin = expected.begin + before * (expected.size - slack);
  const long end = std::min(expected.begin + (before + 1) * (expected.size + slack), m_length);
  if (begin < end) stretch.Begin(*m_file, begin, static_cast<std::size_t>(end - begin));
}

// Returns whether the stretch has bytes from the group on.
bool CaseStretches::IsPreloaded(const CaseStretch& stretch, long group) const {
  const long end = stretch.FirstByte() + std::ssize(stretch.Bytes());
  return !m_isEnd && stretch.FirstByte() <= group && group < end;
}

bool CaseStretches::Next(int cases, CaseStretch& stretch) {
  const int code = static_cast<int>(m_place.position % kCodesPerGroup);
  const long first = m_row0 + m_place.position - code;
  if (IsPreloaded(stretch, first)) {
    stretch.SetPlace(m_place);
  } else {
    stretch.Begin(m_place, first, m_loaded);
    stretch.SetEnd(m_isEnd, m_error);
  }
  m_loading.Enter(stretch, m_length);
  GroupReader reader(m_loading, m_cells);
  long long found = 0;
  try {
    reader.Seek(first, code);
    reader.SkipCases(cases, found);
  } catch (const SystemFileException&) {
    // Deliberate: the thread that decodes the stretch reports the fault, after its whole cases.
    return false;
  }
  if (found < cases) return false;
  Advance(stretch, found, reader.GroupStart(), reader.CodeIndex());
  return true;
}

// Makes the case the next one that comes after those of the stretch, in this group.
void CaseStretches::Advance(const CaseStretch& stretch, long long cases, long group, int code) {
  const long size = group - m_row0 - m_place.position;
  m_place = {m_place.row + cases, group - m_row0 + code};
  m_isEnd = stretch.IsEnd();
  m_error = stretch.Error();
  const auto rest = stretch.Bytes().subspan(static_cast<std::size_t>(group - stretch.FirstByte()));
  m_loaded.assign(rest.begin(), rest.end());
  const std::lock_guard lock(m_lock);
  m_expected = {m_expected.index + 1, group, size};
}
