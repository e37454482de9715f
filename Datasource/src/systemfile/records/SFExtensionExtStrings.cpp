// Record 14: which strings are very long, and their whole widths. Format: docs/system-file.md, "Record 14".

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/text/Ascii.h"
#include "core/systemfileformat.h"
#include "sources/VariableFinder.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::size_t kLongestShortName = 15;  // bytes before the "="
constexpr std::size_t kLongestWidth = 5;       // digits
constexpr std::size_t kWidthSearch = 10;       // the width must end within so many bytes
constexpr std::size_t kMostSeparators = 2;     // NUL bytes or tabs after an entry
constexpr int kWidestShortCell = 8;

using ColumnWidths = SystemFileLayout::ColumnWidths;

bool IsSeparator(char c) { return c == '\0' || c == '\t'; }

class Parser {
 public:
  Parser(std::string_view text, SystemFileDataSource& source, const Renames& renames)
      : m_rest(text), m_source(source), m_renames(Sorted(renames)), m_finder(source), m_isTaken(source.ColumnCount()) {}

  ColumnWidths Parse() {
    while (!m_rest.empty()) ReadEntry();
    std::ranges::sort(m_list);
    return m_list;
  }
  // Returns the number of entries whose segments do not fit.
  long long Misfits() const { return m_misfits; }

 private:
  void ReadEntry() {
    const std::size_t equal = m_rest.substr(0, kLongestShortName + 1).find('=');
    Require(equal != m_rest.npos, kMalformed, "equal != content+16");
    const Rename* const rename = FindRename(m_renames, m_rest.substr(0, equal));
    Require(rename != nullptr, kMalformed, "name == rename->first");
    const int varIndex = m_finder.Find(rename->second);
    Require(varIndex >= 0, kMalformed, "varIndex >= 0");
    m_rest.remove_prefix(equal + 1);
    const int width = ReadWidth();
    if (Fits(varIndex, width))
      Take(varIndex, width);
    else
      ++m_misfits;
    PassSeparators();
  }

  int ReadWidth() {
    const std::string_view lengthString = m_rest.substr(0, kWidthSearch);
    const auto endLen =
        static_cast<std::size_t>(std::ranges::find_if(lengthString, IsSeparator) - lengthString.begin());
    Require(endLen <= kLongestWidth, kMalformed, "endLen < lengthString+6");
    const auto endDigits =
        static_cast<std::size_t>(std::ranges::find_if_not(lengthString, quavmb::IsDigit) - lengthString.begin());
    Require(endLen == endDigits, kMalformed, "endLen == endDigits");
    int width = 0;
    for (const char digit : lengthString.substr(0, endLen)) width = width * 10 + (digit - '0');
    m_rest.remove_prefix(endLen);
    return width;
  }

  void PassSeparators() {
    const std::size_t separators = std::min(m_rest.find_first_not_of(std::string_view("\0\t", 2)), m_rest.size());
    Require(separators <= kMostSeparators, kMalformed, "content < endDigits+3");
    m_rest.remove_prefix(separators);
  }

  // Returns whether the columns from `column` on are the segments of a string of this width. Choice: a width that no
  // string has, and columns of another entry, do not fit either.
  bool Fits(int column, int width) const {
    if (width < 1 || width > MAX_STRING_TYPE) return false;
    const std::string prefix =
        SystemFileDataSource::SaveDS::NamePrefix(m_source.GetVariable(column).GetUpperCaseName());
    const int rest = width % kSegmentTextSize;
    const int nFull = width / kSegmentTextSize;
    const int end = column + SegmentCount(width);
    if (end > static_cast<int>(m_source.ColumnCount())) return false;
    for (int segment = column; segment < end; ++segment) {
      if (m_isTaken[static_cast<std::size_t>(segment)]) return false;
      const QUAV_Variable& variable = std::as_const(m_source).GetVariable(segment);
      if (segment == column + nFull ? !HoldsRest(variable, rest) : !IsWhole(variable, prefix)) return false;
    }
    return true;
  }

  static bool IsWhole(const QUAV_Variable& variable, const std::string& prefix) {
    return variable.GetType() == kSegmentType &&
           std::strncmp(variable.GetUpperCaseName(), prefix.c_str(), prefix.size()) == 0;
  }

  // Returns whether the variable takes as many cells as the rest needs.
  static bool HoldsRest(const QUAV_Variable& variable, int rest) {
    const int most = rest <= kWidestShortCell ? kWidestShortCell : (rest + 7) / 8 * 8;
    return rest <= variable.GetType() && variable.GetType() <= most;
  }

  void Take(int column, int width) {
    for (int segment = column; segment < column + SegmentCount(width); ++segment) {
      m_isTaken[static_cast<std::size_t>(segment)] = true;
      if (segment != column) m_source.GetVariable(segment).SetName("");
    }
    m_list.emplace_back(column, width);
  }

  std::string_view m_rest;
  SystemFileDataSource& m_source;
  Renames m_renames;
  VariableFinder m_finder;
  std::vector<bool> m_isTaken;
  ColumnWidths m_list;
  long long m_misfits = 0;
};

// Replaces the segments of each string with one variable. All are replaced at once: string by string, each would move
// all columns after it.
void JoinSegments(SystemFileDataSource& source, const ColumnWidths& list) {
  if (list.empty()) return;
  const int first = list.front().first;
  const auto count = static_cast<int>(source.ColumnCount());
  std::vector<QUAV_Variable> columns;
  auto next = list.begin();
  for (int column = first; column < count;) {
    QUAV_Variable variable(source.GetVariable(column));
    int segments = 1;
    if (next != list.end() && next->first == column) {
      variable.SetType(next->second);
      variable.SetFormat(kFormatString, next->second, 0);
      segments = SegmentCount(next->second);
      ++next;
    }
    columns.push_back(std::move(variable));
    column += segments;
  }
  source.DeleteVariables(first, count - 1);
  for (const QUAV_Variable& variable : columns) source.MakeVariable(variable, nullptr);
}

class SFExtensionExtStrings final : public SystemFileExtensionHandler {
 public:
  SFExtensionExtStrings() { Register(kVeryLongStringsSubtype, this); }

  // Always forms the short names: the record of long names, which comes next, contains them.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    const Renames renames = Sorted(source.FormRenames());
    const ColumnWidths list = source.VeryLongStrings();
    std::string text;
    for (const auto& [column, width] : list) {
      const char* const name = std::as_const(source).GetVariable(column).GetName();
      const Rename* const rename = FindRename(renames, name);
      text += rename != nullptr ? rename->second : name;
      text += '=' + std::to_string(width);
      text += '\0';
      text += '\t';
    }
    if (list.empty()) return;
    record.Fill(text);
    source.SetExtendedStrings(list);
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    // The first list that joins anything stands: after it the dictionary does not have the segments any more.
    if (options.layout.Dechunker().Active())
      return options.NoteFlaw("very long strings were joined before: the record is not used");
    options.layout = SystemFileLayout(source, {}, options.Order());
    ColumnWidths list;
    try {
      Parser parser(record.Text(), source, options.renames);
      list = parser.Parse();
      options.NoteFlaws(parser.Misfits(), "very long strings whose variables do not fit, and are not joined");
    } catch (const SystemFileException&) {
      // Deliberate: the file opens, with the segments as variables.
      return options.NoteFlaw("the list of very long strings cannot be read: none is joined");
    }
    options.layout = SystemFileLayout(source, list, options.Order());
    JoinSegments(source, list);
  }
};

SFExtensionExtStrings theExtStringsHandler;

}  // namespace
