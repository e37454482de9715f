// Record 19: the enhanced dichotomies among the multiple response sets. Format: docs/system-file.md, "Sets".

#include <string>
#include <vector>

#include "core/systemfileformat.h"
#include "sources/VariableSetRecord.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

class SFExtensionEnhancedMRSets final : public SystemFileExtensionHandler {
 public:
  SFExtensionEnhancedMRSets() { Register(kEnhancedMRSetsSubtype, this); }

  // Uses the long names as they are: this handler runs before the columns get their short names.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    std::string text;
    MakeExtension(VariableSets(source, kMRSets), text, kEnhancedMRSetsSubtype);
    if (!text.empty()) record.Fill(text);
  }

  // Adds the sets to those of record 7.
  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    std::vector<VariableSet> sets = VariableSets(source, kMRSets);
    ParseExtension(AsText(record.Contents()), static_cast<unsigned int>(record.NUnits()), kEnhancedMRSetsSubtype, sets);
    SaveVariableSets(sets, source, kMRSets);
  }
};

SFExtensionEnhancedMRSets theEnhancedMRSetsHandler;

}  // namespace
