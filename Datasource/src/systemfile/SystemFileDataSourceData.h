// What a system file source holds beside its dictionary.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEDATASOURCEDATA_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEDATASOURCEDATA_H

#include <atomic>
#include <memory>

#include "Platform/stream/ExtNameStr.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/zcmpsFilestr.h"
#include "datasrc/CryptFileStream.h"
#include "datasrc/SystemFileDataSource.h"
#include "storage/sparsefileindex.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileOptions.h"

struct SystemFileDataSource::Data {
  enum State : int { kNew = 0, kWriting = 1, kReading = 2 };

  // Opens the stream, an encrypted one when there is a password; throws the library's error 1201 or 1213, about the
  // file, when that fails.
  void OpenFile(const char* mode);
  // The same for a file that is open perhaps already, in another mode.
  void ReopenFile(const char* mode);
  // The stream that has the file's plain contents. For as long as it is not opened.
  QUAV_FileStream& File();
  // The stream that an iterator has a copy of.
  const QUAV_FileStream& FileToCopy() const;
  // Makes the layer that reads zlib blocks, for a file that has such. Throws SystemFileException 1205 when the file
  // cannot be read.
  void FindZlibBlocks();
  // Opens the file anew to read its cases. `fileSpec` is what errors tell of.
  void OpenForCases(const char* fileSpec);

  bool OpenEncrypted(const char* mode);

  void Commit(const QUAV_DataSource& dictionary);
  void AbandonCommit();
  void BeginAppend(const SystemFileDataSource& source);

  State writerState = kNew;
  SystemFileOptions m_options;
  QUAV_FileStream m_file;
  std::unique_ptr<CryptFileStream> cryptStream;  // null without a password; else m_file is not open
  QUAV_SparseFileIndex sparseIndex{1};
  std::unique_ptr<zcmpsFilestr> zStream;  // over m_file, while a file of compression 2 is open for reading
  std::unique_ptr<SaveDS> saveDS;         // while writing; goes before the stream, options and index that it uses
  long row0 = 0;                          // the byte of the file at which the first case begins
  long long nCasesLoc = 0;                // the byte at which the contents of record 16 begin, 0 for none
  ExtNameStr fileName;
  bool isInNameBank = false;
  std::atomic<int> iterators{0};  // how many are alive; they may be on several threads
};

#endif
