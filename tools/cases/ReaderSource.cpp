#include "tools/cases/ReaderSource.h"

#include <algorithm>

#include "datasrc/QUAV_InputCaseIterator.h"

namespace tool {

namespace {

class Iterator final : public QUAV_InputCaseIterator {
 public:
  Iterator(const QUAV_DataSource& source, CaseReader& cases, OBS* buffer)
      : QUAV_InputCaseIterator(source, buffer), m_cases(cases) {}

  int IsSeekOK() override { return 0; }
  int Seek(long long) override { return 0; }
  long long Tell() const override { return m_row; }
  int Next() override {
    if (!m_cases.Next()) return 0;
    std::copy_n(m_cases.Cells(), GetDataSource()->GetObsAreaSize(), GetObsPointer(0));
    ++m_row;
    return 1;
  }

 private:
  CaseReader& m_cases;
  long long m_row = 0;
};

}  // namespace

ReaderSource::ReaderSource(const QUAV_DataSource& dictionary, CaseReader& cases)
    : QUAV_DataSource(&dictionary), m_cases(cases) {}

QUAV_InputCaseIterator* ReaderSource::MakeIterator(OBS* buffer) const { return new Iterator(*this, m_cases, buffer); }

}  // namespace tool
