#include "datasrc/QUAV_ValueLabelMap.h"

#include <algorithm>
#include <mutex>

#include "Platform/Assert.h"

namespace {

// Guards the registry's pairs and its identities.
constinit std::mutex theMutex;

auto FindMap(std::vector<QUAV_VLMapIDPair>& pairs, const QUAV_VLImplPointer& map) {
  return std::ranges::find_if(pairs, [&](const QUAV_VLMapIDPair& pair) { return pair.map == map; });
}

}  // namespace

std::vector<QUAV_VLMapIDPair> QUAV_VLMapRegistry::_Pairs;
QUAV_VLMapRegistry::IDGenerator QUAV_VLMapRegistry::_IDGenerator;

void QUAV_VLMapRegistry::SetOriginator(unsigned int originator) {
  const std::scoped_lock lock(theMutex);
  _IDGenerator.originator = originator;
}

QUAV_VLMapID QUAV_VLMapRegistry::Add(const QUAV_VLImplPointer& map, QUAV_VLMapID id) {
  const std::scoped_lock lock(theMutex);
  if (!id.IsValid()) id = {_IDGenerator.originator, _IDGenerator.nextNumber++};
  _Pairs.push_back({map, id});
  return id;
}

QUAV_VLMapID QUAV_VLMapRegistry::GetID(const QUAV_VLImplPointer& map) {
  const std::scoped_lock lock(theMutex);
  const auto pair = FindMap(_Pairs, map);
  return map.IsValid() && pair != _Pairs.end() ? pair->id : QUAV_VLMapID();
}

void QUAV_VLMapRegistry::SetID(const QUAV_VLImplPointer& map, QUAV_VLMapID id) {
  const std::scoped_lock lock(theMutex);
  const auto pair = FindMap(_Pairs, map);
  QUAV_ASSERT(pair != _Pairs.end(), "i < _Pairs.size()");
  pair->id = id;
}

QUAV_VLImplPointer QUAV_VLMapRegistry::GetMap(const QUAV_VLMapID& id) {
  if (!id.IsValid()) return {};
  const std::scoped_lock lock(theMutex);
  const auto pair = std::ranges::find(_Pairs, id, &QUAV_VLMapIDPair::id);
  return pair != _Pairs.end() ? pair->map : QUAV_VLImplPointer();
}

void QUAV_VLMapRegistry::CollectGarbage() {
  const std::scoped_lock lock(theMutex);
  std::erase_if(_Pairs, [](const QUAV_VLMapIDPair& pair) { return !pair.map.IsValid() || !pair.map->IsShared(); });
}
