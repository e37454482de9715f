#include "tools/csv/CsvCases.h"

#include <string>
#include <unordered_map>

#include "Platform/text/QUAVMB.h"
#include "tools/csv/CsvNames.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

namespace {

constexpr int kNoColumn = -1;

bool AreNames(const std::vector<std::string>& names, const QUAV_DataSource& dictionary) {
  if (names.size() != dictionary.ColumnCount()) return false;
  for (std::size_t i = 0; i < names.size(); ++i)
    if (QUAVMBstrupr_A(names[i]) != dictionary.GetVariable(static_cast<int>(i)).GetUpperCaseName()) return false;
  return true;
}

// Finds the column of the dictionary for each field of the header.
class ColumnFinder {
 public:
  ColumnFinder(const QUAV_DataSource& dictionary, const CsvReader& reader)
      : m_dictionary(dictionary), m_reader(reader) {
    for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
      m_columns.emplace(dictionary.GetVariable(column).GetUpperCaseName(), column);
  }

  std::vector<int> Find(const std::vector<std::string>& header, bool areNames) {
    std::vector<int> columns;
    if (!areNames) RefuseWrongCount(m_reader, m_dictionary.ColumnCount());
    if (!areNames || AreNames(MendedNames(header), m_dictionary)) {
      for (std::size_t i = 0; i < header.size(); ++i) columns.push_back(static_cast<int>(i));
      return columns;
    }
    for (const std::string& name : header) columns.push_back(Take(name));
    RefuseMissingColumns();
    return columns;
  }

 private:
  int Take(const std::string& name) {
    const auto found = m_columns.find(QUAVMBstrupr_A(name));
    if (found == m_columns.end()) m_reader.Fail("the header names " + name + ", which is not a variable");
    if (found->second == kNoColumn) m_reader.Fail("the header names " + name + " twice");
    const int column = found->second;
    found->second = kNoColumn;
    return column;
  }

  // Reports the first missing column in the order of the dictionary.
  void RefuseMissingColumns() const {
    for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column) {
      const QUAV_Variable& variable = m_dictionary.GetVariable(column);
      if (m_columns.at(variable.GetUpperCaseName()) != kNoColumn)
        m_reader.Fail(std::string("the header has no column for the variable ") + variable.GetName());
    }
  }

  const QUAV_DataSource& m_dictionary;
  const CsvReader& m_reader;
  std::unordered_map<std::string, int> m_columns;  // keyed by the name in upper case; kNoColumn when it is taken
};

}  // namespace

CsvCases::CsvCases(std::unique_ptr<InputBytes> input, const CsvDialect& dialect, const QUAV_DataSource& dictionary,
                   const dstext::FillRules& rules, long long count)
    : m_input(std::move(input)),
      m_reader(*m_input, dialect),
      m_mark(dialect.decimal),
      m_hasFirst(!dialect.hasHeader),
      m_cells(dictionary.GetObsAreaSize()),
      m_count(count) {
  const std::vector<std::string> header = ReadHeader(m_reader, dialect, m_input->Name());
  for (const int column : ColumnFinder(dictionary, m_reader).Find(header, dialect.hasHeader))
    m_fillers.emplace_back(dictionary, column, rules);
}

bool CsvCases::Next() {
  if (!m_hasFirst && !m_reader.Next()) return false;
  m_hasFirst = false;
  const std::vector<std::string_view>& fields = m_reader.Fields();
  RefuseWrongCount(m_reader, m_fillers.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const bool isNumber = m_fillers[i].IsNumber();
    const std::string_view text = isNumber ? m_mark.WithPoint(fields[i]) : fields[i];
    if (const char* const trouble = m_fillers[i].Store(text, m_cells.data())) Refuse(i, trouble);
  }
  return true;
}

void CsvCases::Refuse(std::size_t field, const char* trouble) const {
  m_reader.Fail("the value '" + ShortValue(m_reader.Fields()[field]) + "' of " + m_fillers[field].Name() + " " +
                trouble);
}

}  // namespace tool
