#include "tools/forms/AddedCases.h"

#include <unistd.h>

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Columns/dictionary/CaseCount.h"
#include "Columns/files/NewFile.h"
#include "Columns/text/DifferenceList.h"
#include "Columns/text/ShownText.h"
#include "Platform/text/QUAVMB.h"
#include "tools/cases/ColumnsCases.h"
#include "tools/cases/CopyCases.h"
#include "tools/cases/FileCases.h"
#include "tools/cases/SourceCases.h"
#include "tools/cases/Utf8Cases.h"
#include "tools/files/Output.h"
#include "tools/files/StandardInput.h"
#include "tools/forms/ArrowForm.h"
#include "tools/forms/CaseInput.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

namespace {

std::string TypeInWords(int type) { return type == 0 ? "a number" : "text of " + std::to_string(type) + " bytes"; }

// Returns, for each column of the dictionary, the column of the source with the same name. Throws ToolError about
// `file` when columns are missing, have another type or are left over.
std::vector<int> MatchingColumns(const QUAV_DataSource& source, const QUAV_DataSource& dictionary,
                                 const std::string& file) {
  std::unordered_map<std::string, int> found;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    found.emplace(source.GetVariable(column).GetUpperCaseName(), column);
  std::vector<int> columns;
  dstext::DifferenceList differences;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const QUAV_Variable& variable = dictionary.GetVariable(column);
    const auto match = found.find(variable.GetUpperCaseName());
    if (match == found.end()) {
      differences.Add(std::string("there is no variable ") + variable.GetName());
      continue;
    }
    const int type = source.GetVariable(match->second).GetType();
    if (type != variable.GetType())
      differences.Add(std::string("the variable ") + variable.GetName() + " is " + TypeInWords(type) +
                      " but should be " + TypeInWords(variable.GetType()));
    columns.push_back(match->second);
    found.erase(match);
  }
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    if (found.contains(source.GetVariable(column).GetUpperCaseName()))
      differences.Add(std::string("the variable ") + source.GetVariable(column).GetName() + " is not expected");
  if (!differences.IsEmpty()) throw ToolError(differences.Text(), file);
  return columns;
}

bool HasText(const QUAV_DataSource& dictionary) {
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
    if (dictionary.GetVariable(column).GetType() != 0) return true;
  return false;
}

void RefuseOtherEncoding(const SystemFileDataSource& input, const SystemFileDataSource& file) {
  const std::string from = input.CharacterEncoding();
  const std::string to = file.CharacterEncoding();
  if (HasText(file) && !QUAVMBqSameCodePage(from.c_str(), to.c_str()))
    throw ToolError(
        "its text is in " + from + " and cannot be converted to " + to + " here: convert it to JSON lines first",
        input.GetFileSpec());
}

// Passes the cases of several readers to a writer whose Begin and End the caller calls.
class PartWriter final : public CaseWriter {
 public:
  explicit PartWriter(CaseWriter& whole) : m_whole(whole) {}
  void WriteCase(const OBS* cells) override {
    m_whole.WriteCase(cells);
    ++m_count;
  }
  bool Follow(Progress& progress) override { return m_whole.Follow(progress); }
  void CatchUp() override { m_whole.CatchUp(); }
  // What there is to say about these cases comes before what the next input says.
  void End() override { m_whole.CatchUp(); }
  long long Count() const { return m_count; }

 private:
  CaseWriter& m_whole;
  long long m_count = 0;
};

AddedCases OpenShown(const std::string& input, const CaseTarget& target) {
  OpenedSource source = OpenSource(input, IsEncrypted(input) ? target.password : ExtNameStr());
  dstext::RequireCells(*source.file, input);
  const std::vector<int> columns = MatchingColumns(*source.data, target.dictionary, input);
  auto cases = std::make_unique<ColumnsCases>(std::make_unique<FileCases>(*source.data, *source.data, *source.file),
                                              *source.data, target.dictionary, columns);
  return {std::move(source), std::move(cases)};
}

AddedCases OpenStored(const std::string& input, const CaseTarget& target) {
  OpenedSource source = OpenAsStored(input, IsEncrypted(input) ? target.password : ExtNameStr());
  dstext::RequireCells(*source.file, input);
  RefuseOtherEncoding(*source.file, *target.file);
  const std::vector<int> columns = MatchingColumns(*source.data, target.dictionary, input);
  auto cases = std::make_unique<SourceCases>(*source.data, target.dictionary, columns);
  return {std::move(source), std::move(cases)};
}

AddedCases OpenArrowCases(const std::string& input, const CaseTarget& target) {
  if (target.csv.AreGiven()) throw WrongUsage("--delimiter and the like", "the options are for CSV");
  const std::string encoding = target.file == nullptr ? kUtf8Name : target.file->CharacterEncoding();
  if (QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name))
    return {{}, OpenArrowFor(input, target.dictionary, target.dictionary, encoding, target.roundTimes)};
  // Texts may be labels, and those of the file are in its encoding.
  const std::string path = target.file->GetFileSpec();
  const SourceLine shown =
      dstext::OpenInPresentEncoding(path, IsEncrypted(path) ? target.password : ExtNameStr(), nullptr);
  return {{}, OpenArrowFor(input, *shown, target.dictionary, encoding, target.roundTimes)};
}

