// The buffer behind an iterator: the cells of one case, and access to them by column.
//
// The buffer is the caller's, or the case's own when the caller gives none.
//
// Threads: one thread at a time.

#ifndef DATASRC_QUAV_CASE_H
#define DATASRC_QUAV_CASE_H

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"
#include "datasrc/Obs.h"

class QUAV_DataSource;
class QUAV_InputCaseIterator;

class DATASRC_API QUAV_Case {
 public:
  // With a null buffer, makes one of the source's GetObsAreaSize() cells and initialises it. A given buffer is stored
  // as it is: it must have so many cells and outlive the case. The source outlives the case.
  QUAV_Case(const QUAV_DataSource& source, OBS* buffer);
  QUAV_Case(const QUAV_Case&) = delete;
  QUAV_Case& operator=(const QUAV_Case&) = delete;
  virtual ~QUAV_Case();

  const QUAV_DataSource* GetDataSource() const { return m_source; }
  QUAV_InputCaseIterator* GetParent() const { return m_parent; }
  void SetParent(QUAV_InputCaseIterator* parent) { m_parent = parent; }
  ErrorMonitor* GetErrorMonitor() const { return m_monitor; }
  void SetErrorMonitor(ErrorMonitor* monitor) { m_monitor = monitor; }

  // The first cell of the column; one past the last column is the end of the case.
  OBS* GetObsPointer(int column) const;
  // The bytes of a string, not terminated, all its cells long.
  const char* GetStringValue(int column) const;
  double GetNumericValue(int column) const;
  void SetColumnValue(int column, double value);
  // Cuts the text to the width, and fills the field with blanks. Asserts that the column is a string.
  void SetColumnValue(int column, const char* text, int length);
  void SetColumnValue(int column, const char* text);
  // Sets numbers to system-missing and strings to blanks, in the columns from `first` to `last`, both included.
  void InitCase(int first, int last);
  void InitCase();

  // An iterator over the given source that fills this buffer; null for null. The caller owns it.
  QUAV_InputCaseIterator* MakeIterator(const QUAV_DataSource* source) const;

 private:
  const QUAV_DataSource* m_source;
  QUAV_InputCaseIterator* m_parent = nullptr;  // not owned
  OBS* m_buffer;
  ErrorMonitor* m_monitor = nullptr;  // not owned
  bool m_ownsBuffer;
};

#endif
