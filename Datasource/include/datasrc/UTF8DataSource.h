// A view that shows a source whose text is in a code page as UTF-8. CodePageDataSource converts in the other direction.
//
// The constructor converts the dictionary; the iterators convert the string cells of each case that they deliver. Text
// may grow: a string variable is three times as wide as in the parent, at most MAX_STRING_TYPE, even when all its text
// is ASCII. So the cases of the view have another layout than the parent's.
//
// Bytes that are no text in the code page become the replacement character; nothing fails. If any text of the
// dictionary was not converted exactly, the monitor gets one warning, 1701. Cases give no warning. A missing value of a
// string that needs more than 8 bytes is dropped. Documents, extension blocks, the sort index and the formatting text
// of the data editor are not converted.
//
// The view does not own the parent, which must outlive it; the view must outlive its iterators. DeleteLine deletes the
// view and its parents.
//
// Threads: one writer, or several readers. Iterators may be on different threads where those of the parent may.

#ifndef DATASRC_UTF8DATASOURCE_H
#define DATASRC_UTF8DATASOURCE_H

#include <memory>
#include <string>

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API UTF8DataSource : public QUAV_DataSource {
 public:
  struct DATASRC_LOCAL Data;
  class DATASRC_LOCAL Iterator;

  // Shows `source`, whose text is in the encoding of that name. Only the constructor uses the monitor, which may be
  // null. Names of variables that have become too long or equal are replaced, with warning 1722
  // (SystemFileDataSource::FixVarNames). Asserts "_my->_converter" when the encoding does not exist.
  UTF8DataSource(const QUAV_DataSource& source, const std::string& encoding, ErrorMonitor* monitor);
  ~UTF8DataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  // Returns the parent's number.
  long long RowCount() const override;

  // The name of the encoding of the parent's text.
  std::string CharacterEncoding() const;

 private:
  std::unique_ptr<Data> _my;
};

#endif
