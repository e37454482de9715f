#include "datasrc/QUAV_InputCaseIterator.h"

#include "datasrc/QUAV_DataSource.h"

QUAV_InputCaseIterator::QUAV_InputCaseIterator(const QUAV_DataSource& source, OBS* buffer)
    : m_case(std::make_unique<QUAV_Case>(source, buffer)) {
  source.IteratorMade(this);
}

QUAV_InputCaseIterator::~QUAV_InputCaseIterator() = default;

void QUAV_InputCaseIterator::SetErrorMonitor(ErrorMonitor* monitor) {
  m_case->SetErrorMonitor(monitor);
  if (GetParent() != nullptr) GetParent()->SetErrorMonitor(monitor);
}

void QUAV_InputCaseIterator::SetParent(QUAV_InputCaseIterator* parent) {
  m_case->SetParent(parent);
  if (parent != nullptr) parent->SetErrorMonitor(GetErrorMonitor());
}