// The caller may have another encoding, that of the file.
AddedCases OpenInUtf8(const std::string& input, const CaseTarget& target) {
  const SystemFileDataSource::TemporaryCodePage utf8("", 1);
  return OpenAddedCases(input, target);
}

// Reads the cases of several inputs, one input after another.
class ChainedCases final : public CaseReader {
 public:
  ChainedCases(const std::vector<std::string>& inputs, const CaseTarget& target, AddedCases first,
               std::vector<long long>& counts)
      : m_inputs(inputs), m_target(target), m_counts(counts), m_cells(target.dictionary.GetObsAreaSize()) {
    Begin(std::move(first));
  }

  bool Next() override {
    while (!m_cases->Next()) {
      m_cases->Report();
      if (m_counts.size() == m_inputs.size()) return false;
      m_cases.reset();
      Begin(OpenInUtf8(m_inputs[m_counts.size()], m_target));
    }
    std::copy_n(m_cases->Cells(), m_cells.size(), m_cells.begin());
    ++m_counts.back();
    return true;
  }
  const OBS* Cells() const override { return m_cells.data(); }

 private:
  void Begin(AddedCases added) {
    m_open.cases.reset();  // before its source
    m_open = std::move(added);
    m_cases.emplace(*m_open.cases);
    m_counts.push_back(0);
  }

  const std::vector<std::string>& m_inputs;
  const CaseTarget& m_target;
  std::vector<long long>& m_counts;
  AddedCases m_open;
  std::optional<Utf8Cases> m_cases;
  std::vector<OBS> m_cells;
};

AddedCases OpenSystemFileCases(const std::string& input, const CaseTarget& target) {
  return target.file == nullptr ? OpenShown(input, target) : OpenStored(input, target);
}

}  // namespace

AddedCases OpenAddedCases(const std::string& input, const CaseTarget& target) {
  const std::optional<FileForm> form = InputForm(input, target.formName);
  if (form && form->form == CaseForm::systemFile) return OpenSystemFileCases(PathOfInput(input), target);
  if (form && form->form == CaseForm::arrow) return OpenArrowCases(PathOfInput(input), target);
  TextInput text = OpenText(input, form, target.csv);
  if (text.form == CaseForm::systemFile) return OpenSystemFileCases(StandardInputAsFile(text.bytes.get()), target);
  if (text.form == CaseForm::arrow) return OpenArrowCases(StandardInputAsFile(text.bytes.get()), target);
  if (!IsCsv(text.form) && target.csv.AreGiven())
    throw WrongUsage("--delimiter and the like", "the options are for CSV");
  if (text.form == CaseForm::jsonObjects && !target.members.empty())
    return {{}, ReadObjectsFor(std::move(text), target.members, target.dictionary, target.pool)};
  const TextRules rules{.digitsAreKept = target.digitsAreKept,
                        .encoding = target.file == nullptr ? "" : target.file->CharacterEncoding()};
  return {{}, ReadTextFor(std::move(text), target.dictionary, rules, target.pool)};
}

void CompareDictionaries(const std::vector<std::string>& inputs, const CaseTarget& target, const std::string& name) {
  std::vector<std::pair<std::string, std::string>> differences;  // the input and what is wrong with it
  for (const std::string& input : inputs) {
    if (input == "-" || dstext::IsIrregular(input)) continue;
    try {
      OpenAddedCases(input, target);
    } catch (const ToolError& error) {
      differences.emplace_back(error.File(), error.what());
    }
  }
  if (differences.empty()) return;
  if (differences.size() == 1) throw ToolError(differences[0].second, differences[0].first);
  std::string text;
  for (const auto& [input, trouble] : differences) {
    if (!text.empty()) text += "; ";
    text += input;
    text += ": " + trouble;
  }
  throw ToolError(text, name);
}

AllCases::AllCases(const std::vector<std::string>& inputs, const CaseTarget& target)
    : m_inputs(inputs), m_target(target), m_open(OpenInUtf8(inputs.front(), target)) {}

std::vector<long long> AllCases::CopyTo(CaseWriter& writer) {
  std::vector<long long> counts;
  writer.Begin();
  for (const std::string& input : m_inputs) {
    const AddedCases added = counts.empty() ? std::move(m_open) : OpenInUtf8(input, m_target);
    Utf8Cases cases(*added.cases);
    PartWriter part(writer);
    CopyCases(cases, part, STDERR_FILENO);
    cases.Report();
    counts.push_back(part.Count());
  }
  writer.End();
  return counts;
}

std::unique_ptr<CaseReader> AllCases::Read(std::vector<long long>& counts) {
  return std::make_unique<ChainedCases>(m_inputs, m_target, std::move(m_open), counts);
}

void PrintCounts(const std::vector<std::string>& inputs, const std::vector<long long>& counts) {
  std::string text;
  for (std::size_t i = 0; i < inputs.size(); ++i)
    text += OneLine(dstext::ShownText("").Valid(inputs[i])) + ": " + std::to_string(counts[i]) +
            (counts[i] == 1 ? " case added\n" : " cases added\n");
  Print(text);
}

}  // namespace tool
