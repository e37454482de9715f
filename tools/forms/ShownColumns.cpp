#include "tools/forms/ShownColumns.h"

#include <unordered_map>
#include <unordered_set>

#include "Columns/text/ShownText.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "tools/forms/TextCases.h"
#include "tools/text/NearestName.h"

namespace tool {

using namespace dstext;

namespace {

constexpr int kNoSuchVariable = 1507;

std::unordered_map<std::string, int> ColumnsByName(const QUAV_DataSource& data) {
  std::unordered_map<std::string, int> columns;  // keyed by the name in upper case
  for (const int column : AllColumns(data)) columns.emplace(data.GetVariable(column).GetUpperCaseName(), column);
  return columns;
}

[[noreturn]] void ThrowNoSuchVariable(const QUAV_DataSource& data, const std::string& name) {
  std::vector<std::string> names;
  for (const int column : AllColumns(data)) names.emplace_back(data.GetVariable(column).GetName());
  const std::string hint = NearestNameHint(name, names);
  if (hint.empty()) ThrowError::String2(kDatasrcCatalog, kNoSuchVariable, name.c_str(), data.GetFileSpec());
  ThrowError::String2(kDatasrcCatalog, kNoSuchVariable, (name + hint).c_str(), data.GetFileSpec());
}

}  // namespace

std::vector<int> ColumnsOfNames(const QUAV_DataSource& data, const std::vector<std::string>& names) {
  const auto known = ColumnsByName(data);
  std::vector<int> columns;
  for (const std::string& name : names) {
    const auto found = known.find(QUAVMBstrupr_A(std::string(WithoutTrailingBlanks(name))));
    if (found == known.end()) ThrowNoSuchVariable(data, name);
    columns.push_back(found->second);
  }
  return columns;
}

std::vector<int> UniqueColumns(const std::vector<int>& columns) {
  std::vector<int> unique;
  std::unordered_set<int> known;
  for (const int column : columns)
    if (known.insert(column).second) unique.push_back(column);
  return unique;
}

ShownColumns ShowColumns(const QUAV_DataSource& data, const std::vector<std::string>& names) {
  if (names.empty()) return {nullptr, AllColumns(data)};
  std::vector<unsigned int> columns;
  std::unordered_map<int, int> places;  // of the columns, in `columns`
  std::vector<int> indexes;
  for (const int column : ColumnsOfNames(data, names)) {
    const auto [place, isNew] = places.emplace(column, static_cast<int>(columns.size()));
    if (isNew) columns.push_back(static_cast<unsigned int>(column));
    indexes.push_back(place->second);
  }
  return {std::make_unique<const QUAV_CProjection>(data, columns.data(), static_cast<unsigned int>(columns.size())),
          indexes};
}

}  // namespace tool
