#include "Columns/dictionary/DictionaryFacts.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "Platform/text/QUAVMB.h"
#include "datasrc/Calendar.h"
#include "datasrc/CodePageDataSource.h"
#include "datasrc/UTF8DataSource.h"

namespace dstext {

const SystemFileDataSource* FileBehind(const QUAV_DataSource& source) {
  const QUAV_DataSource* last = &source;
  while (last->GetParentSource() != nullptr) last = last->GetParentSource();
  return dynamic_cast<const SystemFileDataSource*>(last);
}

std::string TextEncodingOf(const QUAV_DataSource& source) {
  for (const QUAV_DataSource* one = &source; one != nullptr; one = one->GetParentSource()) {
    if (const auto* file = dynamic_cast<const SystemFileDataSource*>(one)) return file->CharacterEncoding();
    if (const auto* view = dynamic_cast<const CodePageDataSource*>(one)) return view->CharacterEncoding();
    if (dynamic_cast<const UTF8DataSource*>(one) != nullptr) break;
  }
  return kUtf8Name;
}

std::string CompressionName(int level) {
  constexpr std::array kNames{"none", "bytecode", "zlib"};
  if (0 <= level && level < std::ssize(kNames)) return kNames[static_cast<std::size_t>(level)];
  return std::to_string(level);
}

std::string TimestampText(double timestamp) {
  long day = 0;
  long month = 0;
  long year = 0;
  long hour = 0;
  long minute = 0;
  double second = 0;
  iQuav2DMY(timestamp, &day, &month, &year, &hour, &minute, &second);
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%04ld-%02ld-%02ld %02ld:%02ld:%02d", year, month, day, hour, minute,
                static_cast<int>(second));
  return text.data();
}

std::string DateText(const DSDocument& document) {
  std::array<char, 48> text;
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", document.Year(), document.Month(), document.Day());
  return text.data();
}

std::vector<const OBS*> MissingValues(const QUAV_Variable& variable, int* code) {
  std::array<const OBS*, 3> values{};
  *code = variable.GetMissingValues(values[0], values[1], values[2]);
  return {values.begin(), values.begin() + std::abs(*code)};
}

std::string_view OpenEndName(const OBS& cell) {
  // The lowest number has the same bits as the system-missing value.
  if (cell.bits == kSystemMissingBits) return "lowest";
  return cell.bits == kHighNumberBits ? "highest" : "";
}

MemberFinder::MemberFinder(const QUAV_DataSource& source) : m_source(source) {
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    m_columns.emplace(source.GetVariable(column).GetID(), column);
}

std::vector<std::string> MemberFinder::Names(const VariableSetImpl& set) const {
  std::vector<std::string> names;
  for (const LocallyUniqueID id : set.members)
    if (const auto found = m_columns.find(id); found != m_columns.end())
      names.emplace_back(m_source.GetVariable(found->second).GetName());
  return names;
}

}  // namespace dstext
