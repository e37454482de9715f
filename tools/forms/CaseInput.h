// Opens the input from which a command reads its cases, in any form.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_CASEINPUT_H
#define TOOLS_FORMS_CASEINPUT_H

#include <memory>
#include <optional>
#include <string>

#include "datasrc/SystemFileDataSource.h"
#include "tools/cases/CaseReader.h"
#include "tools/cases/TextRules.h"
#include "tools/files/InputBytes.h"
#include "tools/forms/CaseForm.h"
#include "tools/forms/CsvOptions.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/threads/TaskPool.h"

namespace tool {

// Input text: CSV or JSON lines.
struct TextInput {
  std::unique_ptr<InputBytes> bytes;  // in UTF-8
  CaseForm form;
  CsvDialect dialect = {};
};

// Cases, with the dictionary that describes their layout.
struct CaseInput {
  SourceLine dictionary;
  const SystemFileDataSource* file;   // the system file that `dictionary` presents, or a source without a file
  std::unique_ptr<CaseReader> cases;  // destroyed before the dictionary
};

// Returns the form that the user named, otherwise the form of the suffix. Returns nothing for standard input without a
// name: only its contents show the form.
std::optional<FileForm> InputForm(const std::string& path, const std::string& formName);
// Opens text. When the form is unknown, the first bytes decide: JSON lines begin with a bracket or a brace, a system file
// and an Arrow file with their own letters, and are left to the caller; gzip data are unpacked. UTF-16 is recognised. Throws
// WrongUsage for options that do not fit.
TextInput OpenText(const std::string& path, std::optional<FileForm> form, const CsvOptions& options);
// The password is empty for a file that is not encrypted.
CaseInput OpenSystemFile(const std::string& path, const ExtNameStr& password);
// As OpenArrow.
CaseInput ReadArrow(const std::string& path, const std::string& dictionaryFile, bool roundTimes);
// `dictionaryFile` is a JSON file. When it is empty, the dictionary comes from the text itself: CSV or objects. `encoding`
// is that of the system file to be made. The text is read on the threads of the pool, which outlives the cases.
CaseInput ReadText(TextInput text, const std::string& dictionaryFile, const std::string& encoding, TaskPool& pool);
// Returns the cases of the text in the layout of `dictionary`, which outlives them. So does the pool.
std::unique_ptr<CaseReader> ReadTextFor(TextInput text, const QUAV_DataSource& dictionary, const TextRules& rules,
                                        TaskPool& pool, long long count = -1);
// Returns the cases of JSON objects whose members have these names, one for each variable of `dictionary`, which outlives
// them. So does the pool.
std::unique_ptr<CaseReader> ReadObjectsFor(TextInput text, const std::vector<std::string>& members,
                                           const QUAV_DataSource& dictionary, TaskPool& pool);

}  // namespace tool

#endif
