// Delivers the cases of a source, one after the other, into one buffer. Rows and columns count from 0.
//
//   std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
//   while (cases->Next()) use(cases->GetNumericValue(0));
//
// The caller owns an iterator; the source must outlive it.
//
// Threads: one thread at a time for each iterator.

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
  // Makes the case (see QUAV_Case for the buffer) and calls the source's observers, before the derived part of the
  // iterator exists.
  QUAV_InputCaseIterator(const QUAV_DataSource& source, OBS* buffer);
  QUAV_InputCaseIterator(const QUAV_InputCaseIterator&) = delete;
  QUAV_InputCaseIterator& operator=(const QUAV_InputCaseIterator&) = delete;

  // Contract: the order of the virtual operations. The destructor does not delete the parent iterator.
  virtual ~QUAV_InputCaseIterator();
  // The monitor is not owned. The parent iterator gets it, too.
  virtual void SetErrorMonitor(ErrorMonitor* monitor);
  // Returns nonzero when Seek works on this iterator.
  virtual int IsSeekOK() = 0;
  // Makes `row` the next case. Returns nonzero on success. Some iterators accept a row that does not exist; Next then
  // returns 0.
  virtual int Seek(long long row) = 0;
  // Returns the row that the next Next delivers.
  virtual long long Tell() const = 0;
  // Returns nonzero when the buffer has a new case, 0 at the end of the data. Throws QuavServerError for a fault of the
  // file.
  virtual int Next() = 0;

  const QUAV_DataSource* GetDataSource() const { return m_case->GetDataSource(); }
  QUAV_InputCaseIterator* GetParent() const { return m_case->GetParent(); }
  // Stores the parent (not owned) and gives it this iterator's monitor.
  void SetParent(QUAV_InputCaseIterator* parent);
  ErrorMonitor* GetErrorMonitor() const { return m_case->GetErrorMonitor(); }

  // These do what the operations of QUAV_Case with the same names do.
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
