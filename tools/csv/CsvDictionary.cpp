#include "tools/csv/CsvDictionary.h"

#include <unistd.h>

#include <string>
#include <vector>

#include "tools/csv/ColumnTyper.h"
#include "tools/csv/CsvNames.h"
#include "tools/csv/CsvReader.h"
#include "tools/messages/Progress.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

long long LookAtRows(CsvReader& reader, std::vector<ColumnTyper>& typers) {
  Progress progress(STDERR_FILENO, -1);
  long long rows = 0;
  while (reader.Next()) {
    const std::vector<std::string_view>& fields = reader.Fields();
    RefuseWrongCount(reader, typers.size());
    for (std::size_t i = 0; i < fields.size(); ++i) typers[i].Look(fields[i]);
    progress.Step(++rows);
  }
  return rows;
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

QUAV_Variable MakeVariable(const ColumnType& type, const std::string& name, const std::string& file) {
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

}  // namespace

CsvDictionary TypeCsv(InputBytes& input) {
  CsvReader reader(input);
  if (!reader.Next()) throw ToolError("there is no header line", input.Name());
  const std::vector<std::string> header(reader.Fields().begin(), reader.Fields().end());
  const std::vector<std::string> names = MendedNames(header);
  std::vector<ColumnTyper> typers(header.size());
  CsvDictionary result{std::make_unique<SystemFileDataSource>(), LookAtRows(reader, typers)};
  for (std::size_t i = 0; i < header.size(); ++i) {
    const ColumnType type = typers[i].Type();
    QUAV_Variable variable = MakeVariable(type, names[i], input.Name());
    if (names[i] != header[i] && !header[i].empty()) variable.SetLabel(header[i].c_str());
    WarnOfText(type, names[i], input.Name());
    result.dictionary->MakeVariable(variable, nullptr);
  }
  input.Rewind();
  return result;
}

}  // namespace tool
