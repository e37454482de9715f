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

// The reader is at the first case if there is one. `places` has the column of each field.
long long LookAtRows(CsvReader& reader, std::vector<ColumnTyper>& typers, const std::vector<std::size_t>& places,
                     bool hasRow) {
  Progress progress(STDERR_FILENO, -1);
  long long rows = 0;
  for (; hasRow; hasRow = reader.Next()) {
    const std::vector<std::string_view>& fields = reader.Fields();
    RefuseWrongCount(reader, typers.size());
    for (std::size_t i = 0; i < fields.size(); ++i) typers[places[i]].Look(fields[i]);
    progress.Step(++rows);
  }
  return rows;
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

CsvDictionary TypeCsv(InputBytes& input, const CsvDialect& dialect) { return TypeCsv({{&input, dialect}}); }

CsvDictionary TypeCsv(const std::vector<CsvFile>& files) {
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
    const std::vector<std::size_t> places = PlacesOf(ownNames, names, reader);
    const bool hasRow = !file.dialect.hasHeader || reader.Next();
    result.rows += LookAtRows(reader, typers, places, hasRow);
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
