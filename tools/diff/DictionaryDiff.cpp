#include "tools/diff/DictionaryDiff.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Columns/dictionary/DictionaryJson.h"
#include "Columns/text/ShownText.h"
#include "tools/text/TerminalText.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;
using Columns = std::vector<std::pair<int, int>>;

constexpr std::size_t kWidestValue = 60;  // columns of a terminal
constexpr std::array<std::string_view, 11> kNoData{"compression",    "byte_order",       "encoding",  "encrypted",
                                                   "eye_catcher",    "release",          "timestamp", "cases",
                                                   "cells_per_case", "extensions_found", "name"};

std::string Shown(const Json& value) {
  return CutToWidth(OneLine(value.dump(-1, ' ', false, Json::error_handler_t::replace)), kWidestValue);
}

std::string Name(const QUAV_DataSource& data, int column) {
  return OneLine(dstext::ShownText("").Valid(data.GetVariable(column).GetName()));
}

void CompareMembers(const std::string& owner, const Json& first, const Json& second, Differences& differences) {
  static const Json kNone;
  const auto compare = [&](const std::string& name) {
    if (std::ranges::find(kNoData, name) != kNoData.end()) return;
    const Json& a = first.contains(name) ? first[name] : kNone;
    const Json& b = second.contains(name) ? second[name] : kNone;
    if (a != b) differences.Add(owner + name, Shown(a), Shown(b));
  };
  for (const auto& member : first.items()) compare(member.key());
  for (const auto& member : second.items())
    if (!first.contains(member.key())) compare(member.key());
}

Columns MatchByName(const QUAV_DataSource& first, const QUAV_DataSource& second, Differences& differences) {
  std::unordered_map<std::string, int> unmatched;
  for (int column = 0; column < static_cast<int>(second.ColumnCount()); ++column)
    unmatched.emplace(second.GetVariable(column).GetUpperCaseName(), column);
  Columns both;
  for (int column = 0; column < static_cast<int>(first.ColumnCount()); ++column) {
    const auto found = unmatched.find(first.GetVariable(column).GetUpperCaseName());
    if (found == unmatched.end()) {
      differences.Add("variable " + Name(first, column), "only in the first file");
      continue;
    }
    both.emplace_back(column, found->second);
    unmatched.erase(found);
  }
  std::vector<int> others;
  for (const auto& [name, column] : unmatched) others.push_back(column);
  std::ranges::sort(others);
  for (const int column : others) differences.Add("variable " + Name(second, column), "only in the second file");
  return both;
}

}  // namespace

std::vector<std::pair<int, int>> CompareDictionaries(const QUAV_DataSource& first, const QUAV_DataSource& second,
                                                     Differences& differences) {
  dstext::DictionaryJson firstJson(first);
  dstext::DictionaryJson secondJson(second);
  CompareMembers("", Json::parse(firstJson.File()), Json::parse(secondJson.File()), differences);
  const Columns both = MatchByName(first, second, differences);
  if (!std::ranges::is_sorted(both, {}, &std::pair<int, int>::second))
    differences.Add("variables", "their order is another");
  for (const auto& [a, b] : both) {
    const std::string name = Name(first, a);
    if (name != Name(second, b)) differences.Add("variable " + name + ", name", name, Name(second, b));
    const std::string inFirst = firstJson.Variable(a);
    const std::string inSecond = secondJson.Variable(b);
    if (inFirst == inSecond) continue;
    CompareMembers("variable " + name + ", ", Json::parse(inFirst), Json::parse(inSecond), differences);
  }
  return both;
}

}  // namespace tool
