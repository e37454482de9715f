// A view that shows a source whose text is UTF-8 in another encoding. UTF8DataSource converts in the other direction.
//
// The constructor converts the dictionary; the iterators convert the string cells of each case that they deliver.
// Widths do not change, so a field has the same cells as in the parent, and its text may be truncated.
//
// A character that the encoding does not have becomes the encoding's substitute; nothing fails. If any text of the
// dictionary was not converted exactly, the monitor gets one warning: 1711, or 1712 for a view that is made to be
// saved. Cases give no warning. Documents, extension blocks, the sort index and the formatting text of the data
// editor are not converted.
//
// The view does not own the parent, which must outlive it; the view must outlive its iterators. DeleteLine deletes the
// view and its parents.
//
// Threads: one writer, or several readers. Iterators may be on different threads where those of the parent may.

#ifndef DATASRC_CODEPAGEDATASOURCE_H
#define DATASRC_CODEPAGEDATASOURCE_H

#include <memory>
#include <string>

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API CodePageDataSource : public QUAV_DataSource {
 public:
  struct DATASRC_LOCAL Data;
  class DATASRC_LOCAL Iterator;

  // Shows `source` in the encoding of that name. Only the constructor uses the monitor, which may be null. Names of
  // variables that are not legal in the encoding, or have become equal, are replaced without a warning
  // (SystemFileDataSource::FixVarNames). Asserts "_my->_converter" when the encoding does not exist.
  CodePageDataSource(const QUAV_DataSource& source, const std::string& encoding, ErrorMonitor* monitor, bool useBySave);
  ~CodePageDataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  // Returns the parent's number.
  long long RowCount() const override;

  // The name of the encoding of the view's text.
  std::string CharacterEncoding() const;
  // Sets whether the view is made to be saved. It changes nothing else: the constructor has already given its warning.
  void SetUseBySaveCodepage(bool useBySave);

 private:
  std::unique_ptr<Data> _my;
};

#endif
