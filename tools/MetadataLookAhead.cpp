// Each condition on which the library ends the process, and the function here that finds it:
//
//   contents      condition                                          the library's assertion
//   sets          a line that begins with "$" and has a type that     "(type == 'D') || (type == 'C') || (type == 'E')"
//                 there is not                                        SetLine::Type
//   sets          no blank where one is due                           "blank == ' '", "space == ' '" SetLine::Blank
//   sets          a dichotomy whose value has no length               "length != 0" SetLine::Value sets          a
//   label's length that is no number                  "(length != 0) || (strLabelLength[0] == '0')"
//                                                                     SetLine::Label
//   sets          a text longer than the line                         "length <= line.size()"             SetLine::Text
//   trends        more than 10 date variables                         "nDateVars < eMaxDateVars" FindFlawOfTrends
//   trends        date variables behind those that are announced,     the two of SetDateVar FindFlawOfTrends
//                 or a date key of another type
//   documents     lines that are not whole                            "bytes%80 == 0"              FindFlawOfDocuments
//   documents     a date line without a date                          those of SetDate, Day and Month     DateFlaw

#include "MetadataLookAhead.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>

namespace tool {

namespace {

// ---- Sets ----

constexpr int kMRSetsSubtype = 7;
constexpr std::size_t kLeastLine = 2;

// A line of a multiple response set, taken from the front. Each step answers what is wrong, or nothing.
class SetLine {
 public:
  explicit SetLine(std::string_view text) : m_rest(text.substr(0, text.find_first_of("\r\n"))) {}

  const char* Flaw() {
    Token('=');
    const char type = Byte();
    if (type != 'C' && type != 'D' && type != 'E') return "is of no type that there is";
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
    return length == 0 ? "counts a value of no length" : Text(length);
  }
  const char* Label() {
    if (const char* const flaw = Blank()) return flaw;
    const std::string_view text = Token(' ');
    const long length = Number(text);
    if (length == 0 && !text.starts_with('0')) return "has no length of its label";
    if (const char* const flaw = length == 0 ? nullptr : Text(length)) return flaw;
    return Blank();
  }
  const char* Blank() { return Byte() == ' ' ? nullptr : "lacks a blank"; }
  const char* Text(long length) {
    if (static_cast<std::size_t>(length) > m_rest.size()) return "ends in front of its value or label";
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

// ---- Trends ----

constexpr std::size_t kUnitSize = 4;
constexpr std::size_t kLeadingUnits = 6;
constexpr std::size_t kUnitsOfVariable = 3;
constexpr std::size_t kNumberPlace = 2;  // of the number of date variables, in units
constexpr std::int32_t kMostDateVars = 10;
constexpr std::int32_t kDateKeyType = 11;

std::int32_t UnitAt(std::string_view contents, std::size_t unit, bool reversed) {
  std::array<char, kUnitSize> raw{};
  contents.copy(raw.data(), raw.size(), unit * kUnitSize);
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
  for (std::size_t start = 0; start + kLeastLine <= contents.size();) {
    const std::size_t end = std::min(contents.find('\n', start), contents.size());
    std::string_view line = contents.substr(start, end - start);
    if (line.ends_with('\r')) line.remove_suffix(1);
    const bool isMRSet = line.starts_with('$') || subtype == kMRSetsSubtype;
    if (line.size() >= kLeastLine && isMRSet)
      if (const char* const flaw = SetLine(line).Flaw()) return ContentsFlaw{std::string("a set ") + flaw, start};
    start = end + 1;
  }
  return std::nullopt;
}

std::optional<ContentsFlaw> FindFlawOfTrends(std::string_view contents, bool reversed) {
  const std::size_t units = contents.size() / kUnitSize;
  if (units < kLeadingUnits) return std::nullopt;
  const std::int32_t nDateVars = UnitAt(contents, kNumberPlace, reversed);
  // The library finds by itself that the record is too short for them.
  if (nDateVars > 0 && units < kUnitsOfVariable * static_cast<std::size_t>(nDateVars) + kLeadingUnits)
    return std::nullopt;
  if (nDateVars > kMostDateVars) return ContentsFlaw{"there are more than 10 date variables", kNumberPlace * kUnitSize};
  for (std::size_t k = 0; kLeadingUnits + (k + 1) * kUnitsOfVariable <= units; ++k) {
    const std::size_t place = kLeadingUnits + k * kUnitsOfVariable;
    if (UnitAt(contents, place, reversed) < 1) continue;
    const std::int32_t type = UnitAt(contents, place + 1, reversed);
    const auto index = static_cast<std::int64_t>(k);
    const bool isKey = nDateVars > 0 && index == nDateVars && (type == kDateKeyType || type == 0);
    if (index >= nDateVars && !isKey) return ContentsFlaw{"there is a date variable too many", place * kUnitSize};
  }
  return std::nullopt;
}

bool IsDateLine(std::string_view line) { return line.starts_with(kDateLine); }

std::optional<ContentsFlaw> FindFlawOfDocuments(std::string_view contents, std::size_t unitSize) {
  if (contents.size() % kLineSize != 0) return ContentsFlaw{"the documents end within a line", contents.size()};
  const std::size_t step = kLineSize / unitSize * unitSize;
  if (step == 0) return std::nullopt;
  for (std::size_t start = 0; start + step <= contents.size(); start += step) {
    std::string line(contents.substr(start, step));
    line.resize(kLineSize, '\0');
    if (!IsDateLine(line)) continue;
    if (!HasDate(line)) return ContentsFlaw{"the date line of a document has no date", start};
    start += step;  // what separates two documents
  }
  return std::nullopt;
}

}  // namespace tool
