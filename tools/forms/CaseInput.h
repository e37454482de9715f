// Opens what a command takes its cases from, in whatever form it is.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_CASEINPUT_H
#define TOOLS_FORMS_CASEINPUT_H

#include <memory>
#include <optional>
#include <string>

#include "datasrc/SystemFileDataSource.h"
#include "tools/cases/CaseReader.h"
#include "tools/cases/CellFiller.h"
#include "tools/files/InputBytes.h"
#include "tools/forms/CaseForm.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

// Text that is read: CSV or JSON lines.
struct TextInput {
  std::unique_ptr<InputBytes> bytes;
  CaseForm form;
};

// Cases, with the dictionary that says how they are laid out.
struct CaseInput {
  SourceLine dictionary;
  const SystemFileDataSource* file;   // behind the dictionary: a system file, or one that has no file
  std::unique_ptr<CaseReader> cases;  // goes before the dictionary
};

// The form that was asked for by name, else that of the suffix. None for standard input and no name: only its contents
// tell the form then.
std::optional<CaseForm> InputForm(const std::string& path, const std::string& formName);
// Opens text. Where the form is not known the first character tells it: JSON lines begin with a bracket.
TextInput OpenText(const std::string& path, std::optional<CaseForm> form);
// The password is empty for a file that is not encrypted.
CaseInput OpenSystemFile(const std::string& path, const ExtNameStr& password);
// `dictionaryFile` is a JSON file; empty when CSV is to tell everything by itself.
CaseInput ReadText(TextInput text, const std::string& dictionaryFile);
// The cases of the text, laid out as a dictionary that is known and outlives them.
std::unique_ptr<CaseReader> ReadTextFor(TextInput text, const QUAV_DataSource& dictionary, const FillRules& rules,
                                        long long count = -1);

}  // namespace tool

#endif
