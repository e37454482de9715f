// Record 4: the numbers that have a special meaning for the writer. Format: docs/system-file.md, "Record 4".

#include "core/systemfileformat.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr int kDoubles = 3;

class SFExtensionSourceParametersDouble final : public SystemFileExtensionHandler {
 public:
  SFExtensionSourceParametersDouble() { Register(kSourceNumbersSubtype, this); }

  void Write(SystemFileDataSource::SaveDS&, SystemFileExtensionRecord& record) override {
    ByteBuilder out;
    out.Double(QUAV_DataSource::SystemMissing());
    out.Double(QUAV_DataSource::HighNumber());
    out.Double(QUAV_DataSource::LowNumber());
    record.Fill(sizeof(double), out.Bytes());
  }

  void Read(SystemFileDataSource&, SystemFileOptions& options, const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(double), kMalformed, "rec.UnitSize() == sizeof(double)");
    Require(record.NUnits() == kDoubles, kMalformed, "rec.NUnits() == 3");
    ByteCursor in(record.Bytes(), options.Order());
    options.systemMissing = in.Double();
    options.highNumber = in.Double();
    options.lowNumber = in.Double();
  }
};

SFExtensionSourceParametersDouble theSourceParametersDoubleHandler;

}  // namespace
