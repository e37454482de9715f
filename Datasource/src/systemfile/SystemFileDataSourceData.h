// The data of a system file source besides its dictionary.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEDATASOURCEDATA_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEDATASOURCEDATA_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "Platform/stream/ExtNameStr.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/zcmpsFilestr.h"
#include "datasrc/CryptFileStream.h"
#include "datasrc/SystemFileDataSource.h"
#include "storage/sparsefileindex.h"
#include "systemfile/FileStamp.h"
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
  QUAV_FileStream& File() { return cryptStream ? *cryptStream : m_file; }
  // Returns the stream that iterators copy.
  const QUAV_FileStream& FileToCopy() const;
  // Creates the layer that reads zlib blocks, if the file has any. Throws SystemFileException 1205 when that fails.
  void FindZlibBlocks();
  // Opens the file again to read its cases. Errors name `fileSpec`. After a failure no stream is open.
  void OpenForCases(const char* fileSpec);
  // Drops the streams, and whatever an encrypted one holds.
  void CloseStreams();
  // Remembers the state of the file, for the next append.
  void TakeStamp();
  // Returns whether the file is still as this source opened or left it. Throws the library's error 1201, with
  // the name `fileSpec`, when it cannot be read.
  bool IsFileUnchanged(const char* fileSpec) const;

  bool OpenEncrypted(const char* mode);

  void Commit(const QUAV_DataSource& dictionary);
  void AbandonCommit();
  void RequireAppendable(const char* fileSpec) const;
  // Changes to the state kWriting. After a failure the source is in the state kReading, and no stream is open.
  void BeginAppend(const SystemFileDataSource& source);
  // Throws 1202 when anything could not be written.
  void EndWriting();

  State writerState = kNew;
  SystemFileOptions m_options;  // those of the file that was opened or made; before that, of the file to be made
  // What the setters say: for the file to be made. A file that is there keeps its own, in m_options.
  struct Wanted {
    std::int32_t compression = kCompressionNone;
    ExtNameStr password;
    bool passwordMangled = false;
  };
  Wanted wanted;
  QUAV_FileStream m_file;
  std::unique_ptr<CryptFileStream> cryptStream;  // null without a password; else m_file is not open
  bool isEncrypted = false;                      // whether the file was encrypted when it was last opened
  std::optional<QUAV_SparseFileIndex> sparseIndex{std::in_place, 1};
  std::unique_ptr<zcmpsFilestr> zStream;  // over m_file, while a file of compression 2 is open for reading
  std::unique_ptr<SaveDS> saveDS;         // set while writing; ends before the stream, options and index that it uses
  long row0 = 0;                          // byte offset of the first case in the file
  long long nCasesLoc = 0;                // byte offset of the contents of record 16, 0 for none
  ExtNameStr fileName;
  FileStamp stamp;  // of the file as this source opened it, or left it
  bool isInNameBank = false;
  std::mutex opening;             // of iterators on several threads, the first opens a file that was written
  std::atomic<int> iterators{0};  // how many are alive; they may be on several threads
};

#endif
