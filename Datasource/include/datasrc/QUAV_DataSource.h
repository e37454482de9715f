// The abstract data source: a dictionary of variables and a stream of cases.
//
// A source holds the dictionary, the layout of a case that follows from it, and what belongs to the data set as a
// whole: label, weight, filter, split, extension blocks, attributes, sets. A concrete source adds its own MakeIterator
// and RowCount. Columns and rows are counted from 0.
//
// Copies share variables and extension blocks until one side writes.
//
// Broken rules of the caller end the process by an assertion; no operation here reports one by an exception.
//
// Threads: one writer, or several readers. Register and UnRegister count as writes, const as they are.

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

  // How many variables may define a split, and how many bytes their fields may have together.
  static constexpr unsigned int eMaxSplitVars = 8;
  static constexpr unsigned int kMaxSplitSize = 64;

  QUAV_DataSource();
  // Everything is copied, observers and the parent too; the trends information belongs to the new source.
  QUAV_DataSource(const QUAV_DataSource& other);
  // As a copy of the parent, changed and derived from it; null gives an empty source.
  explicit QUAV_DataSource(const QUAV_DataSource* parent);
  QUAV_DataSource& operator=(const QUAV_DataSource&) = delete;

  // Contract: the order of the virtual operations.
  virtual ~QUAV_DataSource();
  virtual unsigned int GetNSplitVars() const;
  // The column of a split variable, -1 when it has gone. Asserts index < GetNSplitVars().
  virtual int GetSplitVarIndex(unsigned int index) const;
  virtual LocallyUniqueID GetSplitVarID(unsigned int index) const;
  // Whether split output is separate.
  virtual bool GetSplitqSeparate() const;
  // A new iterator that the caller owns. `buffer` has GetObsAreaSize() cells, or is null for one of its own.
  virtual QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const = 0;
  // The cells of a case.
  virtual unsigned int GetObsAreaSize() const;
  // The number of cases, -1 when it is not known.
  virtual long long RowCount() const;
  virtual bool IsLoaded() const;
  virtual int NParents() const;

  // The process-wide sentinels. LowNumber() is the same double as SystemMissing().
  static double SystemMissing();
  static double HighNumber();
  static double LowNumber();

  // ---- Variables ----
  std::size_t ColumnCount() const;
  // Asserts that the column exists. Changing a variable through the reference does not mark the source as changed.
  const QUAV_Variable& GetVariable(int index) const;
  QUAV_Variable& GetVariable(int index);
  // Asserts that the identity stays.
  void SetVariable(long index, const QUAV_Variable& variable);
  // Before the column `index`, or behind the last. Answers the stored variable.
  QUAV_Variable& InsertVariable(long index, const QUAV_Variable& variable);
  // Behind the last; its column is stored through the second argument unless that is null.
  QUAV_Variable& MakeVariable(const QUAV_Variable& variable, unsigned int* column);
  QUAV_Variable& MakeVariable(int type, unsigned int* column);
  // From `start` to `finish`, both included. The loss of a split variable ends the split.
  void DeleteVariables(int start, int finish);
  // The column, -1 when there is none. A name is sought without regard to case, from column `start` around.
  int FindVarIndex(LocallyUniqueID id) const;
  int FindVarIndex(const char* name, int start) const;
  // The text mended into a legal name that no variable of this source has: GenerateQUAVName tells how.
  std::string GoodVarName(const std::string& text) const;

  // ---- Weight, filter, split ----
  LocallyUniqueID GetWeightVariableID() const;
  LocallyUniqueID GetFilterVariableID() const;
  // The column, -1 for none.
  int GetWeightVarIndex() const;
  int GetFilterVarIndex() const;
  // A column that there is not means none.
  void SetWeightVar(int index);
  // Deliberate: unlike the weight, the filter never marks the source as changed.
  void SetFilterVar(int index);
  // The columns that split the data; their fields together have at most kMaxSplitSize bytes, which is asserted. Does
  // not mark the source as changed.
  void SetSplit(unsigned int nVars, const int* varIndexes, bool separate);

  // ---- The data set as a whole ----
  // The file label; null for none.
  const char* GetLabel() const;
  void SetLabel(const char* label);
  // The first cell of the column; -1 for -1, the cells of a case for the number of columns.
  int ObsIndex(int column) const;
  // Sets the cells of nVars columns from firstVar on to system-missing and blanks; `cells` is the start of the case.
  void InitCells(OBS* cells, unsigned int firstVar, unsigned int nVars) const;
  bool IsDirty() const;
  // Also says that the sort index does not describe the data.
  void SetDirty(bool dirty);
  bool IsIndexValid() const;
  void SetIndexValid(bool valid);
  // Seconds since midnight of 14 October 1582, local time.
  double GetTimestamp() const;
  void SetTimestamp(double timestamp);
  // The present time.
  void SetTimestamp();
  long long RowsPerImputation() const;
  void RowsPerImputation(long long rows);
  // The name of the file, empty for none.
  const char* GetFileSpec() const;
  const ExtNameStr& GetFileSpecExt() const;
  void SetFileSpec(const char* name);
  void SetFileSpec(const ExtNameStr& name);
  const DatasourceAttributes& GetAttributes() const;
  void SetAttributes(const DatasourceAttributes& attributes);
  QUAV_TrendsInfo& GetTrendsInfo();
  const QUAV_TrendsInfo& GetTrendsInfo() const;
  const SortIndexInfo& GetSortIndexInfo() const;
  // An info with keys also makes the index valid.
  void SetSortIndexInfo(const SortIndexInfo& info);
  const DataEditorFormattingInfo& GetDEFormattingInfo() const;
  void SetDEFormattingInfo(const DataEditorFormattingInfo& info);
  std::vector<VariableSetImpl> GetVariableSets() const;
  void SetVariableSets(const std::vector<VariableSetImpl>& sets);
  std::vector<VariableSetImpl> GetMRSets() const;
  void SetMRSets(const std::vector<VariableSetImpl>& sets);

  // ---- Extension blocks, by type from 0 on ----
  // The highest type that there may be a block of, at least 25.
  int MaxExtensionType() const;
  // The types of which there is a block, ascending.
  std::vector<int> ExtensionTypes() const;
  bool HasExtension(int type) const;
  long long ExtensionHash(int type) const;
  // Stores a copy of nElements elements of elementSize bytes; none takes the block away.
  void SetExtension(int type, int elementSize, long nElements, const void* content);
  // Shares the block of the handle; an empty one takes the block away.
  void SetExtension(int type, Extension extension);
  void SetExtension(const Extension& extension);
  // Appends to the block, which must be there.
  void ExtendExtension(int type, long nElements, const void* content);

  // ---- Observers and parents, none of them owned ----
  void Register(Observer* observer) const;
  // Takes every occurrence away.
  void UnRegister(Observer* observer) const;
  // For the constructor of iterators: tells each observer, in the order of registration.
  void IteratorMade(QUAV_InputCaseIterator* iterator) const;
  const QUAV_DataSource* GetParentSource() const;
  void SetParentSource(const QUAV_DataSource* parent);

  // Makes this dictionary the other's; file name and parent stay this source's own (the file name is cleared).
  void CopyDictionary(const QUAV_DataSource& other);

 protected:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> pData;
};

