// Writes cases as groups of case codes. CompressedSystemFile.h describes groups.
//
// Whole groups of a case are encoded at once, into memory of the writer (m_encoded), which goes to the stream when it
// is full. The cells of a group that several cases share are kept (m_waiting) until the group is full.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_GROUPWRITER_H
#define DATASRC_SRC_SYSTEMFILE_GROUPWRITER_H

#include <array>
#include <cstddef>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"
#include "systemfile/BegunGroup.h"

class GroupWriter {
 public:
  // The stream is not owned. Writing starts at its position, which is the first byte of `begun` if such a group is
  // given: its part in the file is written again, together with the first cells.
  GroupWriter(QUAV_FileStream& stream, int cellsPerCase, const BegunGroup& begun = {});

  // Both throw SystemFileException 1202 when the stream does not take all bytes.
  void Write(const OBS* cells);
  // Fills up the current group with codes 0, and gives all groups to the stream.
  void Flush();

  // The first byte in the file of the group that gets the next cell, and the index of that cell's code in it.
  long GroupStart() const { return m_start + (m_next - m_encoded.get()); }
  int CodeIndex() const { return m_codes; }

 private:
  int BeginCase(const OBS* cells);
  void EndCase(const OBS* end, int count);
  void EndGroup();
  std::byte* EncodeWaiting(std::byte* group);
  void TakeGroups(std::byte* end);
  void HandOver();

  static constexpr std::size_t kRoom = 16UL * 1024;
  static constexpr int kGroupsAtOnce = 64;  // m_encoded always has room for so many

  QUAV_FileStream& m_stream;
  int m_cells;                             // per case
  std::unique_ptr<std::byte[]> m_encoded;  // whole groups
  std::byte* m_next;                       // the end of these groups
  long m_start;                            // their place in the file

  // The current group: first what the file has of it, then the cells that wait, each at the index of its code.
  int m_codes = 0;  // both together; 0: there is no current group
  BegunGroup m_begun;
  // The cells that wait begin at kCodesPerGroup. Before and after the group is room for cells that are copied with them.
  std::array<OBS, 3 * kCodesPerGroup> m_waiting;
};

#endif
