// What a writer holds beside its dictionary.

#ifndef DATASRC_SRC_SYSTEMFILE_SAVEDSDATA_H
#define DATASRC_SRC_SYSTEMFILE_SAVEDSDATA_H

#include <memory>
#include <utility>
#include <vector>

#include "Platform/stream/zcmpsFilestr.h"
#include "systemfile/CompressedSystemFile.h"
#include "systemfile/Movers.h"
#include "systemfile/SaveDS.h"

struct SystemFileDataSource::SaveDS::Data {
  Data(QUAV_FileStream& file, SystemFileOptions& theOptions) : options(theOptions), m_file(file) {}

  // The stream that has the cases; behind a zlib layer it is not the file's.
  QUAV_FileStream& CaseStream(QUAV_FileStream& file) const { return zStream ? *zStream : file; }
  int Finish();
  int EndCases();
  void PatchCount(long long count);

  long long rowsWritten = 0;
  long long priorRows = 0;        // in the file before; below 0: unknown
  long long nCasesRecordLoc = 0;  // the byte at which the contents of record 16 begin, 0 for none
  SystemFileOptions& options;
  std::vector<std::pair<int, int>> estringVars;  // column and width of each very long string
  std::unique_ptr<OBS[]> rowBuffer;              // a row as the file has it; null where the caller's is the same
  std::unique_ptr<zcmpsFilestr> zStream;         // null but for zlib blocks; goes behind the writer over it
  std::unique_ptr<CompressedSystemFile> compressedWriter;  // null: the rows go to the stream as they are
  QUAV_FileStream& m_file;
  std::vector<std::unique_ptr<Mover>> movers;
  bool hasDictionary = false;  // the file is worth finishing
  bool isFinished = false;
};

#endif
