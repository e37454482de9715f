// Record 13: the long name for each short name. Format: docs/system-file.md, "Record 13".

#include <string_view>

#include "Platform/Assert.h"
#include "core/systemfileformat.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::string_view kMarks = "=\t";

// Renames each variable whose name is the first in an entry of the sorted list: it gets the second name of that entry.
void ApplyRenames(const Renames& sorted, QUAV_DataSource& source) {
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    QUAV_Variable& variable = source.GetVariable(column);
    if (const Rename* const entry = FindRename(sorted, variable.GetName())) variable.SetName(entry->second.c_str());
  }
}

void FormXRecord(const Renames& renames, SystemFileExtensionRecord& record) {
  std::string extString;
  for (const Rename& rename : renames) {
    if (!extString.empty()) extString += '\t';
    extString.append(rename.second).append("=").append(rename.first);
  }
  const auto len = static_cast<long>(extString.size());
  QUAV_ASSERT(len, "len = (long) extString.size()");
  record.Fill(extString);
}

class SFExtensionExtNames final : public SystemFileExtensionHandler {
 public:
  SFExtensionExtNames() { Register(kLongNamesSubtype, this); }

  // The list exists already: the handler of the very long strings has run.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    source.Options().hasLongNames = true;
    const Renames& renames = source.Options().renames;
    if (renames.empty()) return;
    ApplyRenames(Sorted(renames), source);
    FormXRecord(renames, record);
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    options.hasLongNames = true;
    Require(record.UnitSize() == 1, kMalformed, "rec.UnitSize()==1");
    constexpr auto notFound = std::string_view::npos;
    const std::string_view extString = record.Text();
    for (std::size_t start = 0; start < extString.size();) {
      const std::size_t i = extString.find_first_of(kMarks, start);
      Require(i != notFound && extString[i] == '=', kMalformed, "i != notFound && extString[i] == '='");
      const std::size_t j = std::min(extString.find_first_of(kMarks, i + 1), extString.size());
      Require(j == extString.size() || extString[j] == '\t', kMalformed, "j == len || extString[j] == '\\t'");
      options.renames.push_back(
          {std::string(extString.substr(start, i - start)), std::string(extString.substr(i + 1, j - i - 1))});
      start = j + 1;
    }
    if (extString.ends_with('\t')) options.NoteFlaw("the list of names ends with a tab");
    ApplyRenames(Sorted(options.renames), source);
  }
};

SFExtensionExtNames theExtNamesHandler;

}  // namespace
