#include "datasrc/QUAV_DataCell.h"

#include <algorithm>
#include <cstring>

#include "Platform/text/QUAVMB.h"

QUAV_DataCell::QUAV_DataCell(const QUAV_DataSource& source, int column, QUAV_InputCaseIterator& iterator)
    : m_variable(&source.GetVariable(column)),
      m_cell(iterator.GetObsPointer(column)),
      m_type(static_cast<unsigned short>(m_variable->GetType())),
      m_maxText(m_type == 0 ? sizeof(OBS) : m_type),
      m_fieldSize(FieldSize(m_type)) {}

QUAV_DataCell::QUAV_DataCell(const QUAV_DataSource& source, int column, OBS* cells)
    : m_variable(&source.GetVariable(column)),
      m_cell(cells + source.ObsIndex(column)),
      m_type(static_cast<unsigned short>(m_variable->GetType())),
      m_maxText(m_type == 0 ? sizeof(OBS) : m_type),
      m_fieldSize(FieldSize(m_type)) {}

QUAV_DataCell& QUAV_DataCell::operator=(const OBS& value) {
  std::memmove(m_cell, &value, m_fieldSize);
  return *this;
}

QUAV_DataCell& QUAV_DataCell::operator=(const char* text) {
  SetTo(text, static_cast<unsigned int>(std::strlen(text)));
  return *this;
}

void QUAV_DataCell::SetTo(const char* text, unsigned int length) {
  const auto fitting = static_cast<int>(std::min<unsigned int>(length, m_maxText));
  QUAVMBCopyToFixed_A(m_cell, static_cast<int>(m_fieldSize), text, fitting);
}

bool QUAV_DataCell::IsMissing() const { return m_variable->IsMissing(m_cell) != 0; }
