#include "datasrc/QUAV_DataSource.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "Platform/Assert.h"
#include "core/ReplaceByCopy.h"
#include "core/UpperName.h"
#include "sources/QUAV_DataSourceData.h"

namespace {

double theLowNumber = std::bit_cast<double>(kSystemMissingBits);

void AssertType(const QUAV_Variable& variable) {
  const int type = variable.GetType();
  QUAV_ASSERT(0 <= type && type <= MAX_STRING_TYPE, "0 <= type && type <= MAX_STRING_TYPE");
}

// After this the next insertion needs no allocation, so nothing can fail halfway.
void MakeRoomForOneMore(std::vector<QUAV_Variable>& dictionary) {
  if (dictionary.size() == dictionary.capacity()) dictionary.reserve(2 * dictionary.size() + 1);
}

// Returns the identity of a column; the invalid one when the column does not exist.
LocallyUniqueID IdentityAt(const std::vector<QUAV_Variable>& dictionary, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= dictionary.size()) return LocallyUniqueID();
  return dictionary[static_cast<std::size_t>(index)].GetID();
}

// Returns the first column of the name from `first` on and before `end`; -1 when there is none.
int FindUpperName(const std::vector<QUAV_Variable>& dictionary, const char* upperName, int first, int end) {
  const auto begin = dictionary.begin();
  const auto found = std::find_if(begin + first, begin + end, [upperName](const QUAV_Variable& variable) {
    return std::strcmp(variable.GetUpperCaseName(), upperName) == 0;
  });
  return found == begin + end ? -1 : static_cast<int>(found - begin);
}

bool AnySplitVariableIsGone(const QUAV_DataSource& source) {
  const unsigned int count = source.GetNSplitVars();
  for (unsigned int i = 0; i < count; ++i) {
    if (source.GetSplitVarIndex(i) == -1) return true;
  }
  return false;
}

}  // namespace

QUAV_DataSource::QUAV_DataSource() : pData(std::make_unique<Data>()) { pData->fTrends.SetDataSource(this); }

QUAV_DataSource::QUAV_DataSource(const QUAV_DataSource& other) : pData(std::make_unique<Data>(*other.pData)) {
  pData->fTrends.SetDataSource(this);
}

QUAV_DataSource::QUAV_DataSource(const QUAV_DataSource* parent) {
  QUAV_ASSERT(parent != this, "parent != this");
  pData = parent == nullptr ? std::make_unique<Data>() : std::make_unique<Data>(*parent->pData);
  pData->fDirty = true;
  if (parent != nullptr) pData->fParent = parent;
  pData->fTrends.SetDataSource(this);
}

QUAV_DataSource::~QUAV_DataSource() = default;

unsigned int QUAV_DataSource::GetNSplitVars() const { return pData->fnSplitVars; }

int QUAV_DataSource::GetSplitVarIndex(unsigned int index) const {
  QUAV_ASSERT(index < pData->fnSplitVars, "index < pData->fnSplitVars");
  return FindVarIndex(pData->fSplitVars[index]);
}

LocallyUniqueID QUAV_DataSource::GetSplitVarID(unsigned int index) const {
  QUAV_ASSERT(index < pData->fnSplitVars, "index < pData->fnSplitVars");
  return pData->fSplitVars[index];
}

bool QUAV_DataSource::GetSplitqSeparate() const { return pData->fSplitSeparate; }

unsigned int QUAV_DataSource::GetObsAreaSize() const { return pData->fObs.TotalCells(); }

long long QUAV_DataSource::RowCount() const { return -1; }

bool QUAV_DataSource::IsLoaded() const { return true; }

double QUAV_DataSource::SystemMissing() { return std::bit_cast<double>(kSystemMissingBits); }

double QUAV_DataSource::HighNumber() { return std::bit_cast<double>(kHighNumberBits); }

double QUAV_DataSource::LowNumber() { return theLowNumber; }

std::size_t QUAV_DataSource::ColumnCount() const { return pData->fDictionary.size(); }

const QUAV_Variable& QUAV_DataSource::GetVariable(int index) const {
  QUAV_ASSERT(0 <= index, "0 <= index");
  QUAV_ASSERT(std::size_t(index) < pData->fDictionary.size(), "size_t(index) < pData->fDictionary.size()");
  return pData->fDictionary[static_cast<std::size_t>(index)];
}

