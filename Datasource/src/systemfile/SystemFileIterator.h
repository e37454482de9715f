// Walks the cases of a system file: from the stream, through the decoder and the dechunker, to the caller's cells.
//
// An iterator has a copy of the source's stream for itself. It stands before row 0 at first, and moves the stream only
// when the row asked for is not the one the stream is at.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEITERATOR_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEITERATOR_H

#include <cstddef>
#include <limits>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/zcmpsFilestr.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/CompressedSystemFile.h"
#include "systemfile/SystemFileDataSourceData.h"

class SystemFileDataSource::Iterator : public QUAV_InputCaseIterator {
 public:
  // Throws the library's error 1206 when the cases are compressed in a way that cannot be read. Of a source with zlib
  // blocks the iterator has a copy of the layer for itself, as it has of the stream.
  Iterator(const SystemFileDataSource& source, Data& data, OBS* cells);
  ~Iterator() override;

  int IsSeekOK() override;
  // Only stores the row; the stream moves at the next Next.
  int Seek(long long row) override;
  long long Tell() const override;
  // At the end of the data also learns the number of cases, or corrects one that is too high.
  int Next() override;

 private:
  bool ReadCase();
  void MoveToRequestedRow();
  std::size_t ReadCells(OBS* target);
  std::size_t ReadPlainCase(OBS* target);
  bool TakeHeldCase(OBS* target);
  void NoteEnd();

  // In bytes of the file.
  std::size_t CaseSize() const { return static_cast<std::size_t>(m_data.m_options.nominalCaseSize) * sizeof(OBS); }

  // What moves and fails while cases are read.
  QUAV_FileStream& CaseStream() { return m_zStream ? *m_zStream : m_file; }

  static constexpr long long kNowhere = -1;  // also after a fault, in the middle of a case

  Data& m_data;  // the source's
  long long m_requestedRow = 0;
  long long m_actualRow = kNowhere;  // that the stream is at
  // This row and those behind it are not there. Only told of blocks without their end: behind the cases that the file
  // counts stands what was left of an append that was never finished.
  long long m_endRow = std::numeric_limits<long long>::max();
  QUAV_FileStream m_file;
  QUAV_FileStream::Window m_held;                      // of the stream, not yet taken; for plain cases
  std::size_t m_taken = 0;                             // bytes in front of it that the stream has not yet passed
  std::unique_ptr<zcmpsFilestr> m_zStream;             // null but for zlib blocks
  std::unique_ptr<CompressedSystemFile> m_compressed;  // null when the cases are not compressed
  std::unique_ptr<OBS[]> m_rawCase;                    // the file's case, when the dechunker makes another of it
  OBS* m_cells;                                        // the caller's case
};

#endif
