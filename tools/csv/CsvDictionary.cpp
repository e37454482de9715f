#include "tools/csv/CsvDictionary.h"

#include <unistd.h>

#include <numeric>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tools/csv/ColumnTyper.h"
#include "tools/csv/CsvNames.h"
#include "tools/csv/CsvReader.h"
#include "tools/messages/Progress.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

namespace {

// The typers of all columns, and where the values of a record go.
struct TypedColumns {
  void Look(const CsvReader& reader, std::vector<ColumnTyper>& lookers) const {
    const std::vector<std::string_view>& fields = reader.Fields();
    for (std::size_t i = 0; i < fields.size(); ++i) lookers[places[i]].Look(fields[i]);
  }

  std::vector<ColumnTyper>& typers;
  std::vector<std::size_t> places;  // the column of each field
  char decimal;
};

// What is done with the rows of a file: its columns look at them, and they are counted.
class Rows {
 public:
  explicit Rows(TypedColumns& columns) : m_columns(columns), m_progress(STDERR_FILENO, -1) {}

  void Look(const CsvReader& reader) {
    RefuseWrongCount(reader, m_columns.typers.size());
    m_columns.Look(reader, m_columns.typers);
    m_progress.Step(++m_count);
  }
  // Takes the rows that the parts of the columns have looked at, after rows without a value.
  void LookAtAll(const std::vector<ColumnTyper>& parts, long long emptyRows, long long rows) {
    for (std::size_t i = 0; i < parts.size(); ++i) m_columns.typers[i].LookAtAll(parts[i]);
    m_count += emptyRows + rows;
    m_progress.StepTo(m_count);
  }
  const TypedColumns& Columns() const { return m_columns; }
  long long Count() const { return m_count; }

 private:
  TypedColumns& m_columns;
  Progress m_progress;
  long long m_count = 0;
};

// Looks at the rows of a block.
class BlockTyper final : public RecordTaker {
 public:
  explicit BlockTyper(Rows& rows) : m_rows(rows) {}

  void Clear() override {
    const TypedColumns& columns = m_rows.Columns();
    m_parts.assign(columns.typers.size(), ColumnTyper(columns.decimal, ColumnTyper::Values::part));
    m_count = 0;
  }
  bool Take(const CsvReader& reader) override {
    m_rows.Columns().Look(reader, m_parts);
    ++m_count;
    return true;
  }
  void Refuse(const CsvReader& reader) override { reader.Fail("the record cannot be read"); }
  void Deliver(long long blankLines) override { m_rows.LookAtAll(m_parts, blankLines, m_count); }

 private:
  Rows& m_rows;
  std::vector<ColumnTyper> m_parts;
  long long m_count = 0;
};

// Returns the number of rows. The reader is before the first one, or has it.
long long LookAtRows(const CsvFile& file, CsvReader& reader, TypedColumns& columns, const BlockWork& work) {
  Rows rows(columns);
  if (!file.dialect.hasHeader) rows.Look(reader);
  while ((!work.HasThreads() || reader.IsHolding()) && reader.Next()) rows.Look(reader);
  if (!work.HasThreads()) return rows.Count();
  CsvBlocks blocks(*file.input, reader, file.dialect, columns.typers.size(), work,
                   [&rows] { return std::make_unique<BlockTyper>(rows); });
  while (blocks.DeliverNext()) {
  }
  return rows.Count();
}

// Returns the place of each name among those of the first file.
std::vector<std::size_t> PlacesOf(const std::vector<std::string>& names, const std::vector<std::string>& first,
                                  const CsvReader& reader) {
  RefuseWrongCount(reader, first.size());
  std::vector<std::size_t> places(names.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  if (names == first) return places;
  std::unordered_map<std::string, std::size_t> known;  // keyed by the name in upper case
  for (std::size_t i = 0; i < first.size(); ++i) known.emplace(QUAVMBstrupr_A(first[i]), i);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto found = known.find(QUAVMBstrupr_A(names[i]));
    if (found == known.end()) reader.Fail("the header names " + names[i] + ", which the first file does not");
    places[i] = found->second;
  }
  return places;
}

// Returns the values in quotes, and between two of them the word: 'NA' and 'x'.
std::string Listed(const std::vector<std::string>& values, const std::string& word) {
  std::string list;
  for (const std::string& value : values) {
    if (!list.empty()) list += " " + word + " ";
    list += "'" + ShortValue(value) + "'";
  }
  return list;
}

void WarnOfStrangers(const ColumnType& type, const std::string& name, const std::string& file) {
  if (type.strangers.empty()) return;
  std::string options;
  for (const std::string& value : type.strangers) options += " --na '" + ShortValue(value) + "'";
  ReportWarning("the column " + name + " is kept as text only because of its values " + Listed(type.strangers, "and") +
                    ": with" + options + " they are missing values",
                file);
}

}  // namespace

QUAV_Variable TypedVariable(const ColumnType& type, const std::string& name, const std::string& file) {
  if (type.width > MAX_STRING_TYPE)
    throw ToolError("the column " + name + " has a value of " + std::to_string(type.width) + " bytes, but " +
                        std::to_string(MAX_STRING_TYPE) + " is the maximum",
                    file);
  QUAV_Variable variable(static_cast<int>(type.width));
  variable.SetName(name.c_str());
  if (type.width == 0) {
    variable.SetFormat(type.format);
    variable.SetWriteFormat(type.format);
  }
  return variable;
}

void WarnOfText(const ColumnType& type, const std::string& name, const std::string& file) {
  if (type.looksNumeric)
    ReportWarning("the column " + name +
                      " looks like numbers but is kept as text: as numbers, some values would lose leading " +
                      "zeros or digits",
                  file);
  if (type.looksTimed)
    ReportWarning("the column " + name +
                      " looks like dates or times but is kept as text: fractions of a second would " + "lose digits",
                  file);
}

CsvDictionary TypeCsv(InputBytes& input, const CsvDialect& dialect, const BlockWork& work) {
  return TypeCsv({{&input, dialect}}, work);
}

CsvDictionary TypeCsv(const std::vector<CsvFile>& files, const BlockWork& work) {
  const InputBytes& input = *files.front().input;
  std::vector<std::string> header;
  std::vector<std::string> names;
  std::vector<ColumnTyper> typers;
  CsvDictionary result{std::make_unique<SystemFileDataSource>(), 0};
  for (const CsvFile& file : files) {
    CsvReader reader(*file.input, file.dialect);
    std::vector<std::string> own = ReadHeader(reader, file.dialect, file.input->Name());
    const std::vector<std::string> ownNames = MendedNames(own);
    if (&file == &files.front()) {
      header = own;
      names = ownNames;
      typers.assign(header.size(), ColumnTyper(file.dialect.decimal));
    }
    TypedColumns columns{typers, PlacesOf(ownNames, names, reader), file.dialect.decimal};
    result.rows += LookAtRows(file, reader, columns, work);
    file.input->Rewind();
  }
  for (std::size_t i = 0; i < header.size(); ++i) {
    const ColumnType type = typers[i].Type();
    QUAV_Variable variable = TypedVariable(type, names[i], input.Name());
    if (names[i] != header[i] && !header[i].empty()) variable.SetLabel(header[i].c_str());
    WarnOfText(type, names[i], input.Name());
    WarnOfStrangers(type, names[i], input.Name());
    result.dictionary->MakeVariable(variable, nullptr);
  }
  return result;
}

}  // namespace tool
