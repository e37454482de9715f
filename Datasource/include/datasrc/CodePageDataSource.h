// A source whose text is UTF-8, shown in another encoding. UTF8DataSource goes the other way.
//
// The dictionary is converted once, at construction; the string cells of each case as the view's iterators deliver
// them. Widths stay, so a field has the cells that it has in the parent, and its text can be cut.
//
// Text that has no form in the encoding becomes what the encoding has for it (a substitute), or is cut; nothing fails.
// When that happened to any text of the dictionary, the monitor is warned, once: number 1711, or 1712 for a view that
// is made to save it. For cases there is no warning. Documents, extension blocks, the sort index and the formatting of
// the data editor are left as they are, as bytes.
//
// The parent is not owned and must outlive the view, as the view must its iterators; DeleteLine ends them all.
//
// Threads: one writer, or several readers; iterators may be on different threads where those of the parent may.

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

  // Shows `source` in the encoding of that name. The monitor may be null, and is used here only. Names of variables
  // that are no good in the encoding, or have become equal, are mended. Asserts that there is such an encoding:
  // "_my->_converter".
  CodePageDataSource(const QUAV_DataSource& source, const std::string& encoding, ErrorMonitor* monitor, bool useBySave);
  ~CodePageDataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  // The parent's.
  long long RowCount() const override;

  // The name of the encoding that the text is shown in.
  std::string CharacterEncoding() const;
  // Says what the view is for. A warning that construction gave is not called back.
  void SetUseBySaveCodepage(bool useBySave);

 private:
  std::unique_ptr<Data> _my;
};

#endif
