// The abstract data source: a dictionary of variables and a stream of cases.
//
// A source holds the dictionary, the layout of a case that follows from it, and the properties of the whole data set:
// label, weight, filter, split, extension blocks, attributes, sets. A concrete source adds its own MakeIterator and
// RowCount. Columns and rows are counted from 0.
//
// Copies share variables and extension blocks until one side writes.
//
// When memory runs out, the exception reaches the caller, and the source is as it was before the operation, except for
// SetVariable, which changes the layout first.
//
// A caller that breaks a rule ends the process by an assertion, never by an exception. References and pointers to parts
// of a source are valid until that part is changed; those to a variable, until a variable is added or deleted.
//
// Threads: one writer, or several readers, for each source; different sources may be on different threads, also when
// they share variables. Register and UnRegister are const, but they count as writes.

#ifndef DATASRC_QUAV_DATASOURCE_H
#define DATASRC_QUAV_DATASOURCE_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/DataEditorFormattingInfo.h"
#include "datasrc/DatasourceAttributes.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_ExtensionImpl.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "datasrc/QUAV_Variable.h"
#include "datasrc/RefCountPtr.h"
#include "datasrc/SortIndexInfo.h"
#include "datasrc/VariableSetImpl.h"

class DATASRC_API QUAV_DataSource {
 public:
  class Extension;
  class Observer;
  // The type of an extension block. In a system file it is the subtype of the record that holds the block.
  using ExtensionType = int;

  // The most variables that may define a split, and the most bytes of their fields together.
  static constexpr unsigned int eMaxSplitVars = 8;
  static constexpr unsigned int kMaxSplitSize = 64;

  QUAV_DataSource();
  // Copies everything, including observers and the parent. The new source owns its copy of the trends information.
  QUAV_DataSource(const QUAV_DataSource& other);
  // Copies the parent in the same way, marks the copy as changed and makes `parent` (not owned) its parent. Null gives
  // an empty source.
  explicit QUAV_DataSource(const QUAV_DataSource* parent);
  QUAV_DataSource& operator=(const QUAV_DataSource&) = delete;

  // Contract: the order of the virtual operations.
  virtual ~QUAV_DataSource();
  virtual unsigned int GetNSplitVars() const;
  // Return the column and the identity of a split variable; the column is -1 when the variable does not exist any
  // more. Both assert that `index` is below the stored count, that of SetSplit, whatever an override of GetNSplitVars
  // returns.
  virtual int GetSplitVarIndex(unsigned int index) const;
  virtual LocallyUniqueID GetSplitVarID(unsigned int index) const;
  // Returns whether split output is separate.
  virtual bool GetSplitqSeparate() const;
  // Returns a new iterator, before row 0. The caller owns it, and the source must outlive it. `buffer` has
  // GetObsAreaSize() cells and outlives the iterator; with null the iterator has its own.
  virtual QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const = 0;
  // Returns the number of cells of a case.
  virtual unsigned int GetObsAreaSize() const;
  // Returns the number of cases, -1 when it is unknown. The base returns -1.
  virtual long long RowCount() const;
  // Returns whether the source has all its cases. The base returns true.
  virtual bool IsLoaded() const;
  // Returns the number of parents up the line, 0 for none.
  virtual int NParents() const;

  // The special numbers of the process. LowNumber() is the same double as SystemMissing().
  static double SystemMissing();
  static double HighNumber();
  static double LowNumber();

