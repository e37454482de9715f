// Record 17: the attributes of the data set. Format: docs/system-file.md, "Record 17".

#include <string>

#include "core/systemfileformat.h"
#include "datasrc/DatasourceAttributes.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr char kOldView[] = "$VariableView";
constexpr char kNewView[] = "$VariableView2";

// The old description of a view replaces the newer one. Deliberate: nothing converts it back.
void RenameView(DatasourceAttributes& attributes) {
  if (attributes.Index(kOldView) < 0) return;
  attributes.Delete(kNewView);
  const std::vector<std::string> values = attributes.Values(kOldView);
  attributes.Delete(kOldView);
  attributes.Define(kNewView, values);
}

class SFExtensionDatasetAttributes final : public SystemFileExtensionHandler {
 public:
  SFExtensionDatasetAttributes() { Register(kDatasetAttributesSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    const std::string text = source.GetAttributes().MakeString();
    if (!text.empty()) record.Fill(text);
  }

  // Ignores a text that does not have the required form.
  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(char), kMalformed, "rec.UnitSize() == sizeof(char)");
    Require(record.NUnits() >= 0, kMalformed, "rec.NUnits() >= 0");
    DatasourceAttributes attributes;
    if (!DatasourceAttributes::Parse(std::string(record.Text()), attributes, nullptr))
      return options.NoteFlaw("the attributes cannot be read, and are left out");
    RenameView(attributes);
    source.SetAttributes(attributes);
  }
};

SFExtensionDatasetAttributes theDatasetAttributesHandler;

}  // namespace
