#include "sources/VariableSetRecord.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"
#include "core/systemfileformat.h"

namespace {

constexpr char kMRSetBegin = '$';
constexpr char kCategoriesMark = 'C';
constexpr char kDichotomyMark = 'D';
constexpr char kEnhancedMark = 'E';

// ---- Writing a line ----

std::string Members(const VariableSet& set) {
  const std::vector<std::string> names = set.GetVariableNames(VariableSet::kAsStored);
  std::string text;
  for (const std::string& name : names) text.append(1, ' ').append(name);
  return names.empty() ? " " : text;
}

// Returns the length, a blank, and the text.
std::string Counted(const std::string& text) { return std::to_string(text.size()) + " " + text; }

void AssertMRSetName(const VariableSet& vset) {
  QUAV_ASSERT(vset.GetName(VariableSet::kAsStored)[0] == kMRSetBegin, "vset.GetName()[0] == '$'");
}

std::string PlainSetToExtension(const VariableSet& vset) {
  return vset.GetName(VariableSet::kAsStored) + "=" + Members(vset) + "\n";
}

std::string CategoryMRSetToExtension(const VariableSet& vset) {
  AssertMRSetName(vset);
  return vset.GetName(VariableSet::kAsStored) + "=" + kCategoriesMark + " " + Counted(vset.GetLabel()) + Members(vset) +
         "\n";
}

std::string DichotomyMRSetToExtension(const VariableSet& vset) {
  AssertMRSetName(vset);
  QUAV_ASSERT(!vset.GetValue().empty(), "vset.GetValue().size() > 0");
  std::string line = vset.GetName(VariableSet::kAsStored) + "=";
  if (vset.qIsEnhancedDichotomy())
    line.append(1, kEnhancedMark).append(" ").append(vset.GetFlags()).append(" ");
  else
    line += kDichotomyMark;  // Deliberate: no blank after it.
  line += Counted(vset.GetValue()) + " ";
  line += vset.qLabelSetByVariable() ? "0 " : Counted(vset.GetLabel());
  return line + Members(vset) + "\n";
}

// ---- Parsing a line ----

// The unread rest of a line.
class Line {
 public:
  explicit Line(std::string_view text) : m_rest(text.substr(0, text.find_first_of("\r\n"))) {}

  bool IsEmpty() const { return m_rest.empty(); }
  char First() const { return m_rest.empty() ? '\0' : m_rest.front(); }

  // Takes the text up to the delimiter, or all of it; removes the delimiter too.
  std::string Token(char delimiter) {
    const std::size_t end = std::min(m_rest.find(delimiter), m_rest.size());
    std::string token(m_rest.substr(0, end));
    m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
    return token;
  }
  std::string GetString(std::size_t length) {
    const std::string_view line = m_rest;
    QUAV_ASSERT(length <= line.size(), "length <= line.size()");
    m_rest.remove_prefix(length);
    return std::string(line.substr(0, length));
  }
  // Takes the next byte; returns 0 at the end.
  char Byte() {
    const char byte = First();
    m_rest.remove_prefix(std::min<std::size_t>(1, m_rest.size()));
    return byte;
  }

 private:
  std::string_view m_rest;
};

std::size_t Number(const std::string& text) { return static_cast<std::size_t>(std::strtol(text.c_str(), nullptr, 10)); }

void PopulateNameMRSetType(Line& line, VariableSet& set) {
  const std::string name = line.Token('=');
  QUAV_ASSERT(name[0] == kMRSetBegin, "name[0] == '$'");
  set.SetName(name);
}

VariableSet::VariableSetType ConvertToEnum(char type) {
  return type == kCategoriesMark ? VariableSet::kCategories : VariableSet::kDichotomy;
}

char PopulateType(Line& line, VariableSet& set) {
  const char type = line.Byte();
  QUAV_ASSERT((type == kDichotomyMark) || (type == kCategoriesMark) || (type == kEnhancedMark),
              "(type == 'D') || (type == 'C') || (type == 'E')");
  set.SetType(ConvertToEnum(type));
  return type;
}

void PopulateFlags(Line& line, VariableSet& set) {
  const char blank = line.Byte();
  QUAV_ASSERT(blank == ' ', "blank == ' '");
  set.SetFlags(line.Token(' '));
}

std::size_t GetSize(Line& line) {
  const std::size_t length = Number(line.Token(' '));
  QUAV_ASSERT(length != 0, "length != 0");
  return length;
}

void PassBlank(Line& line) {
  const char space = line.Byte();
  QUAV_ASSERT(space == ' ', "space == ' '");
}

void PopulateLabel(Line& line, VariableSet& set) {
  PassBlank(line);
  const std::string strLabelLength = line.Token(' ');
  const std::size_t length = Number(strLabelLength);
  QUAV_ASSERT((length != 0) || (strLabelLength[0] == '0'), "(length != 0) || (strLabelLength[0] == '0')");
  if (length != 0) set.SetLabel(line.GetString(length));
  PassBlank(line);
}

// ---- Which set belongs in which record ----

// The places of the sets of a list. An upper-case name leads to the first set that has it.
class SetPlaces {
 public:
  explicit SetPlaces(const std::vector<VariableSet>& sets) {
    for (const VariableSet& set : sets) Append(set);
  }

