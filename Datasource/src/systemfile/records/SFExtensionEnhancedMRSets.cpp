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

  // By the long names, as they are: this handler runs before the short ones are given.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    std::string text;
    MakeExtension(VariableSets(source, kMRSets), text, kEnhancedMRSetsSubtype);
    if (!text.empty()) record.Fill(text);
  }

  // To those that record 7 has left.
  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    std::vector<VariableSet> sets = VariableSets(source, kMRSets);
    ParseExtension(AsText(record.Contents()), static_cast<unsigned int>(record.NUnits()), kEnhancedMRSetsSubtype, sets);
    SaveVariableSets(sets, source, kMRSets);
  }
};

SFExtensionEnhancedMRSets theHandler;

}  // namespace
