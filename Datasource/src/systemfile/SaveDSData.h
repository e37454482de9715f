// The data of a writer besides its dictionary.

#ifndef DATASRC_SRC_SYSTEMFILE_SAVEDSDATA_H
#define DATASRC_SRC_SYSTEMFILE_SAVEDSDATA_H

#include <memory>
#include <utility>
#include <vector>

#include "Platform/stream/zcmpsFilestr.h"
#include "systemfile/BegunGroup.h"
#include "systemfile/CompressedSystemFile.h"
#include "systemfile/Movers.h"
#include "systemfile/SaveDS.h"

struct SystemFileDataSource::SaveDS::Data {
  Data(QUAV_FileStream& file, SystemFileOptions& theOptions) : options(theOptions), m_file(file) {}

  // Returns the stream of the cases: the zlib layer if there is one, else the file's.
  QUAV_FileStream& CaseStream(QUAV_FileStream& file) const { return zStream ? *zStream : file; }
  int Finish();
  int EndCases();
  void WriteLastGroup();
  int CutAfterCases();
  long long CountWholeRows();
  void RestoreBegunGroup();
  int StoreCount(long long rows);
  void PatchCount(long long count);

  // The size of a case in the file, in bytes.
  long CaseSize() const { return options.layout.NominalCaseSize() * static_cast<long>(sizeof(OBS)); }
  bool IsEncrypted() const { return !options._password.Empty(); }

  long long rowsWritten = 0;
  long long priorRows = 0;        // in the file before; negative when unknown
  long long nCasesRecordLoc = 0;  // byte offset of the contents of record 16, 0 for none
  long row0 = 0;
  // Where the first row of this writer goes: its number, and its position, counted from row 0.
  long long firstRow = 0;
  long firstPosition = 0;
  BegunGroup begunGroup;  // the old cells in the group of that position, which the first new group replaces
  SystemFileOptions& options;
  std::vector<std::pair<int, int>> estringVars;  // column and width of each very long string
  std::unique_ptr<OBS[]> rowBuffer;              // a row in the file's form; null when the caller's is the same
  std::unique_ptr<zcmpsFilestr> zStream;         // null without zlib blocks; outlives the writer over it
  std::unique_ptr<CompressedSystemFile> compressedWriter;  // null when the rows go to the stream as they are
  QUAV_FileStream& m_file;
  std::vector<std::unique_ptr<Mover>> movers;
  bool hasDictionary = false;  // the file is worth finishing
  bool isAppending = false;    // to cases that have their layout already
  bool isFinished = false;
};

#endif
