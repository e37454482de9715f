#include "Columns/arrowin/ArrivingColumns.h"

#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "Columns/arrowin/ArrowType.h"
#include "Columns/arrowin/TextLabels.h"
#include "Columns/dictionary/JsonDictionary.h"
#include "Columns/text/DifferenceList.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/ArrowStream.h"

namespace arrowin {

std::vector<ArrivingColumn> ColumnsOf(const ArrowInput& input, const RenameFunction& rename) {
  std::vector<ArrivingColumn> columns;
  std::vector<std::string> names;
  for (std::size_t k = 0; k < input.Columns(); ++k) {
    columns.push_back({"", input.Schema().children[k]});
    names.push_back(columns.back().OldName());
  }
  if (rename) names = rename(names);
  for (std::size_t k = 0; k < columns.size(); ++k) columns[k].name = names.at(k);
  return columns;
}

std::vector<std::string> NamesOf(const std::vector<ArrivingColumn>& columns) {
  std::vector<std::string> names;
  for (const ArrivingColumn& column : columns) names.push_back(column.name);
  return names;
}

void RefuseIllegalNames(const std::vector<ArrivingColumn>& columns) {
  std::unordered_set<std::string> names;
  for (const auto& [name, schema] : columns) {
    if (!dstext::MayNameVariable(name))
      throw ArrowImportError("the column \"" + name + "\" has a name that no variable can have: rename it");
    if (!names.insert(QUAVMBstrupr_A(name)).second)
      throw ArrowImportError("the column \"" + name + "\" has the name of an earlier column: rename it");
  }
}

std::vector<std::string> NotesAbout(const std::vector<ArrivingColumn>& columns) {
  std::vector<std::string> notes;
  for (const auto& [name, schema] : columns) {
    const std::optional<ArrowType> type = ParseArrowType(schema->format);
    if (type && !type->zone.empty() && type->zone != "UTC")
      notes.push_back("the times of the column " + name + " in the zone " + type->zone + " are stored in UTC");
  }
  return notes;
}

std::vector<dstext::ArrivingVariable> VariablesOf(const std::vector<ArrivingColumn>& columns) {
  std::vector<dstext::ArrivingVariable> variables;
  for (const auto& [name, schema] : columns) {
    dstext::ArrivingVariable& variable = variables.emplace_back();
    variable.name = name;
    variable.isText = HasText(*schema);
    variable.metadata = MetadataOf(*schema, kArrowVariableKey);
    const char* const format = schema->dictionary != nullptr ? schema->dictionary->format : schema->format;
    if (const std::optional<ArrowType> type = ParseArrowType(format != nullptr ? format : ""))
      variable.format = type->format;
  }
  return variables;
}

std::vector<std::unique_ptr<ColumnValues>> ValuesFor(const std::vector<ArrivingColumn>& columns,
                                                     const QUAV_DataSource& dictionary, const std::vector<int>& targets,
                                                     bool roundTimes) {
  std::vector<std::unique_ptr<ColumnValues>> values;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    const QUAV_Variable& variable = dictionary.GetVariable(targets[k]);
    values.push_back(MakeColumnValues(*columns[k].schema, {.name = columns[k].name,
                                                           .isNumber = variable.GetType() == 0,
                                                           .labels = std::make_shared<TextLabels>(variable),
                                                           .roundTimes = roundTimes}));
  }
  return values;
}

std::vector<int> TargetsOf(const std::vector<ArrivingColumn>& columns, const QUAV_DataSource& dictionary) {
  std::unordered_map<std::string, int> known;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
    known.emplace(dictionary.GetVariable(column).GetUpperCaseName(), column);
  std::vector<int> targets;
  std::vector<bool> isTaken(dictionary.ColumnCount());
  dstext::DifferenceList differences;
  for (const ArrivingColumn& column : columns) {
    const auto found = known.find(QUAVMBstrupr_A(column.name));
    if (found == known.end()) {
      differences.Add("the column " + column.name + " is no variable of the file");
      continue;
    }
    const auto target = static_cast<std::size_t>(found->second);
    if (isTaken[target]) differences.Add("the column " + column.name + " comes twice");
    isTaken[target] = true;
    targets.push_back(found->second);
  }
  for (std::size_t target = 0; target < isTaken.size(); ++target)
    if (!isTaken[target])
      differences.Add(std::string("there is no column for the variable ") +
                      dictionary.GetVariable(static_cast<int>(target)).GetName());
  if (!differences.IsEmpty()) throw ArrowImportError(differences.Text());
  return targets;
}

}  // namespace arrowin
