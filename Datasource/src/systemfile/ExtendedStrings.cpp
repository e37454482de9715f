// Writes very long strings: the file stores a string wider than 255 bytes as a run of string variables, its segments.
// Format: docs/system-file.md, "Very long strings".

#include <array>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>

#include "core/cap_ltoa.h"
#include "core/systemfileformat.h"
#include "systemfile/Movers.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SaveDSData.h"

namespace {

constexpr unsigned kCounterBase = 36;

// Names for the segments after the first: a prefix and a counter, which skips taken names.
class SegmentNames {
 public:
  explicit SegmentNames(const Renames& renames) {
    for (const Rename& rename : renames) m_taken.insert(QuavSystemFile::StringRef(rename.second.c_str()));
  }

  // The counter of a prefix continues where it stopped: all lower numbers are taken.
  std::string Next(const std::string& prefix) {
    long& counter = m_counters[prefix];
    for (;;) {
      std::array<char, 65> digits;
      std::string name = prefix + cap_ltoa(counter++, digits.data(), kCounterBase);
      if (!m_taken.contains(QuavSystemFile::StringRef(name.c_str()))) return name;
    }
  }
  // The text must live as long as this object.
  void Take(const char* upperName) { m_taken.insert(QuavSystemFile::StringRef(upperName)); }

 private:
  std::set<QuavSystemFile::StringRef> m_taken;
  std::unordered_map<std::string, long> m_counters;
};

// Returns the variables of a string's segments; the first keeps the variable's name.
std::vector<QUAV_Variable> Segments(const QUAV_Variable& variable, int width, SegmentNames& names) {
  const std::string prefix = SystemFileDataSource::SaveDS::NamePrefix(variable.GetUpperCaseName());
  const int rest = width % kSegmentTextSize;
  const int count = SegmentCount(width);
  QUAV_Variable whole(variable);
  whole.SetType(kSegmentType);
  whole.SetFormat(kFormatString, kSegmentType, 0);
  std::vector<QUAV_Variable> segments;
  for (int k = 0; k < count; ++k) {
    QUAV_Variable segment(whole);
    if (k == count - 1 && rest != 0) {
      segment.SetType(rest);
      segment.SetFormat(kFormatString, rest, 0);
    }
    if (k != 0) {
      segment.SetName(names.Next(prefix).c_str());
      names.Take(segment.GetUpperCaseName());
    }
    segments.push_back(std::move(segment));
  }
  return segments;
}

}  // namespace

void SystemFileDataSource::SaveDS::SetExtendedStrings(const std::vector<std::pair<int, int>>& list) {
  m_->estringVars = list;
  if (list.empty()) return;
  unsigned long fileCells = GetObsAreaSize();
  for (const auto& [column, width] : list) fileCells += FileCells(static_cast<unsigned long>(width)) - CellCount(width);
  m_->rowBuffer = std::make_unique<OBS[]>(fileCells);

  unsigned long logical = 0;
  unsigned long file = 0;
  const auto copyUpTo = [&](unsigned long cell) {
    if (cell == logical) return;
    m_->movers.push_back(std::make_unique<OrdinaryMover>(cell - logical, &m_->rowBuffer[file]));
    file += cell - logical;
    logical = cell;
  };
  for (const auto& [column, width] : list) {
    copyUpTo(static_cast<unsigned long>(ObsIndex(column)));
    m_->movers.push_back(std::make_unique<EStringMover>(width, &m_->rowBuffer[file]));
    file += FileCells(static_cast<unsigned long>(width));
    logical += CellCount(width);
  }
  copyUpTo(GetObsAreaSize());

  // Format: the segments get their names from the last string to the first. They enter the dictionary all at once:
  // one by one, each would move all columns after it.
  SegmentNames names(FormRenames());
  std::vector<std::vector<QUAV_Variable>> segments(list.size());
  for (std::size_t i = list.size(); i-- > 0;) segments[i] = Segments(GetVariable(list[i].first), list[i].second, names);
  std::vector<QUAV_Variable> columns;
  std::size_t next = 0;
  for (int column = list.front().first; column < static_cast<int>(ColumnCount()); ++column) {
    if (next == list.size() || column != list[next].first)
      columns.push_back(GetVariable(column));
    else
      for (QUAV_Variable& segment : segments[next++]) columns.push_back(std::move(segment));
  }
  DeleteVariables(list.front().first, static_cast<int>(ColumnCount()) - 1);
  for (const QUAV_Variable& variable : columns) MakeVariable(variable, nullptr);
}

std::vector<std::pair<int, int>> SystemFileDataSource::SaveDS::VeryLongStrings() const {
  if (m_->isAppending) return m_->options.layout.VeryLongStrings();
  std::vector<std::pair<int, int>> list;
  for (int column = 0; column < static_cast<int>(ColumnCount()); ++column)
    if (const int width = GetVariable(column).GetType(); width > kMaxFileStringWidth) list.emplace_back(column, width);
  return list;
}

std::vector<std::pair<int, int>> SystemFileDataSource::SaveDS::ExtendedStringsInFile() const {
  std::vector<std::pair<int, int>> list = m_->estringVars;
  int added = 0;
  for (auto& [column, width] : list) {
    column += added;
    added += SegmentCount(width) - 1;
  }
  return list;
}
