// Reads sets from the text of a record. The line that each set forms is read as the same set.
//
//   input   1 byte: selects the subtype
//           the text
//
// Some lines end the process, by contract. The target skips them.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Contract.h"
#include "core/systemfileformat.h"
#include "datasrc/SystemFileDataSource.h"
#include "sources/VariableSetRecord.h"

namespace {

constexpr std::array kSubtypes{kVariableSetsSubtype, kMRSetsSubtype, kEnhancedMRSetsSubtype};

void Check(bool holds) {
  if (!holds) std::abort();
}

void ReadAgain(const VariableSet& set) {
  const std::string line = set.ToExtension();
  const VariableSet again(line);
  Check(again.ToExtension() == line);
  Check(again.GetType() == set.GetType() && again.GetValue() == set.GetValue());
  Check(again.GetVariableNames(VariableSet::kAsStored) == set.GetVariableNames(VariableSet::kAsStored));
}

// Saves the sets in a source with the variables A to Z and reads them back.
void Keep(const std::vector<VariableSet>& sets) {
  SystemFileDataSource source;
  for (char name = 'A'; name <= 'Z'; ++name) source.MakeVariable(0, nullptr).SetName(std::string(1, name).c_str());
  for (const VarSetsType which : {kPlainSets, kMRSets}) {
    SaveVariableSets(sets, source, which);
    const std::vector<VariableSet> kept = VariableSets(source, which);
    Check(kept.size() <= sets.size());
    for (const VariableSet& set : kept) Check((set.GetType() == VariableSet::kPlain) == (which == kPlainSets));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const int subtype = kSubtypes[data[0] % kSubtypes.size()];
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::vector<VariableSet> sets;
  const auto parse = [&] { ParseExtension(text.data(), static_cast<unsigned int>(text.size()), subtype, sets); };
  if (!Survives(parse)) return 0;
  for (const VariableSet& set : sets) ReadAgain(set);
  Keep(sets);
  return 0;
}
