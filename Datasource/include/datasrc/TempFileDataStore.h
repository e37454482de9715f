// A data source whose cases are in a temp file: it holds the active file during a procedure.
//
// Filled directly:
//
//   TempFileDataStore store(nullptr);
//   ...set up the dictionary -> AddRow for each case -> Close -> MakeIterator(nullptr), any number of times
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
//   cases.reset();   // stores the last case, closes the store and separates it from its parent
//
// The temp file is enciphered on disk. Its form is that of src/storage/CompressedStream.h.
//
// Failures: QuavServerError 1002 when the temp file cannot be written, 1003 when it cannot be read, each with the names
// of the files and the system's reason. A row that failed does not count.
//
// Threads: one thread at a time for the store together with all its iterators.

#ifndef DATASRC_TEMPFILEDATASTORE_H
#define DATASRC_TEMPFILEDATASTORE_H

#include <memory>

#include "Platform/Export.h"
#include "datasrc/IndependentDataStore.h"
#include "datasrc/QUAV_InputCaseIterator.h"

// An iterator over a parent's cases that stores them in a TempFileDataStore, as the procedure has changed them.
class DATASRC_API ProcedureDataStorage : public QUAV_InputCaseIterator {
 public:
  using QUAV_InputCaseIterator::QUAV_InputCaseIterator;

  // Contract: these follow the virtual operations of the base, in this order.
  // Stores the old columns as they were read, and the new columns as they are now.
  virtual void UpdateCase() = 0;
  // Stores all columns as they are now. Each call stores one more case.
  virtual void InsertCase() = 0;
};

class DATASRC_API TempFileDataStore : public IndependentDataStore {
 public:
  class Iterator;
  class ProcedureIterator;

  // Makes the temp file; throws what QUAV_TempFile throws. The dictionary is a copy of the parent's. The parent (not
  // owned; null for none) must exist while an iterator walks its cases.
  explicit TempFileDataStore(const QUAV_DataSource* parent);
  TempFileDataStore(const TempFileDataStore&) = delete;
  TempFileDataStore& operator=(const TempFileDataStore&) = delete;
  ~TempFileDataStore() override;

  // With a parent, returns what MakeIterator(0, cells) returns. Without one, closes the store if that was not done,
  // and returns an iterator over its cases that can seek; Seek returns 0 for a row that does not exist. Throws 1002
  // when not all cases could be stored, which includes a failure in the destructor of a procedure's iterator. Asserts
  // that the dictionary has at least the cells of the stored cases.
  QUAV_InputCaseIterator* MakeIterator(OBS* cells) const override;
  // Returns an iterator for a procedure that has added `newColumns` columns at the end. The caller owns it and
  // deletes it before the store. Asserts that the store has that many columns, at least the parent's cells, and no
  // cases with another number of cells.
  //
  // Next reads the parent's next case. A case that was neither updated nor inserted is stored by the following Next
  // or by the destructor; its new columns are then those of the case stored last (before the first: system-missing
  // and blanks). The iterator cannot seek; Tell returns the store's RowCount. The destructor closes the store, and
  // sets its parent to null.
  ProcedureDataStorage* MakeIterator(unsigned int newColumns, OBS* cells);
  // Returns the number of stored cases.
  long long RowCount() const override;
  // Returns whether Close has succeeded.
  bool IsLoaded() const override;
  // The first row fixes the number of cells of all rows.
  void AddRow(const OBS* cells) override;
  // Writes all cases to the temp file, and sets the timestamp to the present time.
  void Close() override;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
