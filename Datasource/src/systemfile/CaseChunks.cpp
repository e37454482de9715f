#include "systemfile/CaseChunks.h"

#include <algorithm>

#include "casecodes/GroupDecoder.h"

void CaseChunk::Load(const ChunkedCases& cases, long index) {
  m_begin = cases.start.group + index * static_cast<long>(cases.chunkSize);
  // The last group of the chunk may be as long as this after it.
  const std::size_t most = cases.chunkSize + kMaxGroupSize - kCodesPerGroup;
  if (m_bytes.size() < most + kMaxGroupSize) m_bytes.resize(most + kMaxGroupSize);
  const auto left = static_cast<std::size_t>(std::max(cases.length - m_begin, 0L));
  const QUAV_File::Transfer read = cases.file->ReadAt(m_bytes.data(), std::min(most, left), m_begin);
  m_size = read.bytes;
  m_error = read.error;
  m_groups.Begin(std::span(m_bytes).first(m_size), cases.chunkSize);
}

ChunkStart CaseChunk::Join(const ChunkedCases& cases, const ChunkStart& start) {
  m_groups.Enter(static_cast<std::size_t>(start.group - m_begin));
  m_firstCell = start.cell;
  ChunkStart next = {m_begin + static_cast<long>(m_groups.End()), EndCell(), start.lastCase};
  const long long row = std::max(next.cell, 0LL) / cases.cellsPerCase;
  const long long cell = row * cases.cellsPerCase;
  // The first case is the last one until another begins.
  if (row == 0 || cell < m_firstCell) return next;
  next.lastCase = {cases.firstRow + row, next.group - cases.row0};
  if (cell != next.cell) {
    const FoundGroups::Place place = m_groups.PlaceOf(static_cast<int>(cell - m_firstCell));
    next.lastCase.position = m_begin + (place.group - m_bytes.data()) - cases.row0 + place.code;
  }
  return next;
}

void CaseChunk::MakeTail(const ChunkedCases& cases, const ChunkStart& end, CaseStretch& tail) const {
  const long code = end.lastCase.position % kCodesPerGroup;
  const long begin = cases.row0 + end.lastCase.position - code;
  const long readEnd = m_begin + static_cast<long>(m_size);
  std::vector<std::byte> bytes(static_cast<std::size_t>(std::max(readEnd - begin, 0L)));
  int error = m_error;
  if (begin < m_begin) {
    // Chunks before this one have gone.
    const auto before = static_cast<std::size_t>(m_begin - begin);
    const QUAV_File::Transfer read = cases.file->ReadAt(bytes.data(), before, begin);
    if (read.bytes == before) {
      std::copy_n(m_bytes.begin(), m_size, bytes.begin() + m_begin - begin);
    } else {
      bytes.resize(read.bytes);
      error = read.error;
    }
  } else if (begin < readEnd) {
    std::copy(m_bytes.begin() + (begin - m_begin), m_bytes.begin() + static_cast<long>(m_size), bytes.begin());
  }
  tail.Begin(end.lastCase, begin, bytes);
  tail.SetEnd(true, error);
}
