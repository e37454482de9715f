#include "systemfile/DictionaryCheck.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "core/systemfileformat.h"
#include "datasrc/DatasourceAttributes.h"
#include "datasrc/VariableNames.h"
#include "dictionary/MissingCode.h"
#include "sources/VariableSetRecord.h"
#include "systemfile/FixVarNames.h"
#include "systemfile/SystemFileException.h"

namespace {

using std::string_view_literals::operator""sv;

constexpr std::string_view kNul = "\0"sv;
constexpr std::string_view kAttributeBreaks = "\n\0"sv;

bool HasAny(std::string_view text, std::string_view bytes) { return text.find_first_of(bytes) != text.npos; }

std::string PresentEncoding() {
  if (qUTF8mode() != 0) return kUtf8Name;
  std::array<char, kCodePageNameSize> converter;
  const std::string name = QUAVMBConverterName_A(0, converter.data());
  return name.empty() ? QUAVMBDefaultCodePage() : name;
}

class DictionaryCheck {
 public:
  DictionaryCheck(const QUAV_DataSource& dictionary, const std::string& encoding)
      : m_dictionary(dictionary), m_isPresent(QUAVMBqSameCodePage(encoding.c_str(), PresentEncoding().c_str())) {}

  void Run() const {
    RefuseEqualNames(m_dictionary);
    CheckAttributes(m_dictionary.GetAttributes(), "");
    for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column)
      CheckVariable(m_dictionary.GetVariable(column));
    CheckSets(m_dictionary.GetVariableSets(), kPlainSets);
    CheckSets(m_dictionary.GetMRSets(), kMRSets);
  }

 private:
  // A reader tests names in the file's encoding. In another one than the present, nothing is known about the
  // characters outside ASCII, and they count as letters.
  std::string AsTested(std::string name) const {
    if (!m_isPresent)
      std::ranges::replace_if(
          name, [](char c) { return static_cast<unsigned char>(c) >= 0x80; }, 'x');
    return name;
  }

  void CheckVariable(const QUAV_Variable& variable) const {
    const char* const name = variable.GetName();
    if (!IsNameInFile(AsTested(name).c_str())) ThrowError::String1(kDatasrcCatalog, kNameNotHeld, name);
    CheckAttributes(variable.GetAttributes(), std::string(" of the variable ") + name);
    if (HasNulInMissingValue(variable)) ThrowError::String1(kDatasrcCatalog, kNulNotHeld, name);
  }

  // The record for the missing values of wide strings is read as terminated texts.
  static bool HasNulInMissingValue(const QUAV_Variable& variable) {
    if (variable.GetType() <= static_cast<int>(sizeof(OBS))) return false;
    std::array<const OBS*, kMaxMissingCount> values{};
    const int count = std::abs(MissingCodeInUse(variable.GetMissingValues(values[0], values[1], values[2])));
    return std::any_of(values.begin(), values.begin() + count, [](const OBS* value) {
      return HasAny({CellText(value), sizeof(OBS)}, kNul);
    });
  }

  void CheckAttributes(const DatasourceAttributes& attributes, const std::string& owner) const {
    for (unsigned long k = 0; k < attributes.Size(); ++k) {
      const std::string name = attributes.Name(k);
      const std::vector<std::string> values = attributes.Values(k);
      if (values.empty()) continue;  // not written
      const bool breaks =
          std::ranges::any_of(values, [](const auto& value) { return HasAny(value, kAttributeBreaks); });
      if (breaks || !IsAttributeName(name))
        ThrowError::String1(kDatasrcCatalog, kAttributeNotHeld, (name.c_str() + owner).c_str());
    }
  }

  bool IsAttributeName(const std::string& name) const {
    if (HasAny(name, kNul)) return false;
    const int fault = ValidateQUAVNameCheckLastChar(AsTested(name).c_str());
    return fault == kNameIsLegal || fault == kNameOfSystem;
  }

  // Tests those sets of a list that are written.
  static void CheckSets(const std::vector<VariableSetImpl>& sets, VarSetsType list) {
    std::set<std::pair<int, std::string_view>> names;  // with the record in which a name is
    for (const VariableSetImpl& set : sets) {
      const int record = RecordOf(set);
      if ((record == kVariableSetsSubtype) != (list == kPlainSets)) continue;
      if (!HasLine(set) || !names.emplace(record, set.name).second)
        ThrowError::String1(kDatasrcCatalog, kSetNotHeld, set.name.c_str());
    }
  }

  const QUAV_DataSource& m_dictionary;
  const bool m_isPresent;  // whether the file's encoding is the present one
};

}  // namespace

void RefuseEqualNames(const QUAV_DataSource& dictionary) {
  std::set<std::string> names;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const char* const name = dictionary.GetVariable(column).GetUpperCaseName();
    if (!names.insert(name).second) ThrowError::String1(kDatasrcCatalog, kDuplicateName, name);
  }
}

void RefuseUnwritable(const QUAV_DataSource& dictionary, const std::string& encoding) {
  DictionaryCheck(dictionary, encoding).Run();
}
