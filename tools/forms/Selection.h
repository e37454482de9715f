// The part of an input that a person wants: some columns, some cases, sorted.
//
//   Selection wanted = ...options...;
//   SelectedInput selected = Select(OpenSystemFile(...), wanted);
//   ... selected.Dictionary(), *selected.cases ...
//
// First the cases of --rows are taken, then they are sorted, then the columns are chosen: a file may be sorted by a column
// that the new one does not have.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_SELECTION_H
#define TOOLS_FORMS_SELECTION_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/cases/SortKeys.h"
#include "tools/commandline/CommandLine.h"
#include "tools/forms/CaseInput.h"
#include "tools/forms/ShownColumns.h"
#include "tools/text/RowRange.h"

namespace tool {

// The texts of the options, as the user typed them.
struct SelectionOptions {
  std::optional<std::string> columns;
  std::optional<std::string> rows;
  std::optional<std::string> sort;
  std::optional<std::string> memory;
};

struct SortName {
  std::string name;
  bool isDescending = false;
};

struct Selection {
  std::vector<std::string> columns;  // empty for all
  RowRange rows;
  bool hasRows = false;
  std::vector<SortName> sort;  // empty for the order of the input
  std::size_t memory = 0;      // of the sort, in bytes

  bool IsAll() const { return columns.empty() && !hasRows && sort.empty(); }
};

struct SelectedInput {
  CaseInput input;
  ShownColumns columns;               // of the input's dictionary
  std::unique_ptr<CaseReader> cases;  // in the layout of Dictionary(); destroyed first
  std::optional<SortKeys> sortKeys;   // what the new file says of its order; nothing when it says what the input does

  const QUAV_DataSource& Dictionary() const { return columns.projection ? *columns.projection : *input.dictionary; }
};

// Return what options say. They throw WrongUsage.
RowRange RowsOf(const std::optional<std::string>& rows);
Selection SelectionOf(const SelectionOptions& options);
// Throws error 1507 for a name that is not a variable's.
SelectedInput Select(CaseInput input, const Selection& selection);

}  // namespace tool

#endif
