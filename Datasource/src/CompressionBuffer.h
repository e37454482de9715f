// One group of the byte-code form at a time: what of it has been used, and where the next one is.
//
// Reading stands in the stream's window: m_codes and m_literal point into it. Writing collects a group in slots of its
// own and hands it to the stream when it is full.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_COMPRESSIONBUFFER_H
#define DATASRC_SRC_COMPRESSIONBUFFER_H

#include <array>
#include <cstddef>

#include "CompressedSystemFile.h"
#include "GroupDecoder.h"
#include "systemfileformat.h"

class CompressedSystemFile::CompressionBuffer {
 public:
  CompressionBuffer(QUAV_FileStream& stream, int cellsPerCase) : m_stream(stream), m_cells(cellsPerCase) {}

  // As CompressedSystemFile::Read.
  int Read(OBS* cells, const bool* numericMap);
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
  long Tell() const {
    if (m_writing) return m_stream.Tell() + (m_code == kCodesPerGroup ? 0 : m_code);
    if (m_code != kCodesPerGroup) return m_groupStart + m_code;
    return m_next == nullptr ? m_stream.Tell() : m_windowStart + (m_next - m_window.begin);
  }
  // The first byte of the group in hand, or of the next when there is none.
  long GroupStart() const { return m_code == kCodesPerGroup ? Tell() : Tell() - m_code; }
  // Whether the stream had no whole group left.
  bool AtEnd() const { return m_end; }

 private:
  bool NextGroup();
  void FillWindow();
  int ReadCarefully(OBS* cells, int cell, const bool* numericMap);
  void WriteGroup();

  QUAV_FileStream& m_stream;
  int m_cells;  // of a case
  bool m_end = false;

  // The group in hand.
  int m_code = kCodesPerGroup;  // the next code; kCodesPerGroup: no group is loaded
  bool m_plain = false;         // it holds no code 0 or 252
  const std::byte* m_codes = nullptr;
  const std::byte* m_literal = nullptr;  // the next literal
  long m_groupStart = 0;                 // as a byte of the file

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
