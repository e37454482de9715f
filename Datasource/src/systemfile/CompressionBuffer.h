// Reads and writes the byte-code form. Knows which part of it is used, and where the next code is.
//
// Reading decodes in the stream's window. Runs of plain groups are decoded at once and ahead of the cases (m_ahead).
// Any other group, and every group of a file in reversed byte order, becomes the current group and is decoded code by
// code. Writing encodes whole groups of a case into memory of its own (m_staged), which goes to the stream when it is
// full. The cells of a group that two cases share are held until the group is full (m_held).
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_COMPRESSIONBUFFER_H
#define DATASRC_SRC_SYSTEMFILE_COMPRESSIONBUFFER_H

#include <array>
#include <cstddef>
#include <memory>

#include "casecodes/CellsAhead.h"
#include "casecodes/GroupDecoder.h"
#include "core/systemfileformat.h"
#include "systemfile/CompressedSystemFile.h"

class CompressedSystemFile::CompressionBuffer {
 public:
  CompressionBuffer(QUAV_FileStream& stream, int cellsPerCase) : m_stream(stream), m_cells(cellsPerCase) {}

  // See CompressedSystemFile::Read.
  int Read(OBS* cells, const bool* numericMap) {
    if (m_ahead.Left() < m_cells) return ReadOn(cells, numericMap);
    m_ahead.Take(cells, m_cells);
    return m_cells;
  }
  // Skips a case. Returns the cells per case; 0 when it meets a clean end of the data. After that, with AtEnd set, it
  // skips nothing and returns the cells per case.
  int SkipCase();
  void Write(const OBS* cells);
  // Fills up the current group with codes 0, and writes everything to the stream.
  void Flush();
  // Loads the group at byte `groupStart` of the file, and moves to its code `index`. At the end of the data there is
  // no group, and AtEnd is set.
  void Seek(long groupStart, int index);
  // Switches from reading to writing: keeps the used part of the current group.
  void KeepForWriting();

  // The position of the next code, as a byte offset in the file: the first byte of its group plus its index in the
  // group. After a group that is used up, it is the first byte of the next group.
  long Tell() const { return GroupStart() + NextCode(); }
  // The first byte of the current group, or of the next group when there is no current one.
  long GroupStart() const {
    if (m_ahead.Left() != 0) return InFile(m_ahead.Group());
    if (m_writing) return m_stream.Tell() + static_cast<long>(m_stagedBytes);
    if (m_next == nullptr) return m_stream.Tell();
    return m_code == kCodesPerGroup ? InFile(m_next) : InFile(m_codes);
  }
  // Returns whether the stream had no group left.
  bool AtEnd() const { return m_end; }

 private:
  bool NextGroup();
  void FillWindow();
  bool HasNextGroup();
  void DecodeAhead();
  void TakeInHand();
  int ReadOn(OBS* cells, const bool* numericMap);
  int ReadCarefully(OBS* cells, int cell, const bool* numericMap);
  const std::byte* NextLiteral() const;
  void StartWriting();
  int Hold(const OBS* cells, int count);
  void EndGroup();
  std::byte* EncodeHeld(std::byte* group);
  void HandOver();

  long InFile(const std::byte* place) const { return m_windowStart + (place - m_window.begin); }
  // The number of groups that m_staged has room for, besides the current one.
  int GroupsOfRoom() const { return static_cast<int>((kStagedSize - m_stagedBytes) / kMaxGroupSize) - 1; }
  // The index of the next code in its group.
  int NextCode() const { return m_ahead.Left() != 0 ? m_ahead.Code() : m_code % kCodesPerGroup; }

  QUAV_FileStream& m_stream;
  int m_cells;  // per case
  bool m_end = false;

  // The current group.
  int m_code = kCodesPerGroup;  // the next code; kCodesPerGroup when no group is loaded
  const std::byte* m_codes = nullptr;

  // The unused cells of the groups before m_next. While there are any, there is no current group.
  CellsAhead m_ahead;

  // The window, and the start of the part that is not loaded yet.
  QUAV_FileStream::Window m_window;
  const std::byte* m_next = nullptr;
  long m_windowStart = 0;  // a byte offset in the file

  // Where the data end, as a byte offset in the file: its length when it was first read. An append that comes later
  // may rewrite the last group, of which the window has the old form, so that nothing after it would be in its place.
  static constexpr long kNotKnown = -1;
  long m_dataEnd = kNotKnown;
  const std::byte* m_windowEnd = nullptr;  // no group begins here or later in the window

  // Writing. m_staged has whole groups. After them, until the current group is full, it has the part of that group
  // that the file had already.
  static constexpr std::size_t kStagedSize = 16UL * 1024;
  bool m_writing = false;
  std::unique_ptr<std::byte[]> m_staged;  // null until writing begins
  std::size_t m_stagedBytes = 0;          // in whole groups

  // The part of the current group that the file had already, in codes and in bytes; and the cells for the codes after
  // it, each at the index of its code.
  int m_keptCodes = 0;
  std::size_t m_keptBytes = kCodesPerGroup;
  std::array<OBS, kCodesPerGroup> m_held;
};

#endif
