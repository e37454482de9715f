// The writer of a system file.
//
// It is a data source with a private copy of the caller's dictionary. Everything that must be done to fit a
// dictionary into the file (short names, very long strings in segments, labels that go elsewhere) is done here, by
// the handlers of extension records, and never to the caller's objects.
//
//   SaveDS writer(&source, file, options);
//   writer.WriteDictionary();               from the magic to the end record
//   writer.SetCompressed(index, row0);      only for compressed cases
//   writer.WriteRow(file, row);             for each case
//   writer.Finish()                         flushes, and patches the number of cases
//
// To append, call BeginAppend instead of WriteDictionary and SetCompressed.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_SAVEDS_H
#define DATASRC_SRC_SYSTEMFILE_SAVEDS_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/SystemFileDataSource.h"
#include "storage/sparsefileindex.h"
#include "systemfile/Rename.h"
#include "systemfile/SystemFileOptions.h"

class SystemFileDataSource::SaveDS : public QUAV_DataSource {
 public:
  class Mover;
  class OrdinaryMover;
  class EStringMover;

  // Stream and options are not owned and must outlive the writer.
  SaveDS(const QUAV_DataSource* source, QUAV_FileStream& file, SystemFileOptions& options);
  // Finishes the file if Finish was not called.
  ~SaveDS() override;

  // Returns null: a writer has no cases to read.
  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;

  const SystemFileOptions& Options() const;
  SystemFileOptions& Options();

  // Writes everything before the first case. Throws the library's error 1505 for two names that are equal without
  // regard to case, before the first byte; 1504 for a name from which no short name can be formed. Deliberate: does
  // not check whether writes fail. The stream remembers a failure, and WriteRow and the end of the writer see it.
  void WriteDictionary();
  // Returns the names of the columns and their short names, in column order. Formed once, then kept in the options.
  const Renames& FormRenames();
  // Returns the prefix of the names of a very long string's further segments: whole characters, at most 5 bytes.
  static std::string NamePrefix(const char* upperName);
  // Returns column and width of each string that is to be stored in segments, in ascending order of the columns: in a
  // new file those wider than 255 bytes, in an append those that the file has in segments.
  std::vector<std::pair<int, int>> VeryLongStrings() const;
  // Converts the dictionary to the file's form, and prepares to convert the rows.
  void SetExtendedStrings(const std::vector<std::pair<int, int>>& list);
  // Returns the same list with the columns of the file: the first of each string's segments.
  std::vector<std::pair<int, int>> ExtendedStringsInFile() const;
  // Returns the byte offset of the contents of record 16 in the file; 0 when there is no such record.
  long long NCasesLoc() const;

  // Prepares to write cases, compressed as the options say; at an unknown level they are not. The first begins at
  // byte `row0`.
  void SetCompressed(QUAV_SparseFileIndex& index, long row0);
  // Prepares to write after the `rowCount` cases of the file. A negative rowCount means that their number is unknown;
  // it then becomes unknown in the file too. `nCasesLoc` is the byte offset of the contents of record 16, 0 when
  // there is no such record. Throws SystemFileException 1201 when the file cannot be opened for writing, 1205 when the
  // data on the way end inside a case, 1209 when the rows of the dictionary do not have the layout of the file's cases.
  void BeginAppend(long long nCasesLoc, long long rowCount, QUAV_SparseFileIndex& index, long row0);
  // Writes a case in the form of the caller's dictionary. Throws SystemFileException 1202 when it, or anything before
  // it, could not be written.
  void WriteRow(QUAV_FileStream& file, const OBS* row);
  // Writes what is held, then the number of cases into the header and record 16. After a failure these are the cases
  // that are whole in the file. Returns 0 when all cases were written and the file does not have a wrong number of
  // them, else the errno of the first failure. The second call does nothing and returns 0.
  int Finish();
  // Lets the file go as it is. Finish then does nothing.
  void Abandon();

 private:
  struct Data;

  void AppendBlocks(QUAV_SparseFileIndex& index);
  void RequireWholeCases();

  std::unique_ptr<Data> m_;
};

#endif
