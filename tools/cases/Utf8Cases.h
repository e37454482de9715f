// Cases that are read in UTF-8 mode, whatever mode is on around: text comes in as UTF-8, also while it goes out in
// another encoding.
//
// Threads: one thread at a time, while no other works with text.

#ifndef TOOLS_CASES_UTF8CASES_H
#define TOOLS_CASES_UTF8CASES_H

#include "datasrc/SystemFileDataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class Utf8Cases final : public CaseReader {
 public:
  // The cases outlive this object.
  explicit Utf8Cases(CaseReader& cases) : m_cases(cases) {}

  bool Next() override {
    const SystemFileDataSource::TemporaryCodePage utf8("", 1);
    return m_cases.Next();
  }
  const OBS* Cells() const override { return m_cases.Cells(); }
  long long Count() const override { return m_cases.Count(); }

 private:
  CaseReader& m_cases;
};

}  // namespace tool

#endif
