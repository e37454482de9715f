// A source whose text is in a code page, shown as UTF-8. CodePageDataSource goes the other way.
//
// The dictionary is converted once, at construction; the string cells of each case as the view's iterators deliver
// them. Text grows on the way: a string variable is three times as wide as in the parent, at most MAX_STRING_TYPE, be
// its text plain ASCII or not. So the cases of the view have another layout than the parent's.
//
// Bytes that are no text in the code page become the replacement character; nothing fails. When that happened to any
// text of the dictionary, the monitor is warned, once, with number 1701. For cases there is no warning. Documents,
// extension blocks, the sort index and the formatting of the data editor are left as they are, as bytes.
//
// The parent is not owned and must outlive the view, as the view must its iterators; DeleteLine ends them all.
//
// Threads: one writer, or several readers; iterators may be on different threads where those of the parent may.

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

  // Shows `source`, whose text is in the encoding of that name. The monitor may be null, and is used here only. Names
  // of variables that have become too long or equal are mended, with warning 1722. Asserts that there is such an
  // encoding: "_my->_converter".
  UTF8DataSource(const QUAV_DataSource& source, const std::string& encoding, ErrorMonitor* monitor);
  ~UTF8DataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  // The parent's.
  long long RowCount() const override;

  // The name of the encoding that the parent's text is in.
  std::string CharacterEncoding() const;

 private:
  std::unique_ptr<Data> _my;
};

#endif
