#include "systemfile/CaseStretches.h"

#include <algorithm>
#include <cerrno>

#include "systemfile/GroupReader.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr std::size_t kPiece = QUAV_FileStream::kBufferSize;

}  // namespace

// ---- CaseStretch ----

void CaseStretch::Begin(const CasePlace& place, long begin, std::span<const std::byte> bytes) {
  m_place = place;
  m_begin = begin;
  m_size = bytes.size();
  if (m_memory.size() < m_size) m_memory.resize(m_size);
  std::ranges::copy(bytes, m_memory.begin());
  m_isEnd = false;
  m_error = 0;
}

bool CaseStretch::Load(QUAV_FileStream& stream) {
  if (m_isEnd) return false;
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

CaseStretches::CaseStretches(QUAV_FileStream& stream, long row0, int cellsPerCase, const CasePlace& place)
    : m_stream(stream),
      m_loading(&stream),
      m_row0(row0),
      m_cells(cellsPerCase),
      m_length(stream.Length()),
      m_place(place) {}

bool CaseStretches::Next(int cases, CaseStretch& stretch) {
  const int code = static_cast<int>(m_place.position % kCodesPerGroup);
  stretch.Begin(m_place, m_row0 + m_place.position - code, m_loaded);
  stretch.SetEnd(m_isEnd, m_error);
  m_loading.Enter(stretch, m_length);
  GroupReader reader(m_loading, m_cells);
  long long found = 0;
  try {
    reader.Seek(stretch.FirstByte(), code);
    reader.SkipCases(cases, found);
  } catch (const SystemFileException&) {
    // Deliberate: the thread that decodes the stretch reports the fault, after its whole cases.
    return false;
  }
  if (found < cases) return false;
  const long group = reader.GroupStart();
  m_place = {m_place.row + found, group - m_row0 + reader.CodeIndex()};
  const auto rest = stretch.Bytes().subspan(static_cast<std::size_t>(group - stretch.FirstByte()));
  m_loaded.assign(rest.begin(), rest.end());
  m_isEnd = stretch.IsEnd();
  m_error = stretch.Error();
  return true;
}
