// Delivers the cases of a source, one after the other, into one buffer.
//
//   std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
//   while (cases->Next()) use(cases->GetNumericValue(0));
//
// The source outlives its iterators; the caller owns them.
//
// Threads: one thread at a time.

#ifndef DATASRC_QUAV_INPUTCASEITERATOR_H
#define DATASRC_QUAV_INPUTCASEITERATOR_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_Case.h"

class QUAV_DataSource;

class DATASRC_API QUAV_InputCaseIterator {
 public:
  // Makes the case (QUAV_Case tells what a null buffer means) and tells the source's observers, before the derived part
  // of the iterator exists.
  QUAV_InputCaseIterator(const QUAV_DataSource& source, OBS* buffer);
  QUAV_InputCaseIterator(const QUAV_InputCaseIterator&) = delete;
  QUAV_InputCaseIterator& operator=(const QUAV_InputCaseIterator&) = delete;

  // Contract: the order of the virtual operations. The destructor leaves the parent iterator alone.
  virtual ~QUAV_InputCaseIterator();
  // Not owned; the parent iterator gets it too.
  virtual void SetErrorMonitor(ErrorMonitor* monitor);
  // Whether Seek works on this iterator.
  virtual int IsSeekOK() = 0;
  // Makes the case with the number, counted from 0, the next. Nonzero on success.
  virtual int Seek(long long row) = 0;
  // The number of the case that the next Next delivers.
  virtual long long Tell() const = 0;
  // Nonzero when a new case stands in the buffer; 0 at the end of the data. A fault of the file is thrown.
  virtual int Next() = 0;

  const QUAV_DataSource* GetDataSource() const { return m_case->GetDataSource(); }
  QUAV_InputCaseIterator* GetParent() const { return m_case->GetParent(); }
  // Stores the parent (not owned) and hands it this iterator's monitor.
  void SetParent(QUAV_InputCaseIterator* parent);
  ErrorMonitor* GetErrorMonitor() const { return m_case->GetErrorMonitor(); }

  // As the operations of QUAV_Case by the same names.
  OBS* GetObsPointer(int column) const { return m_case->GetObsPointer(column); }
  const char* GetStringValue(int column) const { return m_case->GetStringValue(column); }
  double GetNumericValue(int column) const { return m_case->GetNumericValue(column); }
  void SetColumnValue(int column, double value) { m_case->SetColumnValue(column, value); }
  void SetColumnValue(int column, const char* text, int length) { m_case->SetColumnValue(column, text, length); }
  void SetColumnValue(int column, const char* text) { m_case->SetColumnValue(column, text); }
  void InitCase(int first, int last) { m_case->InitCase(first, last); }
  void InitCase() { m_case->InitCase(); }
  QUAV_InputCaseIterator* MakeIterator(const QUAV_DataSource* source) const { return m_case->MakeIterator(source); }

 private:
  std::unique_ptr<QUAV_Case> m_case;
};

#endif
