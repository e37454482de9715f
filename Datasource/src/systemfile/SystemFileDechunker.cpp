#include "systemfile/SystemFileDechunker.h"

#include <algorithm>
#include <cstring>

#include "Platform/Assert.h"
#include "core/systemfileformat.h"

namespace {

// Returns the bytes of text in a whole segment: 255 less the NULs, at most three, that keep a character whole.
std::size_t SegmentText(const char* segment) {
  std::size_t length = kSegmentMaxText;
  while (length > kSegmentTextSize && segment[length - 1] == '\0') --length;
  return length;
}

}  // namespace

void SystemFileDechunker::SetEStringVars(const QUAV_DataSource& source, const std::vector<std::pair<int, int>>& list) {
  m_lines.clear();
  if (list.empty()) return;
  m_lines.reserve(list.size() + 1);
  const auto fileCell = [&](int column) { return static_cast<std::uint64_t>(source.ObsIndex(column)); };
  const std::uint64_t total = source.GetObsAreaSize();

  std::uint64_t logicalCell = 0;
  if (list.front().first != 0) {
    m_lines.push_back({0, 0, 0, 0, 0, fileCell(list.front().first)});
    logicalCell = m_lines.back().plainCells;
  }
  bool first = true;
  for (const auto& [column, width] : list) {
    const std::uint64_t cell = fileCell(column);
    if (!first) {
      Line& before = m_lines.back();
      before.plainCells = cell - before.fileNext;
      logicalCell += before.plainCells;
    }
    first = false;
    const auto bytes = static_cast<std::uint64_t>(width);
    const std::uint64_t fileNext = cell + FileCells(bytes);
    const std::uint64_t logicalNext = logicalCell + CellCount(width);
    m_lines.push_back({cell, bytes, logicalCell, fileNext, logicalNext, total - fileNext});
    logicalCell = logicalNext;
  }
}

void SystemFileDechunker::CopyLine(const Line& line, const OBS* in, OBS* out) {
  const char* segment = CellText(in + line.fileCell);
  char* text = CellText(out + line.logicalCell);
  std::size_t left = line.width;
  while (left > kSegmentMaxText) {
    const std::size_t length = SegmentText(segment);
    std::memcpy(text, segment, length);
    text += length;
    left -= length;
    segment += kSegmentSize;
  }
  std::memcpy(text, segment, left);
  text += left;
  const auto padlen = static_cast<std::size_t>(CellText(out + line.logicalNext) - text);
  QUAV_ASSERT(padlen < 8, "padlen < 8");
  std::memset(text, ' ', padlen);
  std::copy_n(in + line.fileNext, line.plainCells, out + line.logicalNext);
}