  // ---- Variables ----
  std::size_t ColumnCount() const;
  // Both assert that the column exists. A change through the reference does not mark the source as changed, and a new
  // type does not change the layout of a case.
  const QUAV_Variable& GetVariable(int index) const;
  QUAV_Variable& GetVariable(int index);
  // Replaces the variable of the column; the layout of a case follows. Asserts that the column exists, that the new
  // variable's type is not negative, and that it has the same identity.
  void SetVariable(long index, const QUAV_Variable& variable);
  // Inserts the variable before the column `index`, which may be ColumnCount(). The stored variable has the same
  // identity. Returns it. Asserts that the index is in range and that the variable's type is not negative.
  QUAV_Variable& InsertVariable(long index, const QUAV_Variable& variable);
  // Adds the variable after the last one, and stores its column in `*column` unless `column` is null. The type is 0 for
  // a number, else the width of the string in bytes. Returns the stored variable.
  QUAV_Variable& MakeVariable(const QUAV_Variable& variable, unsigned int* column);
  QUAV_Variable& MakeVariable(int type, unsigned int* column);
  // Deletes the columns from `start` to `finish`, both included, which must exist (asserted). Does nothing when
  // `finish` is negative or start - 1. When a split variable is deleted, the split ends.
  void DeleteVariables(int start, int finish);
  // Return the column, -1 for none. A name is compared without regard to case and trailing blanks; the search begins at
  // column `start` and goes on from column 0. Both take time in proportion to the columns: VariableNameIndex is for
  // many names.
  int FindVarIndex(LocallyUniqueID id) const;
  int FindVarIndex(const char* name, int start) const;
  // Makes the text into a legal name that no variable of this source has, as GenerateQUAVName does.
  std::string GoodVarName(const std::string& text) const;

  // ---- Weight, filter, split ----
  // The identity is invalid when there is no such variable.
  LocallyUniqueID GetWeightVariableID() const;
  LocallyUniqueID GetFilterVariableID() const;
  // Return the column, -1 for none.
  int GetWeightVarIndex() const;
  int GetFilterVarIndex() const;
  // A column that does not exist means none.
  void SetWeightVar(int index);
  // Deliberate: unlike the weight, the filter never marks the source as changed.
  void SetFilterVar(int index);
  // Sets the columns that split the data. Asserts that there are at most eMaxSplitVars, that they exist, and that their
  // fields together have at most kMaxSplitSize bytes. Does not mark the source as changed.
  void SetSplit(unsigned int nVars, const int* varIndexes, bool separate);

  // ---- The data set as a whole ----
  // The label of the data set; null for none. An empty label is one.
  const char* GetLabel() const;
  void SetLabel(const char* label);
  // Returns the first cell of the column, counted from 0. Column -1 gives -1, and ColumnCount() gives the number of
  // cells of a case; other columns that do not exist assert.
  int ObsIndex(int column) const;
  // Sets the numbers in nVars columns from firstVar on to system-missing, and the strings to blanks. `cells` is the
  // start of the case. Asserts that the columns exist.
  void InitCells(OBS* cells, unsigned int firstVar, unsigned int nVars) const;
  // Whether the source is marked as changed. A new source is; one that was opened from a file is not.
  bool IsDirty() const;
  // Whatever `dirty` is, IsIndexValid() is false after it.
  void SetDirty(bool dirty);
  // Whether the sort index describes the data.
  bool IsIndexValid() const;
  void SetIndexValid(bool valid);
  // Seconds since midnight of 14 October 1582, local time. At first the time when the source was made.
  double GetTimestamp() const;
  void SetTimestamp(double timestamp);
  // Sets the present time.
  void SetTimestamp();
  // A number that the library only stores for callers; 0 at first.
  long long RowsPerImputation() const;
  void RowsPerImputation(long long rows);
  // The name of the file, empty for none; null sets none. The text is in its generic form (ExtNameStr.h).
  const char* GetFileSpec() const;
  const ExtNameStr& GetFileSpecExt() const;
  void SetFileSpec(const char* name);
  void SetFileSpec(const ExtNameStr& name);
  const DatasourceAttributes& GetAttributes() const;
  void SetAttributes(const DatasourceAttributes& attributes);
  QUAV_TrendsInfo& GetTrendsInfo();
  const QUAV_TrendsInfo& GetTrendsInfo() const;
  const SortIndexInfo& GetSortIndexInfo() const;
  // An info with keys also makes IsIndexValid() true and marks the source as changed.
  void SetSortIndexInfo(const SortIndexInfo& info);
  const DataEditorFormattingInfo& GetDEFormattingInfo() const;
  void SetDEFormattingInfo(const DataEditorFormattingInfo& info);
  std::vector<VariableSetImpl> GetVariableSets() const;
  void SetVariableSets(const std::vector<VariableSetImpl>& sets);
  std::vector<VariableSetImpl> GetMRSets() const;
  void SetMRSets(const std::vector<VariableSetImpl>& sets);

