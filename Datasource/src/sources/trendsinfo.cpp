#include "datasrc/QUAV_TrendsInfo.h"

#include <cstring>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/serial/VStream.h"
#include "core/ReplaceByCopy.h"
#include "datasrc/QUAV_DataSource.h"

const char* const QUAV_TrendsInfo::pszDateVarNames[12] = {"",     "CYCLE_", "YEAR_",   "QUARTER_", "MONTH_", "WEEK_",
                                                          "DAY_", "HOUR_",  "MINUTE_", "SECOND_",  "OBS_",   "DATE_"};

namespace {

// A bound has a case number only when it is set and not by date.
template <class Bound>
Bound MakeBound(bool set, bool byDate, long caseNumber) {
  if (!set) return {};
  return {true, byDate, byDate ? 0 : static_cast<int>(caseNumber)};
}

template <class Span>
void GetSpan(const Span& span, bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) {
  set1 = span.first.set;
  date1 = span.first.byDate;
  case1 = span.first.caseNumber;
  set2 = span.last.set;
  date2 = span.last.byDate;
  case2 = span.last.caseNumber;
}

template <class Bound>
OBS CellAt(const Bound& bound, OBS cell) {
  return bound.set && bound.byDate ? cell : kSystemMissingCell;
}

template <class Bound>
void DropUnlessByCase(Bound& bound) {
  if (!bound.set || bound.byDate) bound = {};
}

}  // namespace

QUAV_TrendsInfo& QUAV_TrendsInfo::operator=(const QUAV_TrendsInfo& other) {
  ReplaceByCopy(fData, other.fData);
  return *this;
}

QUAV_TrendsInfo& QUAV_TrendsInfo::operator=(QUAV_TrendsInfo&& other) noexcept {
  fData = std::move(other.fData);
  return *this;
}

QUAV_TrendsInfo::~QUAV_TrendsInfo() = default;

// ---- Start and period ----

void QUAV_TrendsInfo::SetStart(int first, int second) {
  fData.startFirst = first;
  fData.startSecond = second;
}

void QUAV_TrendsInfo::GetStart(int& first, int& second) const {
  first = fData.startFirst;
  second = fData.startSecond;
}

void QUAV_TrendsInfo::SetPeriod(bool set, int period) {
  fData.periodSet = set;
  fData.period = period;
}

void QUAV_TrendsInfo::GetPeriod(bool& set, int& period) const {
  set = fData.periodSet;
  period = fData.period;
}

// ---- Date variables ----

void QUAV_TrendsInfo::SetNDateVars(int nDateVars) {
  QUAV_ASSERT(nDateVars < eMaxDateVars, "nDateVars < eMaxDateVars");
  std::vector<DateEntry> entries(nDateVars > 0 ? static_cast<std::size_t>(nDateVars) + 1 : 0);
  Reset(true);
  fData.fnDateVars = nDateVars;
  fData.fVars = std::move(entries);
}

void QUAV_TrendsInfo::SetDateVar(int iDateVar, int var, int iType, int third) {
  QUAV_ASSERT(iDateVar >= 0 && !fData.fVars.empty(), "iDateVar >= 0 && fData.fVars != 0");
  QUAV_ASSERT(
      iDateVar < fData.fnDateVars || (iDateVar == fData.fnDateVars && (iType == e_DATKEY || iType == e_NONE)),
      "iDateVar < fData.fnDateVars || (iDateVar == fData.fnDateVars && (iType == e_DATKEY || iType == e_NONE))");
  DateEntry& entry = Entry(iDateVar);
  entry.type = iType;
  if (iType == e_NONE) return;
  entry.column = var;
  entry.third = third;
  entry.id = fpDataSource != nullptr ? fpDataSource->GetVariable(var).GetID() : LocallyUniqueID();
}

void QUAV_TrendsInfo::GetDateVar(int iDateVar, int& var, int& iType, int& third) const {
  QUAV_ASSERT(iDateVar >= 0 && iDateVar <= fData.fnDateVars && !fData.fVars.empty(),
              "iDateVar >= 0 && iDateVar <= fData.fnDateVars && fData.fVars != 0");
  const DateEntry& entry = Entry(iDateVar);
  var = entry.column;
  iType = entry.type;
  third = entry.third;
}

LocallyUniqueID QUAV_TrendsInfo::GetDateVarID(int iDateVar) const {
  QUAV_ASSERT(iDateVar >= 0 && iDateVar <= fData.fnDateVars && !fData.fVars.empty(),
              "iDateVar >= 0 && iDateVar <= fData.fnDateVars && fData.fVars != 0");
  return Entry(iDateVar).id;
}

// ---- Spans ----

void QUAV_TrendsInfo::SetUse(bool set1, bool date1, long case1, bool set2, bool date2, long case2) {
  fData.use = {MakeBound<Bound>(set1, date1, case1), MakeBound<Bound>(set2, date2, case2)};
  for (int i = 0; i < fData.fnDateVars; ++i) Entry(i).use = {};
}

void QUAV_TrendsInfo::GetUse(bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) const {
  GetSpan(fData.use, set1, date1, case1, set2, date2, case2);
}

void QUAV_TrendsInfo::SetPred(bool set1, bool date1, long case1, bool set2, bool date2, long case2) {
  fData.prediction = {MakeBound<Bound>(set1, date1, case1), MakeBound<Bound>(set2, date2, case2)};
  for (int i = 0; i < fData.fnDateVars; ++i) Entry(i).prediction = {};
}

void QUAV_TrendsInfo::GetPred(bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) const {
  GetSpan(fData.prediction, set1, date1, case1, set2, date2, case2);
}

