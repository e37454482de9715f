// Record 5: the variable sets. Format: docs/system-file.md, "Sets".

#include <string>
#include <vector>

#include "core/systemfileformat.h"
#include "sources/VariableSetRecord.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

class SFExtensionVariableSets final : public SystemFileExtensionHandler {
 public:
  SFExtensionVariableSets() { Register(kVariableSetsSubtype, this); }

  // Uses the short names, which the variables have by now, in lower case. Asserts that at least one set is plain, if
  // there are any sets.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    std::vector<VariableSet> sets = VariableSets(source, kPlainSets);
    if (sets.empty()) return;
    LowerCaseMembers(sets);
    std::string text;
    MakeExtension(sets, text, kVariableSetsSubtype);
    record.Fill(text);
  }

  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    std::vector<VariableSet> sets;
    ParseExtension(AsText(record.Contents()), static_cast<unsigned int>(record.NUnits()), kVariableSetsSubtype, sets);
    SaveVariableSets(sets, source, kPlainSets);
  }
};

SFExtensionVariableSets theVariableSetsHandler;

}  // namespace
