// Record 18: the attributes of the variables, among them what older fields cannot hold: roles, and the measurement
// levels 4 and 5. Format: docs/system-file.md, "Record 18".

#include <cstdlib>
#include <string>

#include "core/systemfileformat.h"
#include "datasrc/DatasourceAttributes.h"
#include "sources/VariableFinder.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr char kNameEnd = ':';
constexpr char kSectionEnd = '/';

constexpr char kUnreadable[] = "the attributes from here on cannot be read, and are left out";
constexpr char kUnknownVariables[] = "attributes of variables that do not exist";

constexpr char kLevelName[] = "$@MeasurementLevel";
constexpr char kRoleName[] = "$@Role";
constexpr char kExtendedRoleName[] = "$@ExtendRole";

// ---- Writing ----

void DefineNumber(DatasourceAttributes& attributes, const char* name, int number) {
  attributes.Define(name, {std::to_string(number)});
}

// Returns the variable's own attributes, and those for its level and role. In the dictionary, a level that older
// readers do not know becomes 1, for record 11.
DatasourceAttributes AttributesToWrite(QUAV_Variable& variable) {
  DatasourceAttributes attributes = variable.GetAttributes();
  const QUAV_Variable::MeasurementLevel level = variable.GetMeasurementLevel();
  if (level == QUAV_Variable::kLevelExtended4 || level == QUAV_Variable::kLevelExtended5) {
    DefineNumber(attributes, kLevelName, level);
    variable.SetMeasurementLevel(QUAV_Variable::kLevelDefaultString);
  }
  int role = variable.GetRole();
  if (role == QUAV_Variable::kRoleExtended6 || role == QUAV_Variable::kRoleExtended7) {
    DefineNumber(attributes, kExtendedRoleName, role);
    role = QUAV_Variable::kRoleNone;
  }
  DefineNumber(attributes, kRoleName, role);
  return attributes;
}

// ---- Reading ----

// Returns the index of the name in its exact spelling; -1 when there is none.
int IndexOf(const DatasourceAttributes& attributes, const char* name) {
  const int index = attributes.Index(name);
  return index >= 0 && attributes.Name(static_cast<unsigned long>(index)) == name ? index : -1;
}

int FirstNumber(const DatasourceAttributes& attributes, int index) {
  return static_cast<int>(
      std::strtol(attributes.Values(static_cast<unsigned long>(index)).front().c_str(), nullptr, 10));
}

// Treats each of the three names by itself, in this order.
void ApplyReservedNames(QUAV_Variable& variable, DatasourceAttributes& attributes) {
  const auto remove = [&attributes](int index) { attributes.Delete(static_cast<unsigned long>(index)); };
  if (const int index = IndexOf(attributes, kLevelName); index >= 0) {
    const QUAV_Variable::MeasurementLevel level = variable.GetMeasurementLevel();
    if (level == QUAV_Variable::kLevelOrdinal || level == QUAV_Variable::kLevelScale) remove(index);
  }
  if (const int index = IndexOf(attributes, kRoleName); index >= 0) {
    variable.SetRole(static_cast<QUAV_Variable::Role>(FirstNumber(attributes, index)));
    remove(index);
  }
  if (const int index = IndexOf(attributes, kExtendedRoleName); index >= 0) {
    const bool stays =
        FirstNumber(attributes, index) == variable.GetRole() || variable.GetRole() == QUAV_Variable::kRoleNone;
    if (!stays) remove(index);
  }
}

class SFExtensionVariableAttributes final : public SystemFileExtensionHandler {
 public:
  SFExtensionVariableAttributes() { Register(kVariableAttributesSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    std::string text;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      QUAV_Variable& variable = source.GetVariable(column);
      const DatasourceAttributes attributes = AttributesToWrite(variable);
      if (!text.empty()) text += kSectionEnd;
      text.append(variable.GetName()) += kNameEnd;
      text += attributes.MakeString();
    }
    if (!text.empty()) record.Fill(text);
  }

  // Stops at a section that does not have the required form; the sections before it count.
  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(char), kMalformed, "rec.UnitSize() == sizeof(char)");
    Require(record.NUnits() >= 0, kMalformed, "rec.NUnits() >= 0");
    const std::string text(record.Text());
    VariableFinder finder(source);
    int column = 0;
    long long unknown = 0;
    for (std::size_t position = 0; position < text.size();) {
      const std::size_t nameEnd = text.find(kNameEnd, position);
      if (nameEnd == text.npos || nameEnd == position) return options.NoteFlaw(kUnreadable);
      column = finder.Find(std::string_view(text).substr(position, nameEnd - position), column);
      position = nameEnd + 1;
      DatasourceAttributes attributes;
      unsigned long consumed = 0;
      if (!DatasourceAttributes::Parse(text.c_str() + position, text.size() - position, attributes, &consumed))
        return options.NoteFlaw(kUnreadable);
      if (column >= 0) {
        ApplyReservedNames(source.GetVariable(column), attributes);
        source.GetVariable(column).SetAttributes(attributes);
      } else {
        ++unknown;
      }
      position += consumed;
      if (position < text.size() && text[position] == kSectionEnd) ++position;
    }
    options.NoteFlaws(unknown, kUnknownVariables);
  }
};

SFExtensionVariableAttributes theVariableAttributesHandler;

}  // namespace
