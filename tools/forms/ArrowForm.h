// Cases as files in the Arrow IPC format (".arrow").
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_ARROWFORM_H
#define TOOLS_FORMS_ARROWFORM_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"
#include "tools/cases/CaseReader.h"
#include "tools/cases/Column.h"
#include "tools/cases/SortKeys.h"
#include "tools/files/Output.h"

namespace tool {

// Returns true when these are the first bytes of an Arrow file, in the file format or the streaming format.
bool IsArrowStart(std::string_view bytes);

struct ArrowInput {
  std::unique_ptr<SystemFileDataSource> dictionary;
  std::unique_ptr<CaseReader> cases;
};

// Opens an Arrow file, whose columns and metadata are the dictionary. Names that no variable can have are mended as those
// of CSV, and become labels. `dictionaryFile` is a JSON file that goes before the metadata, or empty. `roundTimes` stores
// the nearest number of a time that no number is. Throws ToolError for what the file has and no system file can hold.
ArrowInput OpenArrow(const std::string& path, const std::string& dictionaryFile, bool roundTimes);
// Opens an Arrow file for cases in the layout of `stored`. `shown` is the same dictionary with its text in UTF-8, and
// `encoding` that of the text in the cases. Both outlive the cases. Throws ToolError when the columns do not fit.
std::unique_ptr<CaseReader> OpenArrowFor(const std::string& path, const QUAV_DataSource& shown,
                                         const QUAV_DataSource& stored, const std::string& encoding, bool roundTimes);
// Writes the cases, which have the layout of the dictionary, and of them the columns `indexes`. `sortKeys` replace those of
// the dictionary, if given. Dates and times get Arrow's types unless `options.raw`; `options.labels` makes dictionaries of
// the labels. Throws ToolError for a value that the type cannot hold, and what the reader and the output throw. Progress.h
// describes `progressDescriptor`.
void WriteArrowCases(const QUAV_DataSource& dictionary, CaseReader& cases, const std::vector<int>& indexes,
                     const std::optional<SortKeys>& sortKeys, const ShowOptions& options, Output& output,
                     int progressDescriptor);

}  // namespace tool

#endif
