// Record 11: how to show each column of the file. Format: docs/system-file.md, "Record 11".

#include "core/systemfileformat.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::int64_t kUnitsOfColumn = 3;

class SFExtensionLWA final : public SystemFileExtensionHandler {
 public:
  SFExtensionLWA() { Register(kDisplaySubtype, this); }

  // Asserts that there is at least one column.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    ByteBuilder out;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      const QUAV_Variable& variable = std::as_const(source).GetVariable(column);
      out.I32(variable.GetMeasurementLevel());
      out.I32(variable.GetDisplayWidth());
      out.I32(variable.GetAlignment());
    }
    record.Fill(sizeof(std::int32_t), out.Bytes());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(std::int32_t), kMalformed, "rec.UnitSize() == sizeof(int32)");
    Require(record.NUnits() == static_cast<std::int64_t>(source.ColumnCount()) * kUnitsOfColumn, kMalformed,
            "rec.NUnits()== src.ColumnCount()*3");
    ByteCursor in(record.Bytes(), options.Order());
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      QUAV_Variable& variable = source.GetVariable(column);
      variable.SetMeasurementLevel(static_cast<QUAV_Variable::MeasurementLevel>(in.I32()));
      const std::int32_t width = in.I32();
      if (width > 0) variable.SetDisplayWidth(static_cast<short>(width));
      variable.SetAlignment(static_cast<QUAV_Variable::Alignment>(in.I32()));
    }
  }
};

SFExtensionLWA theLWAHandler;

}  // namespace
