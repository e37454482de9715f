// The byte-code form on its way in and out: what of it has been used, and where the next of it is.
//
// Reading decodes in the stream's window, runs of plain groups at once and ahead of the cases (m_ahead); a group of
// another kind, and one of a file in the other byte order, is taken in hand and decoded code by code. Writing collects
// a group in slots of its own and hands it to the stream when it is full.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_COMPRESSIONBUFFER_H
#define DATASRC_SRC_COMPRESSIONBUFFER_H

#include <array>
#include <cstddef>

#include "CellsAhead.h"
#include "CompressedSystemFile.h"
#include "GroupDecoder.h"
#include "systemfileformat.h"

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
  // Fills the group in hand with codes 0 and writes it.
  void Flush();
  // Loads the group at the byte of the file, and moves to its code `index`. At the end of the data there is no group,
  // and AtEnd is set.
  void Seek(long groupStart, int index);
  // From reading to writing: takes the codes used so far of the group in hand over into the slots.
  void KeepForWriting();

  // The position of the next code as a byte of the file: its group's first byte plus its index in the group; behind a
  // group that is used up, the first byte of the next.
  long Tell() const { return GroupStart() + NextCode(); }
  // The first byte of the group in hand, or of the next when there is none.
  long GroupStart() const {
    if (m_ahead.Left() != 0) return InFile(m_ahead.Group());
    if (m_writing || m_next == nullptr) return m_stream.Tell();
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
  void WriteGroup();

  long InFile(const std::byte* place) const { return m_windowStart + (place - m_window.begin); }
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

  // Writing: the codes, then the literals.
  bool m_writing = false;
  std::array<std::byte, kMaxGroupSize> m_slots{};
  std::size_t m_slotBytes = 0;
};

#endif
