// Divides coded cases into stretches in memory, so that several threads can decode them side by side.
//
//   CaseStretches    reads the stream once, in order, and finds where each stretch ends, without decoding cells
//   CaseStretch      the bytes of successive cases: what one thread decodes
//   StretchStream    shows a stretch to the decoder as the stream that it is from
//
// The last stretch has the fault, or the end of the data. The thread that decodes the stretch reports it.
//
// Threads: one thread at a time for each object. A stretch has all that its stream needs.

#ifndef DATASRC_SRC_SYSTEMFILE_CASESTRETCHES_H
#define DATASRC_SRC_SYSTEMFILE_CASESTRETCHES_H

#include <cstddef>
#include <span>
#include <vector>

#include "Platform/stream/QUAV_FileStream.h"
#include "systemfile/CasePlace.h"

class CaseStretch {
 public:
  // Empties the stretch and begins it with these bytes, which are at `begin` of the stream.
  void Begin(const CasePlace& place, long begin, std::span<const std::byte> bytes);
  // Adds the next bytes of the stream. Returns false when there are none.
  bool Load(QUAV_FileStream& stream);
  // Sets what comes after the bytes: the end of the data, and the errno of a failed read, 0 for none.
  void SetEnd(bool isEnd, int error);

  const CasePlace& Place() const { return m_place; }
  long FirstByte() const { return m_begin; }
  std::span<const std::byte> Bytes() const { return std::span(m_memory).first(m_size); }
  bool IsEnd() const { return m_isEnd; }
  int Error() const { return m_error; }

 private:
  CasePlace m_place;
  long m_begin = 0;  // of the stream, at a group
  std::vector<std::byte> m_memory;
  std::size_t m_size = 0;
  bool m_isEnd = false;
  int m_error = 0;
};

class StretchStream final : public QUAV_FileStream {
 public:
  // With `more`, bytes that are missing in the stretch come from there; it outlives this object.
  explicit StretchStream(QUAV_FileStream* more) : m_more(more) {}

  // Moves to the begin of a stretch, which outlives its use. `length` is that of the stream.
  void Enter(CaseStretch& stretch, long length);

  void Clear() override {}
  bool Good() override { return Error() == 0; }
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  Window Peek(std::size_t wanted) override;
  void Skip(std::size_t count) override { m_next += count; }
  long Length() override { return m_length; }
  bool IsOpen() const override { return m_stretch != nullptr; }
  int Error() const override;

 private:
  QUAV_FileStream* m_more;
  CaseStretch* m_stretch = nullptr;
  std::size_t m_next = 0;  // in the stretch
  long m_length = 0;
};

class CaseStretches {
 public:
  // The first stretch begins at `place`. `stream` outlives this object, is good, and no other uses it.
  CaseStretches(QUAV_FileStream& stream, long row0, int cellsPerCase, const CasePlace& place);

  // Fills `stretch` with the next `cases` cases. Returns false when it is the last one: it may have fewer cases.
  bool Next(int cases, CaseStretch& stretch);
  // The length of the stream when reading began.
  long Length() const { return m_length; }

 private:
  QUAV_FileStream& m_stream;
  StretchStream m_loading;
  long m_row0;
  int m_cells;
  long m_length;
  CasePlace m_place;                // of the next stretch
  std::vector<std::byte> m_loaded;  // what was read of it already
  bool m_isEnd = false;             // after these bytes
  int m_error = 0;
};

#endif
