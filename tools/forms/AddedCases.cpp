#include "tools/forms/AddedCases.h"

#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Columns/dictionary/CaseCount.h"
#include "Platform/text/QUAVMB.h"
#include "tools/cases/SourceCases.h"
#include "tools/forms/CaseInput.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

std::string TypeInWords(int type) { return type == 0 ? "a number" : "text of " + std::to_string(type) + " bytes"; }

// Returns, for each column of the dictionary, the column of the source with the same name. Throws ToolError about
// `file` when a column is missing, has another type or is left over.
std::vector<int> MatchingColumns(const QUAV_DataSource& source, const QUAV_DataSource& dictionary,
                                 const std::string& file) {
  std::unordered_map<std::string, int> found;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    found.emplace(source.GetVariable(column).GetUpperCaseName(), column);
  std::vector<int> columns;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const QUAV_Variable& variable = dictionary.GetVariable(column);
    const auto match = found.find(variable.GetUpperCaseName());
    if (match == found.end()) throw ToolError(std::string("there is no variable ") + variable.GetName(), file);
    const int type = source.GetVariable(match->second).GetType();
    if (type != variable.GetType())
      throw ToolError(std::string("the variable ") + variable.GetName() + " is " + TypeInWords(type) +
                          " but should be " + TypeInWords(variable.GetType()),
                      file);
    columns.push_back(match->second);
    found.erase(match);
  }
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    if (found.contains(source.GetVariable(column).GetUpperCaseName()))
      throw ToolError(std::string("the variable ") + source.GetVariable(column).GetName() + " is not expected", file);
  return columns;
}

bool HasText(const QUAV_DataSource& dictionary) {
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
    if (dictionary.GetVariable(column).GetType() != 0) return true;
  return false;
}

// Returns null for a file in UTF-8: input text is UTF-8 already.
std::shared_ptr<QUAVMBConverter> ConverterTo(const SystemFileDataSource& file) {
  const std::string encoding = file.CharacterEncoding();
  if (QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name)) return nullptr;
  return QUAVMBConverterPtr(QUAVMBConverterNew_A(encoding.c_str()));
}

void RefuseOtherEncoding(const SystemFileDataSource& input, const SystemFileDataSource& file) {
  const std::string from = input.CharacterEncoding();
  const std::string to = file.CharacterEncoding();
  if (HasText(file) && !QUAVMBqSameCodePage(from.c_str(), to.c_str()))
    throw ToolError("its text is in " + from + " and cannot be converted to " + to + " here: use convert first",
                    input.GetFileSpec());
}

}  // namespace

AddedCases OpenAddedCases(const std::string& input, const std::string& formName, const OpenedSource& file,
                          const ExtNameStr& password) {
  const std::optional<CaseForm> form = InputForm(input, formName);
  if (form != CaseForm::systemFile) {
    return {{}, ReadTextFor(OpenText(input, form), *file.data, {.converter = ConverterTo(*file.file)})};
  }
  OpenedSource source = OpenAsStored(input, IsEncrypted(input) ? password : ExtNameStr());
  dstext::RequireCells(*source.file, input);
  RefuseOtherEncoding(*source.file, *file.file);
  const std::vector<int> columns = MatchingColumns(*source.data, *file.data, input);
  auto cases = std::make_unique<SourceCases>(*source.data, *file.data, columns);
  return {std::move(source), std::move(cases)};
}

}  // namespace tool
