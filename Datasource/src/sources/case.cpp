#include "datasrc/QUAV_Case.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_DataSource.h"

QUAV_Case::QUAV_Case(const QUAV_DataSource& source, OBS* buffer)
    : m_source(&source), m_buffer(buffer), m_ownsBuffer(buffer == nullptr) {
  if (!m_ownsBuffer) return;
  m_buffer = std::make_unique<OBS[]>(source.GetObsAreaSize()).release();  // the destructor frees it
  InitCase();
}

QUAV_Case::~QUAV_Case() {
  if (m_ownsBuffer) delete[] m_buffer;
}

OBS* QUAV_Case::GetObsPointer(int column) const { return m_buffer + m_source->ObsIndex(column); }

const char* QUAV_Case::GetStringValue(int column) const { return CellText(GetObsPointer(column)); }

double QUAV_Case::GetNumericValue(int column) const { return CellNumber(*GetObsPointer(column)); }

void QUAV_Case::SetColumnValue(int column, double value) { *GetObsPointer(column) = NumberCell(value); }

void QUAV_Case::SetColumnValue(int column, const char* text, int length) {
  const int tgtlen = m_source->GetVariable(column).GetType();
  QUAV_ASSERT(tgtlen > 0, "tgtlen > 0");
  const std::size_t most = static_cast<std::size_t>(tgtlen);
  const std::size_t size = length < 0 ? strnlen(text, most) : std::min(most, static_cast<std::size_t>(length));
  QUAVMBCopyToFixed_A(GetObsPointer(column), static_cast<int>(FieldSize(tgtlen)), text, static_cast<int>(size));
}

void QUAV_Case::SetColumnValue(int column, const char* text) {
  SetColumnValue(column, text, static_cast<int>(std::strlen(text)));
}

void QUAV_Case::InitCase(int first, int last) {
  m_source->InitCells(m_buffer, static_cast<unsigned int>(first), static_cast<unsigned int>(last - first + 1));
}

void QUAV_Case::InitCase() { m_source->InitCells(m_buffer, 0, static_cast<unsigned int>(m_source->ColumnCount())); }

QUAV_InputCaseIterator* QUAV_Case::MakeIterator(const QUAV_DataSource* source) const {
  return source == nullptr ? nullptr : source->MakeIterator(m_buffer);
}
