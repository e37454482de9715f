#include "tools/statistics/WeightChoice.h"

#include "tools/commandline/CommandLine.h"
#include "tools/forms/ShownColumns.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

WeightChoice ChooseWeight(bool unweighted, const std::optional<std::string>& name) {
  if (unweighted && name) throw WrongUsage("--weight", "--unweighted excludes it");
  return {.isWeighted = !unweighted, .name = name};
}

std::optional<int> WeightColumn(const QUAV_DataSource& data, const WeightChoice& choice, const std::string& path) {
  if (!choice.isWeighted) return {};
  const int column = choice.name ? ColumnsOfNames(data, {*choice.name}).front() : data.GetWeightVarIndex();
  if (column < 0) return {};
  if (data.GetVariable(column).GetType() == 0) return column;
  const std::string trouble = std::string("the weight variable ") + data.GetVariable(column).GetName() + " is text";
  if (choice.name) throw ToolError(trouble, path);
  ReportWarning(trouble + ": the figures are not weighted", path);
  return {};
}

}  // namespace tool
