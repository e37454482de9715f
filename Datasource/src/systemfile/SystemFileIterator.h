// Reads the cases of a system file: from the stream, through the decoder and the dechunker, to the caller's cells.
//
// An iterator has its own copy of the source's stream. It starts before row 0, and moves the stream only when the
// requested row is not the row of the stream.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEITERATOR_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEITERATOR_H

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <span>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/zcmpsFilestr.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/CaseChunks.h"
#include "systemfile/CasePlace.h"
#include "systemfile/CaseStretches.h"
#include "systemfile/CompressedSystemFile.h"
#include "systemfile/SystemFileDataSourceData.h"

class SystemFileDataSource::Iterator : public QUAV_InputCaseIterator {
 public:
  // Throws the library's error 1206 when it cannot read the compression of the cases. If the source has zlib blocks,
  // the iterator has its own copy of the zlib layer too.
  Iterator(const SystemFileDataSource& source, Data& data, OBS* cells);
  ~Iterator() override;

  int IsSeekOK() override;
  // Only stores the row; the next Next moves the stream.
  int Seek(long long row) override;
  long long Tell() const override;
  // At the end of the data, sets the number of cases if it was unknown or too high.
  int Next() override;

  // The cells of a case in the dictionary with which the file was opened.
  std::int32_t CellsOfCase() const { return m_layout.LogicalCaseSize(); }
  // Does what so many calls of Next do, but stores the cases after one another, with CellsOfCase() cells each. Sets
  // `count` to the number of cases, also when it throws: they come before the fault. Reads no case without cells.
  void ReadCases(OBS* cases, int most, int& count);
  // Returns whether ReadChosen can read this file: groups of case codes in this machine's byte order, nothing to join.
  bool CanReadChosen() const { return m_compressed && AreCasesPlain(); }
  // Does the same for chosen cells only, without the others: `chosen[k]` of case r goes to columns[k][r]. Costs more for
  // each cell than ReadCases.
  void ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int most, int& count);

  // Finds places that are about as far apart as so many equal stretches of the data would begin. Those of coded cases
  // take a walk over their groups, which stops at a fault.
  CasePlaces FindPlaces(long stretches);
  // Takes over a place that such a walk has found in the same file, so that no walk leads to the row. Returns false for a
  // position that is not in the file, or not the place of the row, as far as it can be seen.
  bool TakePlace(const CasePlace& place);
  // Returns whether the cases are in case codes.
  bool IsCoded() const { return m_compressed != nullptr; }
  bool IsInZlibBlocks() const { return m_zStream != nullptr; }
  // Sets how many threads inflate zlib blocks ahead of this iterator. Without a call the setting of the process decides.
  void SetReadAhead(int threads);
  // Divides coded cases from the row on; the iterator outlives the result, and does nothing else. So many threads inflate
  // zlib blocks ahead. Returns null when the row cannot be reached.
  std::unique_ptr<CaseStretches> Divide(long long row, int threads);
  // Says how the cases from the row on, of a file that ReadChosen can read, are read in chunks; the iterator outlives that.
  // Returns nothing when the row cannot be reached, or the codes are in zlib blocks.
  std::optional<ChunkedCases> InChunks(long long row);
  // Makes an iterator of the same file that reads only stretches; Enter sets which, and makes its first row the next.
  // Each stretch has later rows than the one before. `length` is that of the stretches.
  std::unique_ptr<Iterator> ForStretches() const;
  void Enter(CaseStretch& stretch, long length);
  // The byte offset of row 0 in the file.
  long Row0() const { return m_data.row0; }
  // The file that the source has opened.
  const ExtNameStr& FileName() const { return m_data.fileName; }
  // Returns whether this is still the file that the source has opened or left. Throws 1201 when it cannot be read.
  bool IsFileUnchanged() const { return m_data.IsFileUnchanged(GetDataSource()->GetFileSpec()); }

 private:
  // For ForStretches.
  Iterator(const Iterator& whole, std::unique_ptr<StretchStream> stretches);
  void WalkOver(long step, CasePlaces& places);
  static const SystemFileDataSource& WithKnownCompression(const SystemFileDataSource& source, const Data& data);
  bool ReadCase(OBS* logical);
  void MakeBuffers(const QUAV_DataSource& source);
  void MoveToRequestedRow();
  std::optional<CasePlace> PlaceOf(long long row);
  std::size_t ReadCells(OBS* target);
  std::size_t ReadPlainCase(OBS* target);
  bool TakeHeldCase(OBS* target);
  int TakeHeldCases(OBS* cases, int most);
  template <class ReadSome>
  void ReadMany(int most, int& count, ReadSome readSome);
  void ReadPlainCases(OBS* cases, int most, int& count);
  void NoteEnd();

  // Returns whether the cases in the file are, once decoded, those of the caller.
  bool AreCasesPlain() const { return !m_rawCase && m_layout.NumericCellMap() == nullptr && CaseSize() != 0; }

  // The size of a case in the file, in bytes.
  std::size_t CaseSize() const { return static_cast<std::size_t>(m_layout.NominalCaseSize()) * sizeof(OBS); }

  // Returns the stream that moves, and may fail, while cases are read.
  QUAV_FileStream& CaseStream() {
    if (m_stretches) return *m_stretches;
    return m_zStream ? *m_zStream : m_file;
  }

  static constexpr long long kNowhere = -1;  // also after a fault inside a case

  Data& m_data;                      // owned by the source
  const SystemFileLayout& m_layout;  // likewise
  long long m_requestedRow = 0;
  long long m_actualRow = kNowhere;  // the row of the stream
  // This row and all later rows do not exist. Set only for zlib blocks without their table at the end of the file:
  // after the cases that the file counts they may hold the rest of an append that was never finished.
  long long m_endRow = std::numeric_limits<long long>::max();
  QUAV_FileStream m_file;
  QUAV_FileStream::Window m_held;                      // bytes not taken yet; for uncompressed cases
  std::size_t m_taken = 0;                             // bytes before m_held that the stream has not skipped yet
  std::unique_ptr<zcmpsFilestr> m_zStream;             // null without zlib blocks
  std::unique_ptr<StretchStream> m_stretches;          // null unless the iterator reads stretches
  QUAV_SparseFileIndex m_ownIndex{1};                  // of stretches, whose rows leave gaps
  std::unique_ptr<CompressedSystemFile> m_compressed;  // null when the cases are not compressed
  std::unique_ptr<OBS[]> m_rawCase;                    // the file's case; null when there is nothing to join
  std::unique_ptr<OBS[]> m_logicalCase;                // null when the caller's case has room for all of it
  OBS* m_cells;                                        // the caller's case
  std::size_t m_callersCells = 0;                      // its size
};

#endif
