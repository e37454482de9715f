// Each condition on which the library ends the process, and the function here that finds it:
//
//   contents   condition                                the library's assertion                found by
//   sets       an unknown type                          (type == 'D') || (type == 'C') || ...  SetLine::Flaw
//   sets       no blank before the flags                blank == ' '                           SetLine::Blank
//   sets       a value without a length                 length != 0                            SetLine::Value
//   sets       no blank before the label's length       space == ' '                           SetLine::Blank
//   sets       no length of the label                   (length != 0) || (strLabelLength...    SetLine::Label
//   sets       a value or label longer than the line    length <= line.size()                  SetLine::Text
//   sets       no blank after the label                 space == ' '                           SetLine::Blank
//   sets       a repeated name after a nameless set     ! str.empty()                          SetNames::NameFlaw
//   trends     more than 10 date variables              nDateVars < eMaxDateVars               FindFlawOfTrends
//   trends     date variables, but a count below 1      iDateVar >= 0 && fData.fVars != 0      FindFlawOfTrends
//   trends     more than the count, besides the key     iDateVar < fData.fnDateVars || ...     FindFlawOfTrends
//   documents  an incomplete line                       bytes%80 == 0                          FindFlawOfDocuments
//   documents  a date of less than 9 bytes              8 < date.size()                        HasDate
//   documents  a day that is not a number               '0' <= date[0] && ..., date[1]         HasDate
//   documents  a month that does not exist              0 < mo && mo < 13                      HasDate
//   documents  a year that is not a number              '0' <= date[7] && ..., date[8]         HasDate
//   documents  a day outside 1 to 31                    0 < da && da < 32                      HasDate
//
// Attributes (records 17 and 18) and sort keys (record 23) never end the process, whatever they contain.

#include "tools/systemfile/MetadataLookAhead.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <unordered_map>

namespace tool {

namespace {

// ---- Sets ----

constexpr int kMRSetsSubtype = 7;
constexpr std::size_t kLeastLine = 2;

// Parses the line of a multiple response set from its start. Each step returns what is wrong, or null.
class SetLine {
 public:
  explicit SetLine(std::string_view text) : m_rest(text.substr(0, text.find_first_of("\r\n"))) {}

  const char* Flaw() {
    Token('=');
    const char type = Byte();
    if (type != 'C' && type != 'D' && type != 'E') return "has an unknown type";
    if (type == 'E') {
      if (const char* const flaw = Blank()) return flaw;
      Token(' ');
    }
    if (type != 'C') {
      if (const char* const flaw = Value()) return flaw;
    }
    return Label();
  }

 private:
  const char* Value() {
    const long length = Number(Token(' '));
    return length == 0 ? "has a counted value without a length" : Text(length);
  }
  const char* Label() {
    if (const char* const flaw = Blank()) return flaw;
    const std::string_view text = Token(' ');
    const long length = Number(text);
    if (length == 0 && !text.starts_with('0')) return "has a label without a length";
    if (const char* const flaw = length == 0 ? nullptr : Text(length)) return flaw;
    return Blank();
  }
  const char* Blank() { return Byte() == ' ' ? nullptr : "lacks a blank"; }
  const char* Text(long length) {
    if (static_cast<std::size_t>(length) > m_rest.size()) return "has a value or label longer than its line";
    m_rest.remove_prefix(static_cast<std::size_t>(length));
    return nullptr;
  }

  std::string_view Token(char delimiter) {
    const std::size_t end = std::min(m_rest.find(delimiter), m_rest.size());
    const std::string_view token = m_rest.substr(0, end);
    m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
    return token;
  }
  char Byte() {
    if (m_rest.empty()) return '\0';
    const char byte = m_rest.front();
    m_rest.remove_prefix(1);
    return byte;
  }
  static long Number(std::string_view text) { return std::strtol(std::string(text).c_str(), nullptr, 10); }

  std::string_view m_rest;
};

// The names of a record's sets, in file order. When a name repeats, the library searches the sets from the first one to
// the one with that name, and compares in upper case. It ends the process when a set up to there has no name.
//
// Choice: this class compares names by their bytes. It therefore also refuses a file in which the library would find
// another spelling of the name before the set without a name.
class SetNames {
 public:
  // Returns what is wrong with the next set, or null.
  const char* NameFlaw(std::string_view line) {
    const std::string_view name = line.substr(0, line.find_first_of("=\r"));
    const std::size_t index = m_places.size();
    const auto [place, isNew] = m_places.emplace(name, index);
    if (isNew && name.empty()) m_nameless = index;
    return !isNew && m_nameless <= place->second ? "repeats a name after a set without a name" : nullptr;
  }

