#include "datasrc/QUAV_FortranDictionary.h"

#include <algorithm>
#include <utility>

#include "Platform/Assert.h"
#include "datasrc/IndependentDataStore.h"

const QUAV_Variable QUAV_FortranDictionary::kTheExtension(-1);

SvrDMInputDataSource::~SvrDMInputDataSource() = default;

namespace {

// Appends the slots of a variable: its column, then -1 for each further cell.
void AppendSlots(std::vector<int>& columns, int column, int type) {
  columns.push_back(column);
  for (int covered = 8; covered < type; covered += 8) columns.push_back(-1);
}

}  // namespace

QUAV_FortranDictionary::QUAV_FortranDictionary(QUAV_DataSource& source) : fpDataSource(&source) { ReIndex(); }

QUAV_FortranDictionary::~QUAV_FortranDictionary() = default;

// ---- Slots ----

void QUAV_FortranDictionary::ReIndex() {
  fColumns.clear();
  const int count = static_cast<int>(fpDataSource->ColumnCount());
  for (int column = 0; column < count; ++column)
    AppendSlots(fColumns, column, std::as_const(*fpDataSource).GetVariable(column).GetType());
}

int QUAV_FortranDictionary::ColumnAt(int slot) const {
  if (slot < 1 || static_cast<std::size_t>(slot) > fColumns.size()) return -1;
  return fColumns[static_cast<std::size_t>(slot) - 1];
}

QUAV_Variable& QUAV_FortranDictionary::MakeVariable(int type, unsigned int* column) {
  unsigned int made = 0;
  QUAV_Variable& variable = fpDataSource->MakeVariable(type, &made);
  AppendSlots(fColumns, static_cast<int>(made), type);
  if (column != nullptr) *column = made;
  return variable;
}

const QUAV_Variable& QUAV_FortranDictionary::GetVariable(int slot) const {
  const int index = ColumnAt(slot);
  return index < 0 ? kTheExtension : std::as_const(*fpDataSource).GetVariable(index);
}

QUAV_Variable& QUAV_FortranDictionary::GetVariable(int slot) {
  const int index = ColumnAt(slot);
  QUAV_ASSERT(0 <= index, "0 <= index");
  return fpDataSource->GetVariable(index);
}

void QUAV_FortranDictionary::Truncate(unsigned int n) {
  if (n >= fColumns.size()) return;
  const int mark = fColumns[n];
  QUAV_ASSERT(0 <= mark, "0 <= mark");
  fpDataSource->DeleteVariables(mark, static_cast<int>(fpDataSource->ColumnCount()) - 1);
  fColumns.resize(n);
}

// ---- Cases ----

void QUAV_FortranDictionary::ReadCase(OBS* buffer, int& eof) {
  QUAV_ASSERT(fIOStatus != kWrite, "fIOStatus != kWrite");
  if (fIOStatus == kIdle) {
    QUAV_ASSERT(!fpIterator, "!fpIterator");
    QUAV_ASSERT(GetLUN(), "GetLUN()");
    fIOStatus = kRead;
    fpIterator.reset(fpDataSource->MakeIterator(nullptr));
  }
  eof = fpIterator->Next() == 0;
  if (!eof) std::copy_n(fpIterator->GetObsPointer(0), fColumns.size(), buffer);
}

void QUAV_FortranDictionary::WriteCase(OBS* buffer) {
  QUAV_ASSERT(fIOStatus != kRead, "fIOStatus != kRead");
  auto& store = dynamic_cast<IndependentDataStore&>(*fpDataSource);
  if (fIOStatus == kIdle) {
    QUAV_ASSERT(Count(), "Count()");
    QUAV_ASSERT(GetLUN(), "GetLUN()");
    fIOStatus = kWrite;
  }
  store.AddRow(buffer);
}

void QUAV_FortranDictionary::SetIterator(QUAV_InputCaseIterator* iterator) { fpIterator.reset(iterator); }

QUAV_InputCaseIterator* QUAV_FortranDictionary::GetIterator() const {
  QUAV_ASSERT(fpIterator, "fpIterator");
  return fpIterator.get();
}

void QUAV_FortranDictionary::DeleteIterator() { fpIterator.reset(); }

void QUAV_FortranDictionary::Quiesce() {
  DeleteIterator();
  fIOStatus = kIdle;
}

void QUAV_FortranDictionary::SetGuard(SvrDMInputDataSource* guard) { fpGuard.reset(guard); }
