#include "datasrc/CaseValue.h"

#include <algorithm>
#include <cstring>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_DataSource.h"

CaseValue::CaseValue(QUAV_InputCaseIterator& iterator, unsigned int column) : _column(column) { SetIterator(iterator); }

void CaseValue::SetIterator(QUAV_InputCaseIterator& iterator) {
  const int column = static_cast<int>(_column);
  _pValue = iterator.GetObsPointer(column);
  _variable = &iterator.GetDataSource()->GetVariable(column);
  _type = static_cast<unsigned short>(_variable->GetType());
}

bool CaseValue::IsNull() const {
  if (_type == 0) return *_pValue == kSystemMissingCell;
  const char* text = CellText(_pValue);
  return std::all_of(text, text + _type, [](char c) { return c == ' '; });
}

bool CaseValue::IsMissing(bool user) const {
  if (user) return IsMissing();
  return _type == 0 && *_pValue == kSystemMissingCell;
}

bool CaseValue::IsMissing() const { return _variable->IsMissing(_pValue) != 0; }

void CaseValue::SetValue(double value) {
  QUAV_ASSERT(_type == 0, "_type == 0");
  *_pValue = NumberCell(value + 0.0);  // -0.0 + 0.0 is 0.0
}

void CaseValue::SetValue(const char* text) {
  QUAV_ASSERT(_type != 0, "_type != 0");
  LastCell() = kBlankCell;
  QUAVMBCopyToFixed_A(_pValue, _type, text, static_cast<int>(std::strlen(text)));
}

void CaseValue::SetValue(const OBS& value) {
  QUAV_ASSERT(_pValue, "_pValue");
  if (_type == 0) {
    SetValue(CellNumber(value));
    return;
  }
  if (&value == _pValue) return;  // its own cells, which the blanks would overwrite
  LastCell() = kBlankCell;
  std::copy_n(CellText(&value), _type, CellText(_pValue));
}

OBS& CaseValue::LastCell() const { return _pValue[CellCount(_type) - 1]; }
