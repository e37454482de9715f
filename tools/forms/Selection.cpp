#include "tools/forms/Selection.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "tools/cases/ColumnsCases.h"
#include "tools/cases/RowsCases.h"
#include "tools/commandline/NameList.h"

namespace tool {

namespace {

constexpr std::size_t kSortMemory = std::size_t{512} << 20;
constexpr std::size_t kLeastMemory = std::size_t{1} << 20;  // less would only make many small runs
constexpr int kMostShift = 40;

SortName SortNameOf(const std::string& part) {
  const std::size_t colon = part.rfind(':');
  if (colon == part.npos) return {part};
  const std::string order = part.substr(colon + 1);
  if (order != "asc" && order != "desc") throw WrongUsage("--sort", "'" + order + "' is neither asc nor desc");
  if (colon == 0) throw WrongUsage("--sort", "a name is missing");
  return {part.substr(0, colon), order == "desc"};
}

// Parses a number of bytes: 500000, 64K, 100M, 2G.
std::size_t SizeOf(const std::string& text) {
  std::size_t size = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, size);
  std::string_view unit(result.ptr, end);
  constexpr std::string_view kUnits = "KMGT";
  int shift = 0;
  if (!unit.empty()) {
    const char letter =
        static_cast<char>('a' <= unit.front() && unit.front() <= 'z' ? unit.front() - 'a' + 'A' : unit.front());
    const std::size_t place = kUnits.find(letter);
    shift = place == kUnits.npos ? kMostShift + 1 : 10 * (static_cast<int>(place) + 1);
    unit.remove_prefix(1);
  }
  if (result.ec != std::errc() || !unit.empty() || shift > kMostShift || size == 0 || size >> (63 - shift) != 0)
    throw WrongUsage("--memory", "'" + text + "' is not a size such as 500M or 2G");
  return size << shift;
}

// Returns the columns of the sort in the dictionary.
std::vector<SortColumn> SortColumns(const QUAV_DataSource& dictionary, const std::vector<SortName>& sort) {
  std::vector<std::string> names;
  for (const SortName& one : sort) names.push_back(one.name);
  const std::vector<int> found = ColumnsOfNames(dictionary, names);
  std::vector<SortColumn> columns;
  for (std::size_t i = 0; i < sort.size(); ++i) columns.push_back({found[i], sort[i].isDescending});
  return columns;
}

// Returns the sort keys of the new file: those up to the first that it does not have.
SortKeys KeysOf(const SortedCases& sorted, const std::vector<SortColumn>& columns, const QUAV_DataSource& dictionary,
                const std::vector<int>* chosen) {
  std::vector<SortColumn> kept;
  SortKeys keys;
  for (const SortColumn& one : columns) {
    int column = one.column;
    if (chosen != nullptr) {
      const auto found = std::ranges::find(*chosen, column);
      if (found == chosen->end()) break;
      column = static_cast<int>(found - chosen->begin());
    }
    kept.push_back(one);
    keys.columns.push_back({column, one.isDescending});
  }
  keys.cases = sorted.Count();
  if (keys.cases == 0) return keys;
  keys.firstKey = KeyText(dictionary, kept, sorted.FirstCase());
  keys.lastKey = KeyText(dictionary, kept, sorted.LastCase());
  return keys;
}

}  // namespace

RowRange RowsOf(const std::optional<std::string>& rows) {
  if (!rows) return {};
  if (const auto range = ParseRowRange(*rows)) return *range;
  throw WrongUsage("--rows", "'" + *rows + "' is not a range FROM:TO of case numbers");
}

Selection SelectionOf(const SelectionOptions& options) {
  Selection selection;
  selection.columns = ParseNames("--columns", options.columns);
  selection.rows = RowsOf(options.rows);
  selection.hasRows = options.rows.has_value();
  for (const std::string& part : ParseNames("--sort", options.sort)) selection.sort.push_back(SortNameOf(part));
  selection.memory = options.memory ? std::max(SizeOf(*options.memory), kLeastMemory) : kSortMemory;
  if (options.memory && !options.sort) throw WrongUsage("--memory", "the option is for --sort");
  return selection;
}

SelectedInput Select(CaseInput input, const Selection& selection) {
  SelectedInput selected{std::move(input), {}, nullptr, {}};
  const QUAV_DataSource& whole = *selected.input.dictionary;
  selected.columns = ShowColumns(whole, selection.columns);
  const std::vector<SortColumn> sort = SortColumns(whole, selection.sort);
  std::unique_ptr<CaseReader> cases = std::move(selected.input.cases);
  if (selection.hasRows) cases = std::make_unique<RowsCases>(std::move(cases), selection.rows);
  const std::vector<int> unique = UniqueColumns(ColumnsOfNames(whole, selection.columns));
  // Cases that were dropped, or columns, make an index of the old file useless.
  if (!selection.IsAll()) selected.sortKeys.emplace();
  if (!sort.empty()) {
    auto sorted = std::make_unique<SortedCases>(std::move(cases), whole, sort, selection.memory);
    selected.sortKeys = KeysOf(*sorted, sort, whole, selected.columns.projection ? &unique : nullptr);
    cases = std::move(sorted);
  }
  if (selected.columns.projection)
    cases = std::make_unique<ColumnsCases>(std::move(cases), whole, *selected.columns.projection, unique);
  selected.cases = std::move(cases);
  return selected;
}

}  // namespace tool