 private:
  std::unordered_map<std::string_view, std::size_t> m_places;
  std::size_t m_nameless = ~std::size_t{0};  // the first set without a name; initially there is none
};

const char* FlawOfSet(std::string_view line, int subtype, SetNames& names) {
  const bool isMRSetByRecord = subtype == kMRSetsSubtype;  // the library adds the missing $ to these names
  const char* const flaw = isMRSetByRecord || line.starts_with('$') ? SetLine(line).Flaw() : nullptr;
  return flaw == nullptr && !isMRSetByRecord ? names.NameFlaw(line) : flaw;
}

// ---- Trends ----

constexpr std::size_t kNumberSize = 4;
constexpr std::int64_t kLeadingUnits = 6;
constexpr std::int64_t kUnitsOfVariable = 3;
constexpr std::size_t kNumberOfVariablesPlace = 2;
constexpr std::int32_t kMostDateVars = 10;
constexpr std::int32_t kDateKeyType = 11;

std::int32_t NumberAt(std::string_view contents, std::size_t place, bool reversed) {
  std::array<char, kNumberSize> raw{};
  contents.copy(raw.data(), raw.size(), place * kNumberSize);
  if (reversed) std::ranges::reverse(raw);
  return std::bit_cast<std::int32_t>(raw);
}

// ---- Documents ----

constexpr std::size_t kLineSize = 80;
constexpr std::string_view kDateLine = "   (Entered ";

bool IsDigit(char c) { return '0' <= c && c <= '9'; }
bool IsLetter(char c) { return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z'); }

bool IsMonth(std::string month) {
  constexpr std::array kMonths{"JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  std::ranges::transform(month, month.begin(),
                         [](char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return std::ranges::find(kMonths, month) != kMonths.end();
}

bool HasDate(std::string_view line) {
  constexpr std::size_t kWithCentury = 11;
  constexpr std::size_t kCenturyPlace = 7;
  const std::string_view inside = line.substr(kDateLine.size(), line.rfind(')') - kDateLine.size());
  std::string date;
  for (const char c : inside)
    if (IsDigit(c) || IsLetter(c) || c == '-' || c == ' ') date += c == ' ' ? '-' : c;
  if (date.size() == kWithCentury) date.erase(kCenturyPlace, 2);
  if (date.size() < 9 || !IsDigit(date[0]) || !IsDigit(date[1]) || !IsDigit(date[7]) || !IsDigit(date[8])) return false;
  const int day = (date[0] - '0') * 10 + (date[1] - '0');
  return 0 < day && day < 32 && IsMonth(date.substr(3, 3));
}

}  // namespace

std::optional<ContentsFlaw> FindFlawOfSets(std::string_view contents, int subtype) {
  SetNames names;
  for (std::size_t start = 0; start + kLeastLine <= contents.size();) {
    const std::size_t end = std::min(contents.find('\n', start), contents.size());
    std::string_view line = contents.substr(start, end - start);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() >= kLeastLine)
      if (const char* const flaw = FlawOfSet(line, subtype, names))
        return ContentsFlaw{std::string("a set ") + flaw, start};
    start = end + 1;
  }
  return std::nullopt;
}

std::optional<ContentsFlaw> FindFlawOfTrends(std::string_view contents, std::int64_t nUnits, bool reversed) {
  // The library counts units, whatever their size, and reports by itself a unit without a number.
  const auto nNumbers = static_cast<std::int64_t>(contents.size() / kNumberSize);
  if (nNumbers < kLeadingUnits) return std::nullopt;
  const std::int64_t nDateVars = NumberAt(contents, kNumberOfVariablesPlace, reversed);
  if (nUnits < kUnitsOfVariable * nDateVars + kLeadingUnits) return std::nullopt;
  if (nDateVars > kMostDateVars)
    return ContentsFlaw{"there are more than 10 date variables", kNumberOfVariablesPlace * kNumberSize};
  const std::int64_t nVariables = (std::min(nUnits, nNumbers) - kLeadingUnits) / kUnitsOfVariable;
  for (std::int64_t k = 0; k < nVariables; ++k) {
    const auto place = static_cast<std::size_t>(kLeadingUnits + k * kUnitsOfVariable);
    if (NumberAt(contents, place, reversed) < 1) continue;
    const std::int32_t type = NumberAt(contents, place + 1, reversed);
    const bool isKey = nDateVars > 0 && k == nDateVars && (type == kDateKeyType || type == 0);
    if (k >= nDateVars && !isKey) return ContentsFlaw{"there is one date variable too many", place * kNumberSize};
  }
  return std::nullopt;
}

bool IsDateLine(std::string_view line) { return line.starts_with(kDateLine); }

std::optional<ContentsFlaw> FindFlawOfDocuments(std::string_view contents, std::size_t unitSize) {
  if (contents.size() % kLineSize != 0) return ContentsFlaw{"the documents end inside a line", contents.size()};
  const std::size_t step = kLineSize / unitSize * unitSize;
  if (step == 0) return std::nullopt;
  for (std::size_t start = 0; start + step <= contents.size(); start += step) {
    std::string line(contents.substr(start, step));
    line.resize(kLineSize, '\0');
    if (!IsDateLine(line)) continue;
    if (!HasDate(line)) return ContentsFlaw{"the date line of a document has no valid date", start};
    start += step;  // skips the line that separates two documents
  }
  return std::nullopt;
}

}  // namespace tool
