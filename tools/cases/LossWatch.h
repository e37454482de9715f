// Passes on cases that will be converted to another encoding and counts the values that will lose text, because no view
// reports them.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_LOSSWATCH_H
#define TOOLS_CASES_LOSSWATCH_H

#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class LossWatch final : public CaseReader {
 public:
  // The cases are in UTF-8 and in the layout of the dictionary; both outlive this object. The encoding must be a known
  // one.
  LossWatch(CaseReader& cases, const QUAV_DataSource& dictionary, const std::string& encoding);

  bool Next() override;
  void Report() const override { m_cases.Report(); }
  const OBS* Cells() const override { return m_cases.Cells(); }
  long long Count() const override { return m_cases.Count(); }

  // Returns the number of values so far that have characters missing in the encoding or are too long for their field in
  // it.
  long long LostValues() const { return m_lostValues; }

 private:
  struct Field {
    std::size_t cell;
    int width;  // in bytes, the same in both encodings
  };

  bool IsLost(std::string_view value, int width);

  CaseReader& m_cases;
  std::vector<Field> m_fields;
  QUAVMBConverterPtr m_converter;
  bool m_keepsAscii;
  char m_blank;  // in the encoding
  std::vector<char> m_room;
  long long m_lostValues = 0;
};

}  // namespace tool

#endif
