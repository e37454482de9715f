// Divides coded cases into stretches in memory, so that several threads can decode them side by side.
//
//   CaseStretches    reads the stream in order, and finds where each stretch ends, without decoding cells
//   CaseStretch      the bytes of successive cases: what one thread decodes
//   StretchStream    shows a stretch to the decoder as the stream that it is from
//
// Only one thread at a time can find where a stretch ends. If the stream is that of a file, the threads read side by side
// before that: each takes its stretch to be about as long as the last one that was found. Where it is not, the bytes are read
// in order.
//
// The last stretch has the fault, or the end of the data. The thread that decodes the stretch reports it.
//
// Threads: one thread at a time for each object, but any number for CaseStretches::Preload. A stretch has all that its
// stream needs.

#ifndef DATASRC_SRC_SYSTEMFILE_CASESTRETCHES_H
#define DATASRC_SRC_SYSTEMFILE_CASESTRETCHES_H

#include <cstddef>
#include <mutex>
#include <span>
#include <vector>

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "systemfile/CasePlace.h"

class CaseStretch {
 public:
  // Empties the stretch and begins it with these bytes, which are at `begin` of the stream.
  void Begin(const CasePlace& place, long begin, std::span<const std::byte> bytes);
  // Does the same with bytes of a file; SetPlace must follow.
  void Begin(const QUAV_File& file, long begin, std::size_t size);
  void SetPlace(const CasePlace& place) { m_place = place; }
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
  long m_begin = 0;  // in the stream; before the group of the place, or there
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
  // The first stretch begins at `place`. `stream` outlives this object, is good, and no other uses it. `file` has the same
  // bytes, and is open as long; null if there is no such file.
  CaseStretches(QUAV_FileStream& stream, const QUAV_File* file, long row0, int cellsPerCase, const CasePlace& place);

  // Reads what the stretch will probably have that the call `index` of Next, counted from 0, is to fill.
  void Preload(long index, CaseStretch& stretch);
  // Fills `stretch`, which is preloaded, with the next `cases` cases. Returns false when it is the last one: it may have
  // fewer cases.
  bool Next(int cases, CaseStretch& stretch);
  // The length of the stream when reading began.
  long Length() const { return m_length; }

 private:
  // The next stretch, and the size of the one before; 0 if there is none.
  struct Expected {
    long index = 0;
    long begin = 0;
    long size = 0;
  };

  bool IsPreloaded(const CaseStretch& stretch, long group) const;
  void Advance(const CaseStretch& stretch, long long cases, long group, int code);

  StretchStream m_loading;
  const QUAV_File* m_file;
  long m_row0;
  int m_cells;
  long m_length;
  CasePlace m_place;                // of the next stretch
  std::vector<std::byte> m_loaded;  // what was read of it already
  bool m_isEnd = false;             // after these bytes
  int m_error = 0;
  std::mutex m_lock;
  Expected m_expected;  // under m_lock
};

#endif