QUAV_Variable& QUAV_DataSource::GetVariable(int index) {
  return const_cast<QUAV_Variable&>(std::as_const(*this).GetVariable(index));
}

void QUAV_DataSource::SetVariable(long index, const QUAV_Variable& variable) {
  QUAV_ASSERT(0 <= index, "0 <= index");
  QUAV_ASSERT(std::size_t(index) < pData->fDictionary.size(), "size_t(index) < pData->fDictionary.size()");
  AssertType(variable);
  QUAV_Variable& stored = pData->fDictionary[static_cast<std::size_t>(index)];
  // Contract: the layout changes first, even if the identities then turn out to differ.
  pData->fObs.SetVariable(static_cast<unsigned int>(index), stored.GetType(), variable.GetType());
  QUAV_ASSERT(stored.GetID() == variable.GetID(), "pData->fDictionary[index].GetID() == var.GetID()");
  stored = variable;
  pData->fDirty = true;
}

void SetAllVariables(QUAV_DataSource& source, std::vector<QUAV_Variable> variables) {
  QUAV_DataSource::Data& data = *source.pData;
  QUAV_ASSERT(variables.size() == data.fDictionary.size(), "variables.size() == pData->fDictionary.size()");
  QUAV_DSObs layout;
  for (std::size_t index = 0; index < variables.size(); ++index) {
    const QUAV_Variable& variable = variables[index];
    AssertType(variable);
    QUAV_ASSERT(data.fDictionary[index].GetID() == variable.GetID(),
                "pData->fDictionary[index].GetID() == var.GetID()");
    layout.AddVariable(variable.GetType());
  }
  data.fObs = std::move(layout);
  data.fDictionary = std::move(variables);
  data.fDirty = true;
}

QUAV_Variable& QUAV_DataSource::InsertVariable(long varAfter, const QUAV_Variable& variable) {
  QUAV_ASSERT(0 <= varAfter && varAfter <= static_cast<long>(pData->fDictionary.size()),
              "0 <= varAfter && varAfter <= (long)pData->fDictionary.size()");
  AssertType(variable);
  QUAV_Variable copy(variable);
  MakeRoomForOneMore(pData->fDictionary);
  pData->fObs.InsertVariable(static_cast<unsigned int>(varAfter), copy.GetType());
  const auto stored = pData->fDictionary.insert(pData->fDictionary.begin() + varAfter, std::move(copy));
  pData->fDirty = true;
  return *stored;
}

QUAV_Variable& QUAV_DataSource::MakeVariable(const QUAV_Variable& variable, unsigned int* column) {
  const std::size_t last = ColumnCount();
  QUAV_Variable& stored = InsertVariable(static_cast<long>(last), variable);
  if (column != nullptr) *column = static_cast<unsigned int>(last);
  return stored;
}

QUAV_Variable& QUAV_DataSource::MakeVariable(int type, unsigned int* column) {
  return MakeVariable(QUAV_Variable(type), column);
}

void QUAV_DataSource::DeleteVariables(int start, int finish) {
  QUAV_ASSERT(finish < static_cast<int>(ColumnCount()), "finish < (int) ColumnCount()");
  if (finish < 0 || finish + 1 == start) return;  // an empty range changes nothing
  QUAV_ASSERT(0 <= start && start <= finish, "0 <= start && start <= finish");
  const auto begin = pData->fDictionary.begin();
  pData->fDictionary.erase(begin + start, begin + finish + 1);
  pData->fObs.DeleteVariables(static_cast<unsigned int>(start), static_cast<unsigned int>(finish));
  if (AnySplitVariableIsGone(*this)) SetSplit(0, nullptr, false);
  pData->fDirty = true;
}

int QUAV_DataSource::FindVarIndex(LocallyUniqueID id) const {
  const auto& dictionary = pData->fDictionary;
  const auto found = std::ranges::find(dictionary, id, &QUAV_Variable::GetID);
  return found == dictionary.end() ? -1 : static_cast<int>(found - dictionary.begin());
}

int QUAV_DataSource::FindVarIndex(const char* name, int start) const {
  const std::string upperName = SoughtUpperName(name);
  const int count = static_cast<int>(ColumnCount());
  const int first = 0 <= start && start < count ? start : 0;
  const int found = FindUpperName(pData->fDictionary, upperName.c_str(), first, count);
  return found != -1 ? found : FindUpperName(pData->fDictionary, upperName.c_str(), 0, first);
}

