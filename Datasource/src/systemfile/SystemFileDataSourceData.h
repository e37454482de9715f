// The data of a system file source besides its dictionary.

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

  // Opens the stream, an encrypted one when there is a password. Throws the library's error 1201 or 1213, with the
  // name of the file, when that fails; 1215 when no memory can be locked for a key; 1214 when the file is an encrypted
  // one and its password was taken away.
  void OpenFile(const char* mode);
  // Opens the file in another mode; it may already be open.
  void ReopenFile(const char* mode);
  // Returns the stream of the file's plain contents. It is valid until the file is opened again.
  QUAV_FileStream& File();
  // Returns the stream that iterators copy.
  const QUAV_FileStream& FileToCopy() const;
  // Creates the layer that reads zlib blocks, if the file has any. Throws SystemFileException 1205 when that fails.
  void FindZlibBlocks();
  // Opens the file again to read its cases. Errors name `fileSpec`.
  void OpenForCases(const char* fileSpec);

  bool OpenEncrypted(const char* mode);

  void Commit(const QUAV_DataSource& dictionary);
  void AbandonCommit();
  void BeginAppend(const SystemFileDataSource& source);

  State writerState = kNew;
  SystemFileOptions m_options;
  QUAV_FileStream m_file;
  std::unique_ptr<CryptFileStream> cryptStream;  // null without a password; else m_file is not open
  bool isEncrypted = false;                      // whether the file was encrypted when it was last opened
  QUAV_SparseFileIndex sparseIndex{1};
  std::unique_ptr<zcmpsFilestr> zStream;  // over m_file, while a file of compression 2 is open for reading
  std::unique_ptr<SaveDS> saveDS;         // set while writing; ends before the stream, options and index that it uses
  long row0 = 0;                          // byte offset of the first case in the file
  long long nCasesLoc = 0;                // byte offset of the contents of record 16, 0 for none
  ExtNameStr fileName;
  bool isInNameBank = false;
  std::atomic<int> iterators{0};  // how many are alive; they may be on several threads
};

#endif
