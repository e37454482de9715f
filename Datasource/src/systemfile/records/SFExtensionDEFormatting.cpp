// Record 24: the data editor's formatting, a text that is opaque here. Format: docs/system-file.md, "Record 24".

#include <string>

#include "core/systemfileformat.h"
#include "datasrc/DataEditorFormattingInfo.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

class SFExtensionDEFormatting final : public SystemFileExtensionHandler {
 public:
  SFExtensionDEFormatting() { Register(kDEFormattingSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    const std::string text = source.GetDEFormattingInfo().GetInfo();
    if (!text.empty()) record.Fill(text);
  }

  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(char), kMalformed, "rec.UnitSize() == sizeof(char)");
    Require(record.NUnits() >= 0, kMalformed, "rec.NUnits() >= 0");
    if (record.NUnits() <= 1) return;  // Deliberate: ignores a text of one byte.
    DataEditorFormattingInfo info;
    info.SetInfo(std::string(record.Text()));
    source.SetDEFormattingInfo(info);
  }
};

SFExtensionDEFormatting theDEFormattingHandler;

}  // namespace
