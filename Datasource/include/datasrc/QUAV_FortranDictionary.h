// The dictionary by slots: 1-based numbers of cells, as the records of a system file and record-oriented callers count.
//
// A variable's slot is that of its first cell; the further slots of a long string stand for no variable. Cases are read
// and written through the same object: the first ReadCase or WriteCase decides which, until Quiesce.
//
// Threads: one thread at a time.

#ifndef DATASRC_QUAV_FORTRANDICTIONARY_H
#define DATASRC_QUAV_FORTRANDICTIONARY_H

#include <memory>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_Variable.h"

// A type of the callers: whatever must live as long as the dictionary is in use.
class DATASRC_API SvrDMInputDataSource {
 public:
  virtual ~SvrDMInputDataSource();
};

class DATASRC_API QUAV_FortranDictionary {
 public:
  enum IOStatus : int { kIdle = 0, kRead = 1, kWrite = 2 };

  // What stands at a slot that begins no variable; its type is -1.
  static const QUAV_Variable kTheExtension;

  // The source is not owned and outlives the dictionary.
  explicit QUAV_FortranDictionary(QUAV_DataSource& source);
  QUAV_FortranDictionary(const QUAV_FortranDictionary&) = delete;
  QUAV_FortranDictionary& operator=(const QUAV_FortranDictionary&) = delete;
  // Deletes the iterator, then the guard.
  ~QUAV_FortranDictionary();

  // Makes the slots anew from the source.
  void ReIndex();
  // The number of slots.
  unsigned int Count() const { return static_cast<unsigned int>(m_columns.size()); }
  // The column at a slot, -1 when no variable begins there.
  int ColumnAt(int slot) const;
  // Adds a variable to the source; its column is stored through the second argument unless that is null.
  QUAV_Variable& MakeVariable(int type, unsigned int* column);
  // The variable at a slot, kTheExtension when none begins there.
  const QUAV_Variable& GetVariable(int slot) const;
  // Asserts that a variable begins at the slot.
  QUAV_Variable& GetVariable(int slot);
  // Deletes the variables from slot n + 1 on. Asserts that a variable begins there.
  void Truncate(unsigned int n);

  // Reads the next case into Count() cells. `eof` is 1 when there is none.
  void ReadCase(OBS* buffer, int& eof);
  // Hands a case to the source, which must be an IndependentDataStore, else std::bad_cast is thrown.
  void WriteCase(OBS* buffer);
  // Takes ownership.
  void SetIterator(QUAV_InputCaseIterator* iterator);
  // Asserts that there is one.
  QUAV_InputCaseIterator* GetIterator() const;
  void DeleteIterator();
  // Deletes the iterator: reading or writing may begin anew.
  void Quiesce();
  // Takes ownership.
  void SetGuard(SvrDMInputDataSource* guard);

  // The logical unit, -1 at first; it must not be 0 when cases are read or written.
  int GetLUN() const { return m_logicalUnit; }
  void SetLUN(int unit) { m_logicalUnit = unit; }

 private:
  std::vector<int> m_columns;  // by slot from 0: the column, or -1 at a further cell of a string
  QUAV_DataSource* fpDataSource;
  std::unique_ptr<SvrDMInputDataSource> m_guard;
  std::unique_ptr<QUAV_InputCaseIterator> fpIterator;
  int m_logicalUnit = -1;
  IOStatus fIOStatus = kIdle;
};

#endif
