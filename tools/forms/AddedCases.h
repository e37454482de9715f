// The cases that are added to other cases: those of one input, in the layout of a dictionary that all share.
//
// Names, types and widths are compared when the cases are opened. All differences are one ToolError, which names the
// variables.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_ADDEDCASES_H
#define TOOLS_FORMS_ADDEDCASES_H

#include <memory>
#include <string>
#include <vector>

#include "tools/cases/CaseReader.h"
#include "tools/cases/CaseWriter.h"
#include "tools/forms/CsvOptions.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/threads/TaskPool.h"

namespace tool {

struct AddedCases {
  OpenedSource source;                // the source of cases from a system file, otherwise empty
  std::unique_ptr<CaseReader> cases;  // destroyed before the source
};

// What the cases are added to. Everything outlives the cases.
struct CaseTarget {
  const QUAV_DataSource& dictionary;
  const SystemFileDataSource*
      file;                    // whose stored form the cases get; null when they get the form that is shown, in UTF-8
  const ExtNameStr& password;  // of inputs that are encrypted
  std::string formName = {};   // of the inputs, as the user asked for it; empty for what their suffixes show
  const CsvOptions& csv;
  bool digitsAreKept = false;  // TextRules
  bool roundTimes = false;     // of Arrow files
  TaskPool& pool;              // that reads text
  // Of JSON objects, one for each variable; empty when they have the names of the variables.
  std::vector<std::string> members = {};
};

AddedCases OpenAddedCases(const std::string& input, const CaseTarget& target);
// Opens all inputs that can be opened twice, and closes them. Throws one ToolError, about `name`, with all differences of
// all inputs.
void CompareDictionaries(const std::vector<std::string>& inputs, const CaseTarget& target, const std::string& name);
// The cases of several inputs in their order.
class AllCases {
 public:
  // Opens the first input, which waits for the first bytes of a pipe. Everything outlives this object.
  AllCases(const std::vector<std::string>& inputs, const CaseTarget& target);

  // Copies all cases once, and calls Begin and End of the writer. Returns the number of cases of each input.
  std::vector<long long> CopyTo(CaseWriter& writer);
  // Does the same where a program takes the cases one by one: returns a reader of all, which fills `counts`. It is to be
  // called once, and this object outlives the reader.
  std::unique_ptr<CaseReader> Read(std::vector<long long>& counts);

 private:
  const std::vector<std::string>& m_inputs;
  const CaseTarget& m_target;
  AddedCases m_open;
};
// Prints what came from which input.
void PrintCounts(const std::vector<std::string>& inputs, const std::vector<long long>& counts);

}  // namespace tool

#endif