  // ---- Extension blocks, by type from 0 on ----
  // No type above this one has a block; it is at least 25.
  int MaxExtensionType() const;
  // Returns the types that have a block, in ascending order.
  std::vector<int> ExtensionTypes() const;
  // Returns whether there is a block with at least one byte.
  bool HasExtension(int type) const;
  // Returns what QUAV_ExtensionImpl::Hash returns; 0 without a block.
  long long ExtensionHash(int type) const;
  // Stores a copy of nElements elements of elementSize bytes; a size below 1 counts as 1. With 0 elements the block is
  // removed. Asserts that neither the type nor the number is negative.
  void SetExtension(int type, int elementSize, long nElements, const void* content);
  // Shares the block of the handle; with an empty handle the block is removed. The second form uses the handle's type.
  void SetExtension(int type, Extension extension);
  void SetExtension(const Extension& extension);
  // Appends elements of the block's element size. Asserts that there is a block.
  void ExtendExtension(int type, long nElements, const void* content);

  // ---- Observers and parents, which the source does not own ----
  void Register(Observer* observer) const;
  // Removes every registration of the observer.
  void UnRegister(Observer* observer) const;
  // The constructor of iterators calls this. It calls each observer, in the order of registration.
  void IteratorMade(QUAV_InputCaseIterator* iterator) const;
  const QUAV_DataSource* GetParentSource() const;
  void SetParentSource(const QUAV_DataSource* parent);

  // Replaces everything that this source holds, observers included, by a copy of the other's. Only the parent stays,
  // and the file name becomes empty.
  void CopyDictionary(const QUAV_DataSource& other);

 protected:
  struct DATASRC_LOCAL Data;
  friend DATASRC_LOCAL void SetAllVariables(QUAV_DataSource& source, std::vector<QUAV_Variable> variables);
  std::unique_ptr<Data> pData;
};

// Is called when only the base of an iterator exists: store the pointer, and do nothing else with it. What follows (a
// view makes its parent's iterator) may throw; the pointer then leads astray. It may register and unregister observers.
// Contract: the one virtual operation; the destructor is not virtual, so make the derived class final.
class DATASRC_API QUAV_DataSource::Observer {
 public:
  virtual void IteratorMade(QUAV_InputCaseIterator* iterator);

 protected:
  ~Observer() = default;
};

// A handle on an extension block, with its own read position. It shares the block with the source.
class DATASRC_API QUAV_DataSource::Extension {
 public:
  explicit Extension(const RefCountPtr<QUAV_ExtensionImpl>& block) : m_block(block) {}
  // Takes the source's block of the type, or a new empty one.
  Extension(const QUAV_DataSource& source, int type);

  // A null handle has the type -1, and 0 everywhere else.
  int Type() const { return m_block.IsValid() ? m_block->Type() : -1; }
  int ElementSize() const { return m_block.IsValid() ? m_block->ElementSize() : 0; }
  // The number of elements.
  long Length() const { return m_block.IsValid() ? m_block->Length() : 0; }
  // Returns all bytes.
  std::string Elements() const { return m_block.IsValid() ? m_block->Bytes() : std::string(); }
  // Copies the next whole elements into `buffer` of `size` bytes and moves the position after them. Returns their
  // number, 0 at the end.
  long GetNext(void* buffer, long size);

  // Compares types and bytes, not the element sizes.
  DATASRC_API friend bool operator==(const Extension& a, const Extension& b);

 private:
  friend class QUAV_DataSource;

  RefCountPtr<QUAV_ExtensionImpl> m_block;
  long m_position = 0;  // in elements
};

// Deletes the source, its parent, and so on up the line. Null is allowed.
DATASRC_API void DeleteLine(const QUAV_DataSource* source);

// For a std::unique_ptr that owns the whole line.
struct LineDeleter {
  void operator()(const QUAV_DataSource* source) const { DeleteLine(source); }
};

// Returns the index of the first set whose name equals `name` without regard to case, -1 for none.
DATASRC_API int FindVarSet(const std::string& name, const std::vector<VariableSetImpl>& sets);

#endif
