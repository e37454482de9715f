#include "datasrc/QUAV_CProjection.h"

#include "datasrc/QUAV_InputCaseIterator.h"

namespace {

// Without a parent there are no cases.
class QUAV_CProjectionIterator : public QUAV_InputCaseIterator {
 public:
  QUAV_CProjectionIterator(const QUAV_CProjection& projection, const ObsProjector& projector, OBS* buffer)
      : QUAV_InputCaseIterator(projection, buffer), m_cells(GetObsPointer(0)), m_projector(projector) {
    const QUAV_DataSource* const parent = projection.GetParentSource();
    if (parent == nullptr) return;
    m_parent.reset(parent->MakeIterator(nullptr));
    m_parentCells = m_parent->GetObsPointer(0);
    SetParent(m_parent.get());
  }

  int IsSeekOK() override { return m_parent ? m_parent->IsSeekOK() : 0; }
  int Seek(long long row) override { return m_parent ? m_parent->Seek(row) : 0; }
  long long Tell() const override { return m_parent ? m_parent->Tell() : 0; }
  int Next() override {
    if (!m_parent) return 0;
    const int result = m_parent->Next();
    if (result != 0) m_projector.Copy(m_parentCells, m_cells);
    return result;
  }

 private:
  std::unique_ptr<QUAV_InputCaseIterator> m_parent;  // null without a parent source
  const OBS* m_parentCells = nullptr;
  OBS* const m_cells;
  const ObsProjector& m_projector;  // owned by the projection
};

}  // namespace

QUAV_CProjection::QUAV_CProjection(const QUAV_DataSource& source, const unsigned int* varIndex, unsigned int n)
    : QUAV_DataSource(&source), m_projector(std::make_unique<ObsProjector>()) {
  const int formerCount = static_cast<int>(ColumnCount());
  for (unsigned int i = 0; i < n; ++i) MakeVariable(source.GetVariable(static_cast<int>(varIndex[i])), nullptr);
  DeleteVariables(0, formerCount - 1);
  m_projector->FromSourceIndexes(n, varIndex, source);
}

QUAV_CProjection::QUAV_CProjection(const QUAV_DataSource& source, const int* targetIndex)
    : QUAV_DataSource(&source), m_projector(std::make_unique<ObsProjector>()) {
  m_projector->FromTargetIndexes(source.ColumnCount(), targetIndex);
}

QUAV_CProjection::~QUAV_CProjection() = default;

QUAV_InputCaseIterator* QUAV_CProjection::MakeIterator(OBS* buffer) const {
  return new QUAV_CProjectionIterator(*this, *m_projector, buffer);
}

long long QUAV_CProjection::RowCount() const {
  const QUAV_DataSource* const parent = GetParentSource();
  return parent != nullptr ? parent->RowCount() : -1;
}
