// The writer of a system file.
//
// It is a data source, a private copy of the caller's dictionary: all that has to be done to a dictionary to fit it
// into the file (short names, very long strings in segments, labels that go elsewhere) is done here, by the handlers of
// extension records, and never to the caller's objects.
//
//   SaveDS writer(&source, file, options);
//   writer.WriteDictionary();               from the magic to the end record
//   writer.SetCompressed(index, row0);      only for compressed cases
//   writer.WriteRow(file, row);             for each case
//   writer.Finish()                         flushes, and patches the number of cases
//
// To append, BeginAppend stands in place of the first two.
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

  // Stream and options are not owned and outlive the writer.
  SaveDS(const QUAV_DataSource* source, QUAV_FileStream& file, SystemFileOptions& options);
  // Finishes the file, if nobody has.
  ~SaveDS() override;

  // Null: a writer has no cases to read.
  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;

  const SystemFileOptions& Options() const;
  SystemFileOptions& Options();

  // Everything in front of the first case. Throws the library's error 1505 for two names that differ by case alone,
  // before the first byte; 1504 for a name of which no short one can be formed. Deliberate: a write that fails is not
  // tested here. The stream remembers it, and WriteRow and the end of the writer see it.
  void WriteDictionary();
  // The names of the columns and their short ones, in the order of the columns; formed once, then kept in the options.
  const Renames& FormRenames();
  // What the names of a very long string's further segments begin with: whole characters, at most 5 bytes.
  static std::string NamePrefix(const char* upperName);
  // Brings the dictionary into the file's form, and makes ready to bring the rows there. `list` has column and width of
  // each string wider than 255 bytes, by ascending columns.
  void SetExtendedStrings(const std::vector<std::pair<int, int>>& list);
  // The same list with the columns as they are in the file: the first of each string's segments.
  std::vector<std::pair<int, int>> ExtendedStringsInFile() const;
  // Where the contents of record 16 begin, as a byte of the file; 0 for none.
  long long NCasesLoc() const;

  // The cases will be compressed as the options say; the first begins at the byte `row0`.
  void SetCompressed(QUAV_SparseFileIndex& index, long row0);
  // Makes ready to write behind the file's cases, of which there are rowCount; below 0 when that is not known, and then
  // the file will not tell it either. `nCasesLoc` is where the contents of record 16 begin, 0 for none. Throws
  // SystemFileException 1201 when the file cannot be opened for writing.
  void BeginAppend(long long nCasesLoc, long long rowCount, QUAV_SparseFileIndex& index, long row0);
  // A case as the caller's dictionary has it. Throws SystemFileException 1202 when it, or anything before it, could not
  // be written.
  void WriteRow(QUAV_FileStream& file, const OBS* row);
  // Writes what is held, then the number of cases into the header and record 16. Returns 0 when all cases were written,
  // else the errno of what failed first. The second call does nothing and returns 0.
  int Finish();

 private:
  struct Data;

  void AppendBlocks(long long firstRow, QUAV_SparseFileIndex& index, long row0);

  std::unique_ptr<Data> m_;
};

#endif
