// Writes cases as groups of case codes. CompressedSystemFile.h describes groups.
//
// The groups are encoded into memory of the writer (m_encoded), which goes to the stream when it is full. The cells of a
// group that several cases share are kept (m_open) until the group is full.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_GROUPWRITER_H
#define DATASRC_SRC_SYSTEMFILE_GROUPWRITER_H

#include <algorithm>
#include <cstddef>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "casecodes/GroupEncoder.h"
#include "core/LoadAhead.h"
#include "datasrc/Obs.h"
#include "systemfile/BegunGroup.h"

class GroupWriter {
 public:
  // The stream is not owned. Writing starts at its position, which is the first byte of `begun` if such a group is
  // given: its part in the file is written again, together with the first cells.
  GroupWriter(QUAV_FileStream& stream, int cellsPerCase, const BegunGroup& begun = {});

  // Both throw SystemFileException 1202 when the stream does not take all bytes.
  void Write(const OBS* cells) {
    LoadAhead(cells, static_cast<std::size_t>(m_cells) * sizeof(OBS), kBytesAhead);
    for (int cell = m_begun.codes == 0 ? 0 : ContinueBegun(cells); cell < m_cells; cell += kCellsAtOnce)
      TakeGroups(m_encode(cells + cell, std::min(m_cells - cell, kCellsAtOnce), m_open, m_next));
  }
  // Fills up the current group with codes 0, and gives all groups to the stream.
  void Flush();

  // The first byte in the file of the group that gets the next cell, and the index of that cell's code in it.
  long GroupStart() const { return m_start + (m_next - m_encoded.get()); }
  int CodeIndex() const { return m_begun.codes + m_open.count; }

 private:
  int ContinueBegun(const OBS* cells);
  void EndGroup();
  std::byte* EncodeOpen(std::byte* group) const;
  // Keeps the groups that were encoded up to there.
  void TakeGroups(std::byte* end) {
    m_next = end;
    if (m_next - m_encoded.get() > kFull) HandOver();
  }
  void HandOver();

  static constexpr std::size_t kRoom = 16UL * 1024;
  static constexpr int kCellsAtOnce = 512;
  // m_encoded always has room for the groups of so many cells.
  static constexpr std::ptrdiff_t kFull = kRoom - kCellsAtOnce / kCodesPerGroup * kMaxGroupSize;
  // Many callers have their cases one after another in memory. The processor by itself would load the next ones too late.
  static constexpr std::size_t kBytesAhead = 8192;

  QUAV_FileStream& m_stream;
  int m_cells;                             // per case
  std::unique_ptr<std::byte[]> m_encoded;  // whole groups
  GroupEncoder* m_encode;                  // the version that this process uses
  std::byte* m_next;                       // the end of these groups
  long m_start;                            // their place in the file

  // The current group: first what the file has of it, then the cells that wait.
  BegunGroup m_begun;
  OpenGroup m_open;
};

#endif
