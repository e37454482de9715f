// Record 3: whole numbers that describe the writer and its machine. Format: docs/system-file.md, "Record 3".

#include <array>
#include <bit>

#include "Platform/text/QUAVMB.h"
#include "core/systemfileformat.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr int kIntegers = 8;
constexpr std::int32_t kByteOrder = std::endian::native == std::endian::little ? 2 : 1;

class SFExtensionSourceParametersInt final : public SystemFileExtensionHandler {
 public:
  SFExtensionSourceParametersInt() { Register(kSourceParametersSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    const SystemFileOptions& options = source.Options();
    ByteBuilder out;
    out.I32(options.releaseMajor);
    out.I32(options.releaseMinor);
    out.I32(options.releaseRevision);
    out.I32(options.machineCode);
    out.I32(options.floatingPoint);
    out.I32(options.compressionCode);
    out.I32(kByteOrder);
    out.I32(options.characterCode);
    record.Fill(sizeof(std::int32_t), out.Bytes());
  }

  void Read(SystemFileDataSource&, SystemFileOptions& options, const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == 4, kMalformed, "rec.UnitSize() == 4");
    Require(record.NUnits() == kIntegers, kMalformed, "rec.NUnits() == 8");
    ByteCursor in(record.Bytes(), options.Order());
    options.releaseMajor = in.I32();
    options.releaseMinor = in.I32();
    options.releaseRevision = in.I32();
    options.machineCode = in.I32();
    options.floatingPoint = in.I32();
    options.compressionCode = in.I32();
    in.I32();  // the byte order: the header has it already
    options.characterCode = in.I32();
    std::array<char, kCodePageNameSize> name;
    if (options.findings != nullptr && QUAVMBCpNameFromNum_A(name.data(), options.characterCode) == 0)
      options.NoteFlaw("the number of the code page is not known: the text is read in that of the process");
  }
};

SFExtensionSourceParametersInt theSourceParametersIntHandler;

}  // namespace
