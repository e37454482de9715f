// Reads cases from groups of case codes, in the stream's window. CompressedSystemFile.h describes groups.
//
// At any time the next cell is in one of three places, tried in this order:
//
//   m_ahead     cells of plain groups that were found, and mostly decoded, in one run ahead of the cases
//   the group   any other group, and every group of a file in reversed byte order, is decoded code by code: m_group is
//               its first byte, m_code the index of the next code
//   m_next      the groups that come after them in the window
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_GROUPREADER_H
#define DATASRC_SRC_SYSTEMFILE_GROUPREADER_H

#include <cstddef>
#include <span>

#include "Platform/stream/QUAV_FileStream.h"
#include "casecodes/CellsAhead.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"
#include "systemfile/BegunGroup.h"

class GroupReader {
 public:
  // The stream is not owned; its position is the start of a group.
  GroupReader(QUAV_FileStream& stream, int cellsPerCase) : m_stream(stream), m_cells(cellsPerCase) {}

  // See CompressedSystemFile::Read.
  int Read(OBS* cells, const bool* numericMap) {
    if (m_ahead.Decoded() < m_cells) return ReadOn(cells, numericMap);
    m_ahead.Take(cells, m_cells);
    return m_cells;
  }
  // Reads chosen cells of the next case: `chosen[k]` of it goes to columns[k][row]. Returns the same as Read. The file has
  // this machine's byte order.
  int ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int row);
  // Finds the next groups, and returns the number of cases that are whole in them: those that the next three operations
  // concern. The others are for ReadChosen.
  int FindCases();
  // Returns the position of the case that comes `cases` cases after the next.
  long GroupStart(int cases) const { return InFile(m_ahead.GroupOf(cases * m_cells)); }
  int CodeIndex(int cases) const { return m_ahead.CodeOf(cases * m_cells); }
  // Does what `count` calls of ReadChosen do.
  void TakeChosen(std::span<const std::size_t> chosen, OBS* const* columns, int row, int count);
  // Does the same as FindCases, but also stores the cases at `cells`, at most `most`. If there are any, UseCases must
  // follow with the same place, and does what so many calls of Read do; the others are for Read.
  int DecodeCases(OBS* cells, int most);
  void UseCases(const OBS* cells, int count) { m_ahead.Use(cells, m_stored, count * m_cells); }
  // Skips a case. Returns the cells per case; 0 when it meets a clean end of the data. After that, with AtEnd set, it
  // skips nothing and returns the cells per case.
  int SkipCase();
  // Skips to the first case whose first cell is in a group that starts at the byte `target` of the file or after it, or
  // to the end of the data. The next cell is the first of a case. Adds the number of skipped cases to `cases`, also when
  // it throws.
  void SkipTo(long target, long long& cases);
  // Skips `most` cases, or as many as there are before the end of the data. Adds their number to `cases`, also when it
  // throws.
  void SkipCases(long long most, long long& cases);
  // Loads the group at byte `groupStart` of the file, and moves to its code `index`. At the end of the data there is
  // no group, and AtEnd is set. Throws SystemFileException 1205 when the group ends before that code.
  void Seek(long groupStart, int index);
  // Returns whether the stream had no group left.
  bool AtEnd() const { return m_atEnd; }

  // The first byte in the file of the group that has the next cell.
  long GroupStart() const {
    if (m_ahead.Left() != 0) return InFile(m_ahead.Group());
    if (m_next == nullptr) return m_stream.Tell();
    return InFile(HasGroup() ? m_group : m_next);
  }
  // The index of the next code in that group.
  int CodeIndex() const { return m_ahead.Left() != 0 ? m_ahead.Code() : m_code % kCodesPerGroup; }
  // Returns the part of that group before the next cell.
  BegunGroup UsedPart() const;

 private:
  bool HasGroup() const { return m_code != kCodesPerGroup; }
  bool NextGroup();
  bool HasNextGroup();
  void FillWindow();
  void KeepGroupInWindow();
  void DecodeAhead();
  void FindAhead();
  void LoadGroupAhead();
  int ReadOn(OBS* cells, const bool* numericMap);
  int CellsAheadBefore(long target) const;
  bool SkipCode();
  int ReadCodes(OBS* out, int most, const bool* numericMap);
  long InFile(const std::byte* place) const { return m_windowStart + (place - m_window.begin); }

  QUAV_FileStream& m_stream;
  int m_cells;  // per case
  bool m_atEnd = false;

  CellsAhead m_ahead;
  int m_stored = 0;  // cells, by DecodeCases

  const std::byte* m_group = nullptr;
  int m_code = kCodesPerGroup;  // kCodesPerGroup: no group is loaded

  QUAV_FileStream::Window m_window;
  const std::byte* m_next = nullptr;
  long m_windowStart = 0;  // a byte offset in the file

  // Where the data end, as a byte offset in the file: its length when it was first read. An append that comes later
  // may rewrite the last group, of which the window has the old form, so that nothing after it would be in its place.
  static constexpr long kNotKnown = -1;
  long m_dataEnd = kNotKnown;
  const std::byte* m_windowEnd = nullptr;  // no group begins here or later in the window
};

#endif
