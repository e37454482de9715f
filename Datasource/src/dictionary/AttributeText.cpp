// Attributes as text. Format: docs/system-file.md, "Attributes".

#include "datasrc/DatasourceAttributes.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"

namespace {

constexpr char kBegin = '(';
constexpr char kEnd = ')';
constexpr char kQuote = '\'';
constexpr char kLineFeed = '\n';
constexpr char kSetEnd = '/';

constexpr const char* kRegisteredVariableNames[] = {"$CreationDate",
                                                    "$ExtendedVariableLabel",
                                                    "$ModificationDate",
                                                    "$VD.SRuleRef",
                                                    "$VD.RuleOutcomeVar",
                                                    "$TR.Formula",
                                                    "$TR.Timestamp",
                                                    "$ODBC.Name",
                                                    "$ODBC.Table",
                                                    "$ODBC.Schema",
                                                    "$ODBC.Catalog",
                                                    "$ODBC.Size",
                                                    "$ODBC.Type",
                                                    "$Py.Function",
                                                    "$@Role",
                                                    "$@MeasurementLevel"};

constexpr const char* kRegisteredDatafileNames[] = {
    "$CreationDate", "$ExtendedFileLabel",      "$ModificationDate", "$VD.SRule",     "$VD.CRule",     "$TR.Formula",
    "$TR.Timestamp", "$de.displayedattributes", "$@Orthant.MDDFile", "$VariableView", "$VariableView2"};

template <std::size_t size>
int NameClass(const std::string& name, const char* const (&registered)[size]) {
  enum { kInvalid, kUsers, kRegistered, kUnregistered };
  const int fault = ValidateQUAVNameCheckLastChar(name.c_str());
  if (fault == kNameIsLegal) return kUsers;
  if (fault != kNameOfSystem) return kInvalid;
  for (const char* const one : registered)
    if (QUAVMBqstricmp_A(one, -1, name.c_str(), -1, 0) != 0) return kRegistered;
  return kUnregistered;
}

// Reads the text one attribute at a time. Searches run to the terminating zero byte.
class Parser {
 public:
  Parser(const char* text, unsigned long length) : m_text(text), m_length(length) {}

  // Returns whether the set ends here.
  bool AtEnd() const { return m_position >= m_length || m_text[m_position] == kSetEnd; }
  unsigned long Position() const { return m_position; }

  // These read the name up to its "(", and the values. They return false when the text does not have the required
  // form; Position() then says where.
  bool ReadName(std::string& name) {
    const unsigned long begin = Find(kBegin);
    if (begin == kNotFound || begin + 1 >= m_length || begin == m_position) return false;
    name.assign(m_text + m_position, begin - m_position);
    m_position = begin + 1;
    return true;
  }
  bool ReadValues(std::vector<std::string>& values) {
    values.clear();
    while (m_text[m_position] != kEnd) {
      const unsigned long start = m_position;
      const unsigned long end = Find(kLineFeed);
      // A line without an end is not allowed.
      if (end == kNotFound) return false;
      m_position = end + 1;
      if (m_text[start] != kQuote || end <= start + 1 || m_text[end - 1] != kQuote) return false;
      if (m_position >= m_length) return false;
      values.emplace_back(m_text + start + 1, end - start - 2);
    }
    ++m_position;
    return true;
  }

 private:
  static constexpr unsigned long kNotFound = ~0UL;

  unsigned long Find(char c) const {
    const char* const found = std::strchr(m_text + m_position, c);
    return found == nullptr ? kNotFound : static_cast<unsigned long>(found - m_text);
  }

  const char* m_text;
  unsigned long m_length;
  unsigned long m_position = 0;
};

}  // namespace

int DatasourceAttributes::ValidateFileAttrName(const std::string& name) {
  return NameClass(name, kRegisteredDatafileNames);
}

int DatasourceAttributes::ValidateVarAttrName(const std::string& name) {
  return NameClass(name, kRegisteredVariableNames);
}

std::string DatasourceAttributes::MakeString() const {
  std::string text;
  if (!m_entries) return text;
  std::size_t size = 0;
  for (const auto& [name, values] : *m_entries) {
    size += name.size() + 2;
    for (const std::string& value : values) size += value.size() + 3;
  }
  text.reserve(size);
  for (const auto& [name, values] : *m_entries) {
    if (values.empty()) continue;
    text.append(name) += kBegin;
    for (const std::string& value : values) {
      text += kQuote;
      std::size_t start = 0;
      // Deliberate: never returns for a value with a line feed, which has no text. DictionaryCheck.h finds such values.
      for (std::size_t end; (end = value.find(kLineFeed, start)) != value.npos; start = end)
        text.append(value, start, end - start);
      text.append(value, start);
      text += kQuote;
      text += kLineFeed;
    }
    text += kEnd;
  }
  return text;
}

bool DatasourceAttributes::Parse(const char* text, unsigned long length, DatasourceAttributes& result,
                                 unsigned long* consumed) {
  Parser parser(text, length);
  std::vector<Entry> entries;
  bool follows = true;
  while (follows && !parser.AtEnd()) {
    std::string name;
    std::vector<std::string> values;
    if (!parser.ReadName(name)) {
      follows = false;
      break;
    }
    follows = parser.ReadValues(values);
    const int fault = ValidateQUAVNameCheckLastChar(name.c_str());
    if (values.empty() || (fault != kNameIsLegal && fault != kNameOfSystem)) continue;
    entries.emplace_back(std::move(name), std::move(values));
  }
  if (consumed != nullptr) *consumed = parser.Position();
  if (!follows) return false;
  DatasourceAttributes read;
  read.DefineAll(std::move(entries));
  result = std::move(read);
  return true;
}

bool DatasourceAttributes::Parse(const std::string& text, DatasourceAttributes& result, unsigned long* consumed) {
  return Parse(text.c_str(), text.size(), result, consumed);
}
