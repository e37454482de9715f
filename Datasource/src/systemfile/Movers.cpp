#include "systemfile/Movers.h"

#include <algorithm>
#include <cstdlib>

#include "Platform/text/QUAVMB.h"
#include "core/systemfileformat.h"

namespace {

constexpr std::size_t kCellsOfSegment = kSegmentSize / sizeof(OBS);

// Returns how many bytes of the text go into a segment.
std::size_t SegmentText(const char* text, std::size_t left) {
  if (left <= kSegmentMaxText) return left;
  if (text[kSegmentMaxText - 1] == ' ' || MB_CUR_MAX == 1) return kSegmentMaxText;
  std::size_t taken = 0;
  while (taken < kSegmentMaxText) {
    const int size = QUAVMBmblen_A(text + taken, static_cast<int>(left - taken));
    if (size < 0) break;
    const auto bytes = static_cast<std::size_t>(std::max(size, 1));  // a NUL is a character here
    if (taken + bytes > kSegmentMaxText) break;
    taken += bytes;
  }
  return taken;
}

}  // namespace

const OBS* SystemFileDataSource::SaveDS::OrdinaryMover::Move(const OBS* source) {
  std::copy_n(source, m_cells, m_destination);
  return source + m_cells;
}

SystemFileDataSource::SaveDS::EStringMover::EStringMover(unsigned long theWidth, OBS* theDestination)
    : destination(theDestination),
      width(theWidth),
      chunks(theWidth / kSegmentTextSize),
      tailCells(FileCells(theWidth) - chunks * kCellsOfSegment) {}

const OBS* SystemFileDataSource::SaveDS::EStringMover::Move(const OBS* source) {
  const char* text = CellText(source);
  std::size_t left = width;
  char* out = CellText(destination);
  for (unsigned long chunk = 0; chunk < chunks; ++chunk) {
    const std::size_t taken = SegmentText(text, left);
    char* const pad = std::copy_n(text, taken, out);
    text += taken;
    left -= taken;
    std::fill(pad, out + kSegmentMaxText, left != 0 ? '\0' : ' ');
    out[kSegmentMaxText] = ' ';
    out += kSegmentSize;
  }
  const std::size_t tail = tailCells * sizeof(OBS);
  const std::size_t taken = std::min(left, tail);
  std::fill(std::copy_n(text, taken, out), out + tail, ' ');
  return source + CellCount(static_cast<int>(width));
}
