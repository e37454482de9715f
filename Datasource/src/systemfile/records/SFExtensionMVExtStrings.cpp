// Record 22: the missing values of strings wider than 8 bytes. Format: docs/system-file.md, "Record 22".

#include <array>
#include <cstdlib>
#include <string>

#include "core/systemfileformat.h"
#include "dictionary/MissingCode.h"
#include "sources/VariableFinder.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::size_t kLeastMissingEntry = 14;

void AppendMissingValues(ByteBuilder& out, const QUAV_Variable& variable, int code,
                         const std::array<const OBS*, kMaxMissingCount>& values) {
  const int rule = std::abs(code);  // Deliberate: a range is written as single values.
  out.CountedText(variable.GetName());
  out.Byte(rule);
  out.I32(sizeof(OBS));
  for (int i = 0; i < rule; ++i) out.Cell(*values[static_cast<std::size_t>(i)]);
}

class SFExtensionMVExtStrings final : public SystemFileExtensionHandler {
 public:
  SFExtensionMVExtStrings() { Register(kLongStringMissingSubtype, this); }

  // Removes the values from the dictionary.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    ByteBuilder out;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      QUAV_Variable& variable = source.GetVariable(column);
      std::array<const OBS*, kMaxMissingCount> values{};
      const int code = MissingCodeInUse(variable.GetMissingValues(values[0], values[1], values[2]));
      if (code == 0 || variable.GetType() <= 8) continue;
      AppendMissingValues(out, variable, code, values);
      variable.SetMissingValues(0, nullptr, nullptr, nullptr);
    }
    if (out.Size() != 0) record.Fill(1, out.Bytes());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    VariableFinder finder(source);
    ByteCursor in(record.Bytes(), options.Order());
    long long unused = 0;
    while (in.Left() != 0) {
      Require(in.Left() >= kLeastMissingEntry, kMalformed, "r+13 < endr");
      const std::int64_t nameLength = in.I32();
      Require(nameLength >= 0 && in.Holds(nameLength + 6), kMalformed, "r+nameLength+5 < endr");
      const int column = finder.Find(in.Text(static_cast<std::size_t>(nameLength)));
      const int rule = static_cast<signed char>(in.Bytes(1)[0]);
      const std::int64_t mvlen = in.I32();
      Require(rule <= kMaxMissingCount, kMalformed, "rule <= 3");
      if (rule <= 0) continue;
      Require(mvlen >= 0 && in.Holds(rule * mvlen), kMalformed, "r+rule*mvlen <= endr");
      // Each value is a terminated text of its own: SetMissingValues searches for its end.
      std::array<std::string, kMaxMissingCount> values;
      std::array<const char*, kMaxMissingCount> texts{};
      for (std::size_t i = 0; i < static_cast<std::size_t>(rule); ++i) {
        values[i] = in.Text(static_cast<std::size_t>(mvlen));
        texts[i] = values[i].c_str();
      }
      const bool applies = column >= 0 && source.GetVariable(column).GetType() != 0 && mvlen <= 8;
      if (applies) source.GetVariable(column).SetMissingValues(texts[0], texts[1], texts[2]);
      unused += applies ? 0 : 1;
    }
    options.NoteFlaws(unused, "missing values that fit no variable");
  }
};

SFExtensionMVExtStrings theMVExtStringsHandler;

}  // namespace
