// The buffer of an iterator: the cells of one case, and access to them by column. Columns count from 0.
//
// The buffer belongs to the caller, or to the case when the caller gives none.
//
// Threads: one thread at a time for each object.

#ifndef DATASRC_QUAV_CASE_H
#define DATASRC_QUAV_CASE_H

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"
#include "datasrc/Obs.h"

class QUAV_DataSource;
class QUAV_InputCaseIterator;

class DATASRC_API QUAV_Case {
 public:
  // With a null buffer, makes one of the source's GetObsAreaSize() cells and calls InitCase. A given buffer is not
  // changed; it must have that many cells and outlive the case. The source must outlive the case.
  QUAV_Case(const QUAV_DataSource& source, OBS* buffer);
  QUAV_Case(const QUAV_Case&) = delete;
  QUAV_Case& operator=(const QUAV_Case&) = delete;
  virtual ~QUAV_Case();

  const QUAV_DataSource* GetDataSource() const { return m_source; }
  QUAV_InputCaseIterator* GetParent() const { return m_parent; }
  void SetParent(QUAV_InputCaseIterator* parent) { m_parent = parent; }
  ErrorMonitor* GetErrorMonitor() const { return m_monitor; }
  void SetErrorMonitor(ErrorMonitor* monitor) { m_monitor = monitor; }

  // Returns the first cell of the column; the column after the last one gives the end of the case. Asserts that the
  // column exists. The pointer lives as long as the buffer and the layout of the source.
  OBS* GetObsPointer(int column) const;
  // Returns the bytes of a string, all its cells long and not terminated. Here and in the two functions below the
  // type of the column is not checked.
  const char* GetStringValue(int column) const;
  double GetNumericValue(int column) const;
  void SetColumnValue(int column, double value);
  // Truncates the text to the width, and fills the field with blanks. Asserts that the column is a string. The length
  // is in bytes; a negative one means that the text is terminated.
  void SetColumnValue(int column, const char* text, int length);
  void SetColumnValue(int column, const char* text);
  // Sets numbers to system-missing and strings to blanks, in the columns from `first` to `last`, both included.
  void InitCase(int first, int last);
  void InitCase();

  // Returns an iterator over the given source that fills this buffer, or null for null. The caller owns it.
  QUAV_InputCaseIterator* MakeIterator(const QUAV_DataSource* source) const;

 private:
  const QUAV_DataSource* m_source;
  QUAV_InputCaseIterator* m_parent = nullptr;  // not owned
  OBS* m_buffer;
  ErrorMonitor* m_monitor = nullptr;  // not owned
  bool m_ownsBuffer;
};

#endif
