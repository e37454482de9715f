// The services of a data source besides its dictionary: good names, extension blocks, observers, parents, the split,
// sets, and the copying of a whole dictionary.

#include "datasrc/QUAV_DataSource.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"
#include "core/ReplaceByCopy.h"
#include "datasrc/VariableNames.h"
#include "sources/QUAV_DataSourceData.h"

namespace {

// MaxExtensionType never returns less: handlers may exist for all types up to this one.
constexpr int kLeastMaxExtensionType = 25;

}  // namespace

void QUAV_DataSource::Observer::IteratorMade(QUAV_InputCaseIterator*) {}

int QUAV_DataSource::NParents() const { return pData->fParent == nullptr ? 0 : pData->fParent->NParents() + 1; }

std::string QUAV_DataSource::GoodVarName(const std::string& text) const {
  std::array<char, kMaxVariableName + 1> name{};
  text.copy(name.data(), kMaxVariableName);
  const auto isTaken = [](void* source, unsigned long, const char* candidate) -> int {
    return static_cast<const QUAV_DataSource*>(source)->FindVarIndex(candidate, 0) != -1;
  };
  GenerateQUAVName(name.data(), ColumnCount(), isTaken, const_cast<QUAV_DataSource*>(this), 0);
  return name.data();
}

void QUAV_DataSource::SetSplit(unsigned int nVars, const int* varIndexes, bool separate) {
  QUAV_ASSERT(nVars <= eMaxSplitVars, "nVars <= eMaxSplitVars");
  unsigned int totalSize = 0;
  for (unsigned int i = 0; i < nVars; ++i) {
    QUAV_ASSERT(varIndexes[i] >= 0, "varIndexes[i] >= 0");
    const QUAV_Variable& variable = GetVariable(varIndexes[i]);
    totalSize += FieldSize(variable.GetType());
    QUAV_ASSERT(totalSize <= kMaxSplitSize, "totalSize <= 64");
    pData->fSplitVars[i] = variable.GetID();
  }
  pData->fnSplitVars = nVars;
  pData->fSplitSeparate = separate;
}

void QUAV_DataSource::SetSortIndexInfo(const SortIndexInfo& info) {
  ReplaceByCopy(pData->fSortIndex, info);
  if (pData->fSortIndex.GetIndexKeys().empty()) return;
  pData->fIndexValid = true;
  pData->fDirty = true;
}

std::vector<VariableSetImpl> QUAV_DataSource::GetVariableSets() const { return pData->fVariableSets; }

void QUAV_DataSource::SetVariableSets(const std::vector<VariableSetImpl>& sets) {
  ReplaceByCopy(pData->fVariableSets, sets);
  pData->fDirty = true;
}

std::vector<VariableSetImpl> QUAV_DataSource::GetMRSets() const { return pData->fMRSets; }

void QUAV_DataSource::SetMRSets(const std::vector<VariableSetImpl>& sets) {
  ReplaceByCopy(pData->fMRSets, sets);
  pData->fDirty = true;
}

int QUAV_DataSource::MaxExtensionType() const {
  const auto& blocks = pData->fExtensions;
  return blocks.empty() ? kLeastMaxExtensionType : std::max(blocks.rbegin()->first, kLeastMaxExtensionType);
}

std::vector<int> QUAV_DataSource::ExtensionTypes() const {
  std::vector<int> types;
  for (const auto& [type, block] : pData->fExtensions)
    if (!block->Bytes().empty()) types.push_back(type);
  return types;
}

bool QUAV_DataSource::HasExtension(int type) const {
  const auto block = pData->fExtensions.find(type);
  return block != pData->fExtensions.end() && !block->second->Bytes().empty();
}

long long QUAV_DataSource::ExtensionHash(int type) const {
  return HasExtension(type) ? pData->fExtensions.at(type)->Hash() : 0;
}

void QUAV_DataSource::SetExtension(int type, int elementSize, long nElements, const void* content) {
  QUAV_ASSERT(0 <= type, "0 <= type");
  QUAV_ASSERT(nElements >= 0, "nElements >= 0");
  QUAV_ASSERT(nElements == 0 || content != nullptr, "(nElements==0) >= (content==0)");
  RefCountPtr<QUAV_ExtensionImpl> block;
  if (nElements > 0) {
    block = new QUAV_ExtensionImpl(type, std::max(elementSize, 1));
    block->append(nElements, content);
  }
  SetExtension(type, Extension(block));
}

void QUAV_DataSource::SetExtension(int type, Extension extension) {
  if (extension.Length() > 0) {
    QUAV_ASSERT(0 <= type, "0 <= type");
    pData->fExtensions[type] = std::move(extension.m_block);
  } else {
    pData->fExtensions.erase(type);
  }
  pData->fDirty = true;
}

void QUAV_DataSource::SetExtension(const Extension& extension) { SetExtension(extension.Type(), extension); }

void QUAV_DataSource::ExtendExtension(int type, long nElements, const void* content) {
  QUAV_ASSERT(HasExtension(type), "HasExtension(type)");
  QUAV_ASSERT(nElements >= 0, "nElements >= 0");
  if (nElements > 0) pData->fExtensions.at(type).Unshared()->append(nElements, content);
  pData->fDirty = true;
}

void QUAV_DataSource::Register(Observer* observer) const { pData->fObservers.Add(observer); }

void QUAV_DataSource::UnRegister(Observer* observer) const { pData->fObservers.Remove(observer); }

void QUAV_DataSource::IteratorMade(QUAV_InputCaseIterator* iterator) const { pData->fObservers.Tell(iterator); }

const QUAV_DataSource* QUAV_DataSource::GetParentSource() const { return pData->fParent; }

void QUAV_DataSource::SetParentSource(const QUAV_DataSource* parent) {
  QUAV_ASSERT(parent != this, "parent != this");
  pData->fParent = parent;
}

void QUAV_DataSource::CopyDictionary(const QUAV_DataSource& other) {
  Data copy(*other.pData);
  copy.fFileSpec.Clear();
  copy.fParent = pData->fParent;
  static_assert(kTakesOverSafely<Data>);
  *pData = std::move(copy);
  pData->fTrends.SetDataSource(this);
}

void DeleteLine(const QUAV_DataSource* source) {
  while (source != nullptr) {
    const QUAV_DataSource* parent = source->GetParentSource();
    delete source;
    source = parent;
  }
}

int FindVarSet(const std::string& name, const std::vector<VariableSetImpl>& sets) {
  const auto found = std::ranges::find_if(
      sets, [&](const VariableSetImpl& set) { return QUAVMBstricmp_A(set.name.c_str(), name.c_str()) == 0; });
  return found == sets.end() ? -1 : static_cast<int>(found - sets.begin());
}