  void Append(const VariableSet& set) {
    const std::string name = set.GetName(VariableSet::kAsStored);
    if (name.empty()) m_firstNameless = std::min(m_firstNameless, m_count);
    m_places.emplace(QUAVMBstrupr_A(name), m_count++);
  }
  // Returns the place of a set whose name is in the list. Deliberate: asserts that each set up to there has a name.
  std::size_t Find(const VariableSet& set) const {
    const std::string name = set.GetName(VariableSet::kAsStored);
    const std::size_t place = m_places.at(QUAVMBstrupr_A(name));
    QUAV_ASSERT(!name.empty() && place < m_firstNameless, "! str.empty()");
    return place;
  }

 private:
  std::unordered_map<std::string, std::size_t> m_places;
  std::size_t m_count = 0;
  std::size_t m_firstNameless = ~std::size_t{0};
};

int RecordOf(int type, bool isEnhanced) {
  if (type == VariableSet::kPlain) return kVariableSetsSubtype;
  return isEnhanced ? kEnhancedMRSetsSubtype : kMRSetsSubtype;
}

}  // namespace

VariableSet::VariableSet(const std::string& line) {
  std::string text = line;
  text >> *this;
}

std::string VariableSet::ToExtension() const {
  switch (m_type) {
    case kCategories:
      return CategoryMRSetToExtension(*this);
    case kDichotomy:
      return DichotomyMRSetToExtension(*this);
    default:
      return PlainSetToExtension(*this);
  }
}

std::string& operator<<(std::string& text, const VariableSet& set) { return text += set.ToExtension(); }

std::string& operator>>(std::string& text, VariableSet& set) {
  VariableSet parsed(set);
  Line line(text);
  if (line.First() == kMRSetBegin) {
    PopulateNameMRSetType(line, parsed);
    const char type = PopulateType(line, parsed);
    if (type == kEnhancedMark) PopulateFlags(line, parsed);
    if (parsed.GetType() == VariableSet::kDichotomy) parsed.SetValue(line.GetString(GetSize(line)));
    PopulateLabel(line, parsed);
  } else {
    parsed.SetType(VariableSet::kPlain);
    parsed.SetName(line.Token('='));
  }
  while (!line.IsEmpty()) parsed.AddVariableName(line.Token(' '));
  set = std::move(parsed);
  return text;
}

void LowerCaseMembers(std::vector<VariableSet>& sets) {
  for (VariableSet& set : sets) set.SetVariableNames(set.GetVariableNames(VariableSet::kLowerCase));
}

void MakeExtension(const std::vector<VariableSet>& sets, std::string& text, QUAV_DataSource::ExtensionType subtype) {
  for (const VariableSet& set : sets)
    if (RecordOf(set.GetType(), set.qIsEnhancedDichotomy()) == subtype) text << set;
}

int RecordOf(const VariableSetImpl& set) {
  return RecordOf(set.type, set.type == VariableSet::kDichotomy && set.useVariableCategoryLabels);
}

bool HasLine(const VariableSetImpl& set) {
  constexpr std::string_view kLineEnds = "\r\n";
  const auto isOnOneLine = [&](const std::string& text) { return text.find_first_of(kLineEnds) == text.npos; };
  if (!isOnOneLine(set.name) || set.name.find('=') != set.name.npos) return false;
  if (set.type == VariableSet::kPlain) return !set.name.starts_with(kMRSetBegin);
  const bool isDichotomy = set.type == VariableSet::kDichotomy;
  if (!isDichotomy && set.type != VariableSet::kCategories) return false;
  const bool hasOwnLabel = !isDichotomy || !set.labelSetByVariable;
  return (!hasOwnLabel || isOnOneLine(set.label)) && (!isDichotomy || isOnOneLine(set.value));
}

void ParseExtension(const char* bytes, unsigned int length, int subtype, std::vector<VariableSet>& sets) {
  constexpr std::size_t kLeastLine = 2;
  std::string_view text(bytes, length);
  std::unordered_set<std::string> seen;
  SetPlaces places(sets);
  while (text.size() >= kLeastLine) {
    const std::size_t n = std::min(text.find('\n'), text.size());
    std::string line;
    if (n > 1) line = text.substr(0, text[n - 1] == '\r' ? n - 1 : n);
    text.remove_prefix(std::min(n + 1, text.size()));
    if (line.size() < kLeastLine) continue;
    // In older files the names of multiple response sets lack it.
    if (subtype == kMRSetsSubtype && line.front() != kMRSetBegin) line.insert(0, 1, kMRSetBegin);
    VariableSet set(line);
    if (seen.insert(set.GetName(VariableSet::kAsStored)).second) {
      places.Append(set);
      sets.push_back(std::move(set));
    } else {
      sets[places.Find(set)] = std::move(set);
    }
  }
}
