// Record 7: the multiple response sets except the enhanced ones. Format: docs/system-file.md, "Sets".

#include <string>
#include <vector>

#include "core/systemfileformat.h"
#include "sources/VariableSetRecord.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

class SFExtensionOrigMrSets final : public SystemFileExtensionHandler {
 public:
  SFExtensionOrigMrSets() { Register(kMRSetsSubtype, this); }

  // Uses the short names, which the variables have by now, in lower case.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    std::vector<VariableSet> sets = VariableSets(source, kMRSets);
    if (sets.empty()) return;
    LowerCaseMembers(sets);
    std::string text;
    MakeExtension(sets, text, kMRSetsSubtype);
    if (!text.empty()) record.Fill(text);
  }

  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    std::vector<VariableSet> sets;
    ParseExtension(AsText(record.Contents()), static_cast<unsigned int>(record.NUnits()), kMRSetsSubtype, sets);
    SaveVariableSets(sets, source, kMRSets);
  }
};

SFExtensionOrigMrSets theOrigMrSetsHandler;

}  // namespace
