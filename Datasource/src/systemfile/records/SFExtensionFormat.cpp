// Record 25: the formats for whose types a variable record has no room. Format: docs/system-file.md, "Record 25".

#include <string_view>

#include "core/systemfileformat.h"
#include "dictionary/varformat.h"
#include "sources/VariableFinder.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr int kFirstType = 54;
constexpr std::size_t kLeastFormatEntry = 9;

class SFExtensionFormat final : public SystemFileExtensionHandler {
 public:
  SFExtensionFormat() { Register(kFormatsSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    ByteBuilder out;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      const QUAV_Variable& variable = std::as_const(source).GetVariable(column);
      const QUAV_Format print = variable.GetFormatEx();
      const QUAV_Format write = variable.GetWriteFormatEx();
      if (print.Type() < kFirstType && write.Type() < kFirstType) continue;
      out.CountedText(variable.GetName());
      out.I32(static_cast<std::int32_t>(ToStoredFormat(print)));
      out.I32(static_cast<std::int32_t>(ToStoredFormat(write)));
    }
    if (out.Size() != 0) record.Fill(1, out.Bytes());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    VariableFinder finder(source);
    ByteCursor in(record.Bytes(), options.Order());
    long long unknown = 0;
    while (in.Left() != 0) {
      Require(in.Left() >= kLeastFormatEntry, kMalformed, "curLoc + 9 <= endLoc");
      const std::int64_t nameLength = in.I32();
      Require(nameLength >= 0 && in.Holds(nameLength + 4), kMalformed, "curLoc + nameLength + 4 <= endLoc");
      const std::string_view name = in.Text(static_cast<std::size_t>(nameLength));
      const auto print = static_cast<StoredFormat>(in.I32());
      const auto write = static_cast<StoredFormat>(in.I32());
      const int column = finder.Find(name);
      if (column < 0) {
        ++unknown;
        continue;
      }
      source.GetVariable(column).SetFormat(FromStoredFormat(print));
      source.GetVariable(column).SetWriteFormat(FromStoredFormat(write));
    }
    options.NoteFlaws(unknown, "formats of variables that do not exist");
  }
};

SFExtensionFormat theFormatHandler;

}  // namespace
