// Reads cases in UTF-8 mode, whatever the mode of the caller: the input text is UTF-8 even while the output is in
// another encoding.
//
// Threads: one thread at a time. In another mode, while no other thread uses the present encoding.

#ifndef TOOLS_CASES_UTF8CASES_H
#define TOOLS_CASES_UTF8CASES_H

#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class Utf8Cases final : public CaseReader {
 public:
  // The cases outlive this object.
  explicit Utf8Cases(CaseReader& cases) : m_cases(cases) {}

  bool Next() override {
    if (qUTF8mode() != 0) return m_cases.Next();
    const SystemFileDataSource::TemporaryCodePage utf8("", 1);
    return m_cases.Next();
  }
  const OBS* Cells() const override { return m_cases.Cells(); }
  long long Count() const override { return m_cases.Count(); }
  void Report() const override { m_cases.Report(); }

 private:
  CaseReader& m_cases;
};

}  // namespace tool

#endif
