// The data editor's formatting text, which this library keeps and does not interpret.
//
// Threads: a value.

#ifndef DATASRC_DATAEDITORFORMATTINGINFO_H
#define DATASRC_DATAEDITORFORMATTINGINFO_H

#include <string>

class DataEditorFormattingInfo {
 public:
  std::string GetInfo() const { return m_info; }
  void SetInfo(const std::string& info) { m_info = info; }

  bool operator==(const DataEditorFormattingInfo&) const = default;

 private:
  std::string m_info;
};

#endif
