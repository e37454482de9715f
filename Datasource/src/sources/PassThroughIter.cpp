#include "datasrc/PassThroughIter.h"

#include "datasrc/QUAV_DataSource.h"

PassThroughIter::PassThroughIter(const QUAV_DataSource& view, OBS* buffer, const ObsProjector* projector)
    : QUAV_InputCaseIterator(view, buffer), m_projector(projector) {
  const QUAV_DataSource* const parent = view.GetParentSource();
  if (parent != nullptr) m_parent.reset(parent->MakeIterator(projector == nullptr ? GetObsPointer(0) : nullptr));
}

PassThroughIter::~PassThroughIter() = default;

int PassThroughIter::IsSeekOK() { return m_parent ? m_parent->IsSeekOK() : 0; }

int PassThroughIter::Seek(long long row) { return m_parent ? m_parent->Seek(row) : 0; }

long long PassThroughIter::Tell() const { return m_parent ? m_parent->Tell() : 0; }

int PassThroughIter::Next() {
  if (!m_parent) return 0;
  const int result = m_parent->Next();
  if (result != 0 && m_projector != nullptr) m_projector->Copy(m_parent->GetObsPointer(0), GetObsPointer(0));
  return result;
}
