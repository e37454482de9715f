// The byte-code form on its way in and out: what of it has been used, and where the next of it is.
//
// Reading decodes in the stream's window, runs of plain groups at once and ahead of the cases (m_ahead); a group of
// another kind, and one of a file in the other byte order, is taken in hand and decoded code by code. Writing encodes
// whole groups out of a case, and holds the cells of one that two cases share (m_held), into memory of its own
// (m_staged), which goes to the stream when it is full.
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

  // As CompressedSystemFile::Read.
  int Read(OBS* cells, const bool* numericMap) {
    if (m_ahead.Left() < m_cells) return ReadOn(cells, numericMap);
    m_ahead.Take(cells, m_cells);
    return m_cells;
  }
  // Passes a case by. Returns the cells per case; 0 at a clean end of the data.
  int SkipCase();
  void Write(const OBS* cells);
  // Fills the group in hand with codes 0, and hands all to the stream.
  void Flush();
  // Loads the group at the byte of the file, and moves to its code `index`. At the end of the data there is no group,
  // and AtEnd is set.
  void Seek(long groupStart, int index);
  // From reading to writing: takes over what of the group in hand has been used.
  void KeepForWriting();

  // The position of the next code as a byte of the file: its group's first byte plus its index in the group; behind a
  // group that is used up, the first byte of the next.
  long Tell() const { return GroupStart() + NextCode(); }
  // The first byte of the group in hand, or of the next when there is none.
  long GroupStart() const {
    if (m_ahead.Left() != 0) return InFile(m_ahead.Group());
    if (m_writing) return m_stream.Tell() + static_cast<long>(m_stagedBytes);
    if (m_next == nullptr) return m_stream.Tell();
    return m_code == kCodesPerGroup ? InFile(m_next) : InFile(m_codes);
  }
  // Whether the stream had no whole group left.
  bool AtEnd() const { return m_end; }

 private:
  bool NextGroup();
  void FillWindow();
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
  // How many more groups, and one in hand, the staging has room for.
  int GroupsOfRoom() const { return static_cast<int>((kStagedSize - m_stagedBytes) / kMaxGroupSize) - 1; }
  // The index of the next code in its group.
  int NextCode() const { return m_ahead.Left() != 0 ? m_ahead.Code() : m_code % kCodesPerGroup; }

  QUAV_FileStream& m_stream;
  int m_cells;  // of a case
  bool m_end = false;

  // The group in hand.
  int m_code = kCodesPerGroup;  // the next code; kCodesPerGroup: no group is loaded
  const std::byte* m_codes = nullptr;

  // The groups in front of m_next that are not used yet. While there are any, none is in hand.
  CellsAhead m_ahead;

  // The window, and the part of it not loaded yet.
  QUAV_FileStream::Window m_window;
  const std::byte* m_next = nullptr;
  long m_windowStart = 0;  // as a byte of the file

  // Writing: whole groups, and behind them, until it is full, what the group in hand had in the file.
  static constexpr std::size_t kStagedSize = 16UL * 1024;
  bool m_writing = false;
  std::unique_ptr<std::byte[]> m_staged;  // made with the first case that is written
  std::size_t m_stagedBytes = 0;          // of whole groups

  // Of the group in hand what it had in the file, codes and bytes, and the cells for the codes that follow, each at the
  // place of its code.
  int m_keptCodes = 0;
  std::size_t m_keptBytes = kCodesPerGroup;
  std::array<OBS, kCodesPerGroup> m_held;
};

#endif
