// A data source whose cases live in a temp file: it holds the active file during a procedure.
//
// Filled by hand:
//
//   TempFileDataStore store(nullptr);
//   ...set up the dictionary -> AddRow for each case -> Close -> MakeIterator(nullptr), as often as wanted
//
// Filled by a procedure that walks a parent's cases and adds columns at the end of the dictionary:
//
//   TempFileDataStore store(&parent);
//   store.MakeVariable(0, &column);
//   std::unique_ptr<ProcedureDataStorage> cases(store.MakeIterator(1, nullptr));
//   while (cases->Next()) {
//     cases->SetColumnValue(column, ...);
//     cases->UpdateCase();
//   }
//   cases.reset();   // stores what is left, closes the store and parts it from its parent
//
// The temp file is enciphered on disk, and has the form of CompressedStream.h.
//
// Failures: what the temp file does not take is QuavServerError 1002, what it does not give back 1003, each with the
// names of the files and the system's reason. A row that failed is not counted.
//
// Threads: the store and all its iterators are for one thread.

#ifndef DATASRC_TEMPFILEDATASTORE_H
#define DATASRC_TEMPFILEDATASTORE_H

#include <memory>

#include "Platform/Export.h"
#include "datasrc/IndependentDataStore.h"
#include "datasrc/QUAV_InputCaseIterator.h"

// A walk over cases that are stored on the way, with what the procedure made of them.
class DATASRC_API ProcedureDataStorage : public QUAV_InputCaseIterator {
 public:
  using QUAV_InputCaseIterator::QUAV_InputCaseIterator;

  // Contract: behind the virtual operations of the base, in this order.
  // Stores the case as it was read, with the new columns as they are now.
  virtual void UpdateCase() = 0;
  // Stores the case as it is now, old columns and new. Several for one case of the parent are several cases.
  virtual void InsertCase() = 0;
};

class DATASRC_API TempFileDataStore : public IndependentDataStore {
 public:
  class Iterator;
  class ProcedureIterator;

  // Makes the temp file, as QUAV_TempFile does. The parent (not owned; null for none) gives the dictionary, and its
  // cases to the iterators.
  explicit TempFileDataStore(const QUAV_DataSource* parent);
  TempFileDataStore(const TempFileDataStore&) = delete;
  TempFileDataStore& operator=(const TempFileDataStore&) = delete;
  ~TempFileDataStore() override;

  // With a parent, as MakeIterator(0, cells). Without, closes the store if need be; the iterator walks its cases, and
  // seeks. Throws 1002 when not all of them could be stored, also where that happened in the end of a procedure's
  // iterator. Asserts that the dictionary has the cells of the cases that were stored.
  QUAV_InputCaseIterator* MakeIterator(OBS* cells) const override;
  // For a procedure that has added `newColumns` columns at the end. The caller owns it, and ends it before the store.
  //
  // Next reads the parent's next case; one that was neither updated nor inserted is stored by the following Next, or by
  // the iterator's end, with the new columns as the last case that was stored had them (system-missing and blanks
  // before the first). It cannot seek; Tell is the store's RowCount. Its end closes the store.
  ProcedureDataStorage* MakeIterator(unsigned int newColumns, OBS* cells);
  long long RowCount() const override;
  // Whether it was closed.
  bool IsLoaded() const override;
  // The first row settles the number of cells that all rows have.
  void AddRow(const OBS* cells) override;
  // All is in the temp file then, and the store has the present time as its timestamp.
  void Close() override;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