void QUAV_TrendsInfo::SetUseVar(int iDateVar, OBS first, OBS last) {
  QUAV_ASSERT(IsDateVar(iDateVar), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  Entry(iDateVar).use = {CellAt(fData.use.first, first), CellAt(fData.use.last, last)};
}

void QUAV_TrendsInfo::GetUseVar(int iDateVar, OBS& first, OBS& last) const {
  QUAV_ASSERT(IsDateVar(iDateVar), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  first = Entry(iDateVar).use.first;
  last = Entry(iDateVar).use.last;
}

void QUAV_TrendsInfo::SetPredVar(int iDateVar, OBS first, OBS last) {
  QUAV_ASSERT(IsDateVar(iDateVar), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  Entry(iDateVar).prediction = {CellAt(fData.prediction.first, first), CellAt(fData.prediction.last, last)};
}

void QUAV_TrendsInfo::GetPredVar(int iDateVar, OBS& first, OBS& last) const {
  QUAV_ASSERT(IsDateVar(iDateVar), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  first = Entry(iDateVar).prediction.first;
  last = Entry(iDateVar).prediction.last;
}

// ---- All of it ----

void QUAV_TrendsInfo::Reset(bool keep) {
  fData.fnDateVars = 0;
  fData.fVars.clear();
  fData.startFirst = fData.startSecond = 1;
  if (!keep || !fData.periodSet) fData.period = 1;
  for (Span* span : {&fData.use, &fData.prediction}) {
    if (!keep) *span = {};
    DropUnlessByCase(span->first);
    DropUnlessByCase(span->last);
  }
}

// Returns whether the variable exists with its name and type. Sets `isLost` when it does not exist at all.
bool QUAV_TrendsInfo::IsValid(DateEntry& entry, bool& isLost) const {
  const auto isAt = [&](int column) {
    return 0 <= column && column < static_cast<int>(fpDataSource->ColumnCount()) &&
           fpDataSource->GetVariable(column).GetID() == entry.id;
  };
  if (!isAt(entry.column)) {
    const int column = fpDataSource->FindVarIndex(entry.id);
    isLost = column < 0;
    if (isLost) return false;
    entry.column = column;
  }
  const QUAV_Variable& variable = fpDataSource->GetVariable(entry.column);
  const bool isKnown = 0 <= entry.type && entry.type <= e_DATKEY;
  return isKnown && std::strcmp(variable.GetUpperCaseName(), pszDateVarNames[entry.type]) == 0 &&
         (variable.GetType() != 0) == (entry.type == e_DATKEY);
}

bool QUAV_TrendsInfo::Validate() {
  QUAV_ASSERT(fpDataSource, "fpDataSource");
  if (fData.fnDateVars < 1) return true;
  bool isValid = true;
  for (int i = 0; i <= fData.fnDateVars; ++i) {
    DateEntry& entry = Entry(i);
    bool isLost = false;
    if (entry.type == e_NONE || IsValid(entry, isLost)) continue;
    isValid = false;
    if (isLost && i == fData.fnDateVars) {
      entry = {};
      continue;
    }
    Reset(true);
    break;
  }
  return isValid;
}

bool QUAV_TrendsInfo::UpdateVarIDs(const QUAV_DataSource* source) {
  if (source == nullptr || fData.fnDateVars < 1) return true;
  bool all = true;
  for (DateEntry& entry : fData.fVars) {
    if (entry.column < 0) {
      all = all && entry.type == e_NONE;
      continue;
    }
    entry.id = fpDataSource->GetVariable(entry.column).GetID();
    all = all && entry.id.IsValid();
  }
  return all;
}

void QUAV_TrendsInfo::Serialize(VStream& stream) {
  const auto serializeBound = [&stream](Bound& bound) {
    stream.Bool(bound.set);
    stream.Bool(bound.byDate);
    stream.Int(bound.caseNumber);
  };
  stream.Int(fData.fnDateVars);
  stream.Int(fData.startFirst);
  stream.Int(fData.startSecond);
  stream.Bool(fData.periodSet);
  stream.Int(fData.period);
  for (Bound* bound : {&fData.use.first, &fData.use.last, &fData.prediction.first, &fData.prediction.last})
    serializeBound(*bound);
  if (stream.IsLoading()) {
    // An impossible number must not become the size of an array.
    int nDateVars = std::exchange(fData.fnDateVars, 0);
    if (nDateVars < 0 || nDateVars >= eMaxDateVars) nDateVars = 0;
    fData.fVars.clear();
    if (nDateVars > 0) fData.fVars.resize(static_cast<std::size_t>(nDateVars) + 1);
    fData.fnDateVars = nDateVars;
  }
  for (DateEntry& entry : fData.fVars) {
    stream.Int(entry.column);
    stream.Int(entry.type);
    stream.Int(entry.third);
    for (OBS* cell : {&entry.use.first, &entry.use.last, &entry.prediction.first, &entry.prediction.last})
      stream.Value(cell->bits);
  }
}

bool QUAV_TrendsInfo::operator==(const QUAV_TrendsInfo& other) const {
  const Fields& a = fData;
  const Fields& b = other.fData;
  if (a.fnDateVars != b.fnDateVars || a.startFirst != b.startFirst || a.startSecond != b.startSecond ||
      a.periodSet != b.periodSet || a.period != b.period || a.use != b.use || a.prediction != b.prediction)
    return false;
  for (int i = 0; i < a.fnDateVars; ++i)
    if (Entry(i) != other.Entry(i)) return false;
  if (a.fnDateVars < 1) return true;
  const DateEntry& key = Entry(a.fnDateVars);
  const DateEntry& otherKey = other.Entry(b.fnDateVars);
  return key.id == otherKey.id && key.column == otherKey.column && key.type == otherKey.type;
}
