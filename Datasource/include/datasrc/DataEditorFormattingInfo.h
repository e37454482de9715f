// The formatting text of the data editor. The library stores it and does not interpret it.
//
// Threads: a value; one thread at a time for each object.

#ifndef DATASRC_DATAEDITORFORMATTINGINFO_H
#define DATASRC_DATAEDITORFORMATTINGINFO_H

#include <string>

#include "Platform/Export.h"

class DataEditorFormattingInfo {
 public:
  std::string GetInfo() const { return m_info; }
  void SetInfo(const std::string& info) { m_info = info; }

  bool operator==(const DataEditorFormattingInfo&) const = default;

 private:
  std::string m_info;
};

#endif