LocallyUniqueID QUAV_DataSource::GetWeightVariableID() const { return pData->fWeightVar; }

LocallyUniqueID QUAV_DataSource::GetFilterVariableID() const { return pData->fFilterVar; }

int QUAV_DataSource::GetWeightVarIndex() const {
  return pData->fWeightVar.IsValid() ? FindVarIndex(pData->fWeightVar) : -1;
}

int QUAV_DataSource::GetFilterVarIndex() const {
  return pData->fFilterVar.IsValid() ? FindVarIndex(pData->fFilterVar) : -1;
}

void QUAV_DataSource::SetWeightVar(int index) {
  const LocallyUniqueID id = IdentityAt(pData->fDictionary, index);
  if (id == pData->fWeightVar) return;
  pData->fWeightVar = id;
  pData->fDirty = true;
}

void QUAV_DataSource::SetFilterVar(int index) { pData->fFilterVar = IdentityAt(pData->fDictionary, index); }

const char* QUAV_DataSource::GetLabel() const { return pData->fHasLabel ? pData->fLabel.c_str() : nullptr; }

void QUAV_DataSource::SetLabel(const char* label) {
  pData->fLabel = label != nullptr ? label : "";
  pData->fHasLabel = label != nullptr;
  pData->fDirty = true;
}

int QUAV_DataSource::ObsIndex(int column) const { return pData->fObs.GetObsIndex(column); }

void QUAV_DataSource::InitCells(OBS* cells, unsigned int firstVar, unsigned int nVars) const {
  const std::size_t end = std::size_t{firstVar} + nVars;
  QUAV_ASSERT(end <= ColumnCount(), "firstVar+nVars <= ColumnCount()");
  OBS* cell = cells + ObsIndex(static_cast<int>(firstVar));
  for (std::size_t column = firstVar; column < end; ++column) {
    const int type = pData->fDictionary[column].GetType();
    cell = std::fill_n(cell, CellCount(type), type == 0 ? kSystemMissingCell : kBlankCell);
  }
}

bool QUAV_DataSource::IsDirty() const { return pData->fDirty; }

void QUAV_DataSource::SetDirty(bool dirty) {
  pData->fDirty = dirty;
  pData->fIndexValid = false;
}

bool QUAV_DataSource::IsIndexValid() const { return pData->fIndexValid; }

void QUAV_DataSource::SetIndexValid(bool valid) { pData->fIndexValid = valid; }

double QUAV_DataSource::GetTimestamp() const { return pData->fTimestamp; }

void QUAV_DataSource::SetTimestamp(double timestamp) { pData->fTimestamp = timestamp; }

void QUAV_DataSource::SetTimestamp() { pData->fTimestamp = Data::PresentTime(); }

long long QUAV_DataSource::RowsPerImputation() const { return pData->fRowsPerImputation; }

void QUAV_DataSource::RowsPerImputation(long long rows) { pData->fRowsPerImputation = rows; }

const char* QUAV_DataSource::GetFileSpec() const { return pData->fFileSpec.GetGeneric().c_str(); }

const ExtNameStr& QUAV_DataSource::GetFileSpecExt() const { return pData->fFileSpec; }

void QUAV_DataSource::SetFileSpec(const char* name) {
  ExtNameStr spec;
  if (name != nullptr) spec.SetGeneric(name);
  pData->fFileSpec = std::move(spec);
}

void QUAV_DataSource::SetFileSpec(const ExtNameStr& name) { ReplaceByCopy(pData->fFileSpec, name); }

const DatasourceAttributes& QUAV_DataSource::GetAttributes() const { return pData->fAttributes; }

void QUAV_DataSource::SetAttributes(const DatasourceAttributes& attributes) {
  ReplaceByCopy(pData->fAttributes, attributes);
  pData->fDirty = true;
}

QUAV_TrendsInfo& QUAV_DataSource::GetTrendsInfo() { return pData->fTrends; }

const QUAV_TrendsInfo& QUAV_DataSource::GetTrendsInfo() const { return pData->fTrends; }

const SortIndexInfo& QUAV_DataSource::GetSortIndexInfo() const { return pData->fSortIndex; }

const DataEditorFormattingInfo& QUAV_DataSource::GetDEFormattingInfo() const { return pData->fDEFormatting; }

void QUAV_DataSource::SetDEFormattingInfo(const DataEditorFormattingInfo& info) {
  ReplaceByCopy(pData->fDEFormatting, info);
  pData->fDirty = true;
}
