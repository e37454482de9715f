// The private part of a store: its data, which its iterators share, and the iterators.

#ifndef DATASRC_SRC_STORAGE_TEMPFILEDATASTOREDATA_H
#define DATASRC_SRC_STORAGE_TEMPFILEDATASTOREDATA_H

#include <exception>
#include <memory>
#include <vector>

#include "datasrc/QUAV_TempFile.h"
#include "datasrc/TempFileDataStore.h"
#include "storage/sparsefileindex.h"

struct TempFileDataStore::Data {
  QUAV_SparseFileIndex index{1};  // its positions are bytes of the temp file
  QUAV_TempFile file{"cache", true};
  bool closed = false;
  int cellsPerCase = -1;  // -1 until the first row
  long long rows = 0;
  // The exception from the destructor of a procedure's iterator, which cannot throw it.
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
  long long m_actualRow = 0;  // the row at the temp file's position; kLost after a failure
  long long m_requestedRow = 0;
  long m_lastCase = 0;  // the position of the case read last
  QUAV_TempFile m_file;
  OBS* m_cells;
};

// The state of a procedure's iterator: the case in the caller's buffer, and the case to be stored.
//
//   the case       old part: from the parent, or as the procedure changed it | new part
//   write buffer   old part: as Next read it, or as InsertCase found it      | new part, as it was last stored
struct ProcIterImpl {
  TempFileDataStore& store;
  std::unique_ptr<QUAV_InputCaseIterator> parent;  // may be null
  OBS* cells;                                      // the case's, in the caller's buffer
  OBS* newCells;                                   // its new part
  std::size_t oldCount;                            // cells in the old part
  std::size_t newCount;
  bool written = true;
  std::vector<OBS> buffer;  // the write buffer
};

class TempFileDataStore::ProcedureIterator : public ProcedureDataStorage {
 public:
  // `parent` may be null. Asserts that the store has the new columns, and room for the parent's cells.
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