// Hears of each iterator that is made. In that moment only the base of the iterator exists: store the pointer, no more.
class DATASRC_API QUAV_DataSource::Observer {
 public:
  virtual ~Observer();
  virtual void IteratorMade(QUAV_InputCaseIterator* iterator);
};

// A handle on an extension block, with a read position of its own.
class DATASRC_API QUAV_DataSource::Extension {
 public:
  explicit Extension(const RefCountPtr<QUAV_ExtensionImpl>& block) : m_block(block) {}
  // The source's block of the type, or a new empty one.
  Extension(const QUAV_DataSource& source, int type);

  // -1 for a null handle.
  int Type() const { return m_block.IsValid() ? m_block->Type() : -1; }
  int ElementSize() const { return m_block.IsValid() ? m_block->ElementSize() : 0; }
  // The number of elements.
  long Length() const { return m_block.IsValid() ? m_block->Length() : 0; }
  // All bytes.
  std::string Elements() const { return m_block.IsValid() ? m_block->Bytes() : std::string(); }
  // Copies whole elements into `buffer` of `size` bytes and moves on. Answers how many.
  long GetNext(void* buffer, long size);

  // Types and bytes; the element size is not compared.
  DATASRC_API friend bool operator==(const Extension& a, const Extension& b);

 private:
  friend class QUAV_DataSource;

  RefCountPtr<QUAV_ExtensionImpl> m_block;
  long m_position = 0;  // in elements
};

// Deletes the source, its parent, and so on up the line.
DATASRC_API void DeleteLine(const QUAV_DataSource* source);

// For a std::unique_ptr that owns the whole line.
struct LineDeleter {
  void operator()(const QUAV_DataSource* source) const { DeleteLine(source); }
};

// The place of the first set whose name equals `name` without regard to case, -1 for none.
DATASRC_API int FindVarSet(const std::string& name, const std::vector<VariableSetImpl>& sets);

#endif
