// The options of the commands that read or write CSV: the dialect.
//
// Threads: any.

#ifndef TOOLS_FORMS_CSVOPTIONS_H
#define TOOLS_FORMS_CSVOPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/commandline/CommandLine.h"
#include "tools/csv/CsvDialect.h"
#include "tools/files/InputBytes.h"
#include "tools/forms/CaseForm.h"

namespace tool {

// The texts of the options, as the user typed them.
struct CsvOptions {
  std::optional<std::string> delimiter;
  std::optional<std::string> quote;
  std::optional<std::string> decimal;
  std::optional<std::string> encoding;
  std::vector<std::string> missing;
  std::optional<std::string> skip;
  bool noHeader = false;

  // Returns whether there is an option for CSV. The encoding is for other text, too.
  bool AreGiven() const;
};

enum class CsvUse { reading, writing };

// Adds the options to a command that reads CSV, or to one that only writes it.
void AddCsvOptions(Command& command, CsvOptions& options, CsvUse use);
// Throws WrongUsage for options that make no dialect. `form` is one of CSV. The delimiter "auto" becomes that of the form.
CsvDialect DialectOf(const CsvOptions& options, CaseForm form);
// Throws WrongUsage for options that only reading knows.
void RefuseReadingOptions(const CsvOptions& options);
// Returns whether the delimiter has to be found in the input.
inline bool FindsDelimiter(const CsvOptions& options) { return options.delimiter == "auto"; }
// Returns the one of comma, semicolon, tab and bar that gives each of the first records the same number of fields. Rewinds
// the input. Throws ToolError when there is none, or more than one.
char FindDelimiter(InputBytes& input, const CsvDialect& dialect);

}  // namespace tool

#endif
