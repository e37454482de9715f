// Record 16: the number of cases in 64 bits. Format: docs/system-file.md, "Record 16".

#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/DictionaryFindings.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::int64_t kOne = 1;

// With two units the first one shows the record's own byte order, whatever the file's is.
ByteOrder OrderOf(const SystemFileExtensionRecord& record, const SystemFileOptions& options) {
  if (record.NUnits() == 1) return options.Order();
  return Load<std::int64_t>(record.Contents()) == kOne ? ByteOrder::native : ByteOrder::reversed;
}

int OffsetOfCount(const SystemFileExtensionRecord& record) { return record.NUnits() == 1 ? 0 : kCaseCountOffset; }

class SFExtensionNCases final : public SystemFileExtensionHandler {
 public:
  SFExtensionNCases() { Register(kNumberOfCasesSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    std::byte raw[2 * sizeof(std::int64_t)];
    Store(raw, kOne);
    Store(raw + kCaseCountOffset, static_cast<std::int64_t>(source.Options().numberOfCases));
    record.Fill(sizeof(std::int64_t), raw);
  }

  // Ignores a count below the header's.
  void Read(SystemFileDataSource&, SystemFileOptions& options, const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(std::int64_t), kMalformed, "rec.UnitSize() == sizeof(int64)");
    Require(record.NUnits() == 1 || record.NUnits() == 2, kMalformed, "rec.NUnits() == 1 || rec.NUnits() == 2");
    const int offset = OffsetOfCount(record);
    const ByteOrder order = OrderOf(record, options);
    // An append stores its count in the same form.
    options.storedCaseCount.offset = offset;
    options.storedCaseCount.order = order;
    const auto count = Load<std::int64_t>(record.Contents() + offset, order);
    const long long inHeader = options.numberOfCases;
    if (inHeader >= 0 && count >= 0 && count != inHeader)
      options.NoteFlaw("the header has another number of cases: the higher one counts");
    if (count < inHeader) return;
    options.numberOfCases = count;
    if (options.findings != nullptr && count != inHeader) options.findings->NoteCaseCount();
  }
};

SFExtensionNCases theNCasesHandler;

}  // namespace
