// The dictionary by slots. A slot is the number of a cell, counted from 1, as in the records of a system file and for
// record-oriented callers.
//
// A variable's slot is that of its first cell; no variable begins at the other slots of a long string. The same object
// reads or writes cases: the first ReadCase or WriteCase decides which, until Quiesce.
//
// Threads: one thread at a time for each object.

#ifndef DATASRC_QUAV_FORTRANDICTIONARY_H
#define DATASRC_QUAV_FORTRANDICTIONARY_H

#include <memory>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_Variable.h"

// A base for an object of the caller that must live as long as the dictionary is in use.
class DATASRC_API SvrDMInputDataSource {
 public:
  virtual ~SvrDMInputDataSource();
};

class DATASRC_API QUAV_FortranDictionary {
 public:
  enum IOStatus : int { kIdle = 0, kRead = 1, kWrite = 2 };

  // What GetVariable const returns for a slot at which no variable begins. Its type is -1.
  static const QUAV_Variable kTheExtension;

  // The source is not owned and must outlive the dictionary. The slots do not follow changes of the source: see
  // ReIndex.
  explicit QUAV_FortranDictionary(QUAV_DataSource& source);
  QUAV_FortranDictionary(const QUAV_FortranDictionary&) = delete;
  QUAV_FortranDictionary& operator=(const QUAV_FortranDictionary&) = delete;
  // Deletes the iterator, then the guard.
  ~QUAV_FortranDictionary();

  // Rebuilds the slots from the source.
  void ReIndex();
  // The number of slots: the cells of a case.
  unsigned int Count() const { return static_cast<unsigned int>(fColumns.size()); }
  // Returns the column at a slot, counted from 0; -1 when no variable begins there.
  int ColumnAt(int slot) const;
  // Adds a variable to the source and its slots, and stores its column in `*column` unless `column` is null.
  QUAV_Variable& MakeVariable(int type, unsigned int* column);
  // Returns the variable at a slot, kTheExtension when none begins there.
  const QUAV_Variable& GetVariable(int slot) const;
  // Asserts that a variable begins at the slot.
  QUAV_Variable& GetVariable(int slot);
  // Keeps the first n slots, and deletes the later variables. Asserts that a variable begins at slot n + 1, unless
  // there is no such slot.
  void Truncate(unsigned int n);

  // Copies the next case to `buffer` of Count() cells; sets `eof` to 1 when there is no more case, else to 0. The first
  // call makes the iterator; it asserts that SetIterator has set none, and that the logical unit is not 0. Asserts that
  // the object does not write. Throws what the iterator throws.
  void ReadCase(OBS* buffer, int& eof);
  // Adds a case of Count() cells to the source. Throws std::bad_cast when the source is no IndependentDataStore.
  // Asserts that the object does not read, and at the first call that there are slots and that the logical unit is
  // not 0.
  void WriteCase(OBS* buffer);
  // Takes ownership, and deletes the previous iterator.
  void SetIterator(QUAV_InputCaseIterator* iterator);
  // Asserts that there is an iterator. The dictionary keeps the ownership.
  QUAV_InputCaseIterator* GetIterator() const;
  void DeleteIterator();
  // Deletes the iterator; the next ReadCase or WriteCase decides again.
  void Quiesce();
  // Takes ownership, and deletes the previous guard.
  void SetGuard(SvrDMInputDataSource* guard);

  // The logical unit, -1 at first.
  int GetLUN() const { return fLogicalUnit; }
  void SetLUN(int unit) { fLogicalUnit = unit; }

 private:
  std::vector<int> fColumns;  // by slot - 1: the column, or -1 at a later cell of a string
  QUAV_DataSource* fpDataSource;
  std::unique_ptr<SvrDMInputDataSource> fpGuard;
  std::unique_ptr<QUAV_InputCaseIterator> fpIterator;
  int fLogicalUnit = -1;
  IOStatus fIOStatus = kIdle;
};

#endif
