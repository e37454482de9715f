#include "tools/cases/SortKeys.h"

#include <array>
#include <cstdio>

#include "Columns/text/ShownText.h"
#include "datasrc/SortIndexInfo.h"

namespace tool {

namespace {

constexpr std::size_t kNumberSize = 41;  // characters of a number in a key
constexpr int kAscending = 1;            // the attribute of a key; the library only keeps it
constexpr int kDescending = -1;

std::string NumberPiece(double number) {
  std::array<char, 512> text{};  // the longest double in this form has some 330 characters
  std::snprintf(text.data(), text.size(), "%041.16f", number);
  return std::string(text.data()).substr(0, kNumberSize);
}

}  // namespace

std::string KeyText(const QUAV_DataSource& dictionary, const std::vector<SortColumn>& columns,
                    const std::vector<OBS>& cells) {
  std::string key;
  for (const SortColumn& one : columns) {
    const int type = dictionary.GetVariable(one.column).GetType();
    const OBS* const value = cells.data() + dictionary.ObsIndex(one.column);
    key += type == 0 ? NumberPiece(CellNumber(*value)) : std::string(CellText(value), static_cast<std::size_t>(type));
  }
  key = dstext::WithoutTrailingBlanks(key);
  const std::string ends = std::string(" \t\n\v\f\r") + groupDelimiterChar + unitDelimiterChar + '\0';
  return key.substr(0, key.find_first_of(ends));
}

void SetSortKeys(QUAV_DataSource& dictionary, const SortKeys& keys) {
  SortIndexInfo info;
  std::vector<FileSort::SortKey> stored;
  for (const SortColumn& one : keys.columns)
    stored.push_back({static_cast<int>(dictionary.ObsIndex(one.column)), one.isDescending ? kDescending : kAscending,
                      dictionary.GetVariable(one.column).GetType()});
  info.SetIndexKeys(stored);
  // A file keeps no keys without an index, so it has one also for no case.
  if (!stored.empty()) {
    std::vector<SortIndexInfo::SortIndexKeyRowPair> pairs{{keys.firstKey, keys.cases == 0 ? 0 : 1}};
    if (keys.cases > 1) pairs.emplace_back(keys.lastKey, keys.cases);
    info.SetIndex(pairs);
  }
  dictionary.SetSortIndexInfo(info);
}

}  // namespace tool
