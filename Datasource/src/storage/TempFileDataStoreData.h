// The private side of a store: its body, which its iterators share, and the iterators.

#ifndef DATASRC_SRC_STORAGE_TEMPFILEDATASTOREDATA_H
#define DATASRC_SRC_STORAGE_TEMPFILEDATASTOREDATA_H

#include <exception>
#include <memory>
#include <vector>

#include "datasrc/QUAV_TempFile.h"
#include "datasrc/TempFileDataStore.h"
#include "storage/sparsefileindex.h"

struct TempFileDataStore::Data {
  QUAV_SparseFileIndex index{1};  // by bytes of the temp file
  QUAV_TempFile file{"cache", true};
  bool closed = false;
  int cellsPerCase = -1;  // -1 until the first row
  long long rows = 0;
  // What failed in the end of a procedure's iterator, where nobody could be told.
  std::exception_ptr lost;
};

class TempFileDataStore::Iterator : public QUAV_InputCaseIterator {
 public:
  Iterator(const TempFileDataStore& store, Data& data, OBS* cells);

  int IsSeekOK() override;
  int Seek(long long row) override;
  long long Tell() const override;
  int Next() override;

 private:
  void DoSeek();
  bool ReadCase();
  template <class Step>
  bool Guarded(Step step);

  Data& m_data;               // the store's
  long long m_actualRow = 0;  // of the temp file's position; kLost after a failure
  long long m_requestedRow = 0;
  long m_lastCase = 0;  // the position of the case that was read last
  QUAV_TempFile m_file;
  OBS* m_cells;
};

// The work of a procedure's iterator: the case in the caller's buffer, and the one to be stored.
//
//   the case       old part: as the parent has it, or as the procedure changed it | new part
//   write buffer   old part: as it was read                                       | new part, as it was stored last
struct ProcIterImpl {
  TempFileDataStore& store;
  std::unique_ptr<QUAV_InputCaseIterator> parent;  // may be null
  OBS* cells;                                      // of the case
  OBS* newCells;                                   // its new part
  std::size_t oldCount;                            // cells of the old part
  std::size_t newCount;
  bool written = true;
  std::vector<OBS> buffer;  // to be written
};

class TempFileDataStore::ProcedureIterator : public ProcedureDataStorage {
 public:
  // `parent` is null for none. Asserts that the store has the new columns, and room for the parent's cells.
  ProcedureIterator(unsigned int newColumns, TempFileDataStore& store, const QUAV_DataSource* parent, OBS* cells);
  ~ProcedureIterator() override;

  int IsSeekOK() override;
  int Seek(long long row) override;
  long long Tell() const override;
  int Next() override;
  void UpdateCase() override;
  void InsertCase() override;

 private:
  void CopyOldPart();
  void CopyNewPart();
  void WriteCase();

  ProcIterImpl m_impl;
};

#endif
