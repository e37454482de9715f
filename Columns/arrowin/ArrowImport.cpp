#include "datasrc/ArrowImport.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include "Columns/arrowin/ArrivedRows.h"
#include "Columns/arrowin/ArrowInput.h"
#include "Columns/arrowin/ArrowType.h"
#include "Columns/arrowin/CaseMaker.h"
#include "Columns/arrowin/ColumnValues.h"
#include "Columns/arrowin/RowSpool.h"
#include "Columns/arrowin/TextLabels.h"
#include "Columns/dictionary/ArrivingDictionary.h"
#include "Columns/dictionary/CaseCount.h"
#include "Columns/dictionary/DictionaryJsonError.h"
#include "Columns/dictionary/FileOpening.h"
#include "Columns/dictionary/UnknownBlocks.h"
#include "Columns/files/FileFailure.h"
#include "Columns/files/LockedFile.h"
#include "Columns/files/NewFile.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableNames.h"

namespace arrowin {

namespace {

constexpr int kRowsAtOnce = 4096;  // that are taken apart together

std::string NameOf(const ArrowSchema& column) { return column.name != nullptr ? column.name : ""; }

// ---- The rows of a stream ----

class ArrivingRows {
 public:
  // `columns` has an element for each column of the input, which outlives this object.
  ArrivingRows(ArrowInput& input, std::vector<std::unique_ptr<ColumnValues>> columns)
      : m_input(input), m_columns(std::move(columns)) {}

  // Fetches some rows. Returns false at the end.
  bool Next(ArrivedRows& rows) {
    while (m_array == nullptr || m_taken == m_array->length)
      if (!Begin()) return false;
    rows.firstRow = m_row;
    rows.rows = static_cast<int>(std::min<std::int64_t>(kRowsAtOnce, m_array->length - m_taken));
    rows.columns.resize(m_columns.size());
    for (std::size_t k = 0; k < m_columns.size(); ++k) {
      rows.columns[k].Clear();
      m_columns[k]->Take(m_array->offset + m_taken, rows.rows, m_row, rows.columns[k]);
    }
    m_taken += rows.rows;
    m_row += rows.rows;
    return true;
  }

  long long Count() const { return m_row; }

 private:
  bool Begin() {
    m_array = m_input.Next();
    if (m_array == nullptr) return false;
    m_taken = 0;
    for (std::size_t k = 0; k < m_columns.size(); ++k) m_columns[k]->Begin(*m_array->children[k]);
    return true;
  }

  ArrowInput& m_input;
  std::vector<std::unique_ptr<ColumnValues>> m_columns;
  const ArrowArray* m_array = nullptr;
  std::int64_t m_taken = 0;  // rows of the array
  long long m_row = 0;       // of the stream
};

std::vector<std::string> NamesOf(const ArrowInput& input) {
  std::vector<std::string> names;
  for (std::size_t k = 0; k < input.Columns(); ++k) names.push_back(NameOf(*input.Schema().children[k]));
  return names;
}

// Says of columns with a zone that their times are stored in UTC.
std::vector<std::string> NotesAbout(const ArrowInput& input) {
  std::vector<std::string> notes;
  for (std::size_t k = 0; k < input.Columns(); ++k) {
    const ArrowSchema& column = *input.Schema().children[k];
    const std::optional<ArrowType> type = ParseArrowType(column.format);
    if (type && !type->zone.empty() && type->zone != "UTC")
      notes.push_back("the times of the column " + NameOf(column) + " in the zone " + type->zone +
                      " are stored in UTC");
  }
  return notes;
}

void CheckNames(const ArrowInput& input) {
  for (std::size_t k = 0; k < input.Columns(); ++k) {
    const std::string name = NameOf(*input.Schema().children[k]);
    if (ValidateQUAVName(name.c_str()) == kNameLength || ValidateQUAVName(name.c_str()) == kNameCharacter)
      throw ArrowImportError("the column \"" + name + "\" has a name that no variable can have: rename it");
  }
}

// Errors about `file`, a name that a person does not know, become errors about `path`.
template <class Work>
void ReportedAbout(const std::string& path, const std::string& file, Work work) {
  try {
    work();
  } catch (const QuavServerError& error) {
    throw QuavServerError(error.Number(), error.Text(), error.File() == file ? path : error.File());
  }
}

// ---- A new file ----

std::vector<dstext::ArrivingVariable> VariablesOf(const ArrowInput& input) {
  std::vector<dstext::ArrivingVariable> variables;
  for (std::size_t k = 0; k < input.Columns(); ++k) {
    const ArrowSchema& column = *input.Schema().children[k];
    dstext::ArrivingVariable& variable = variables.emplace_back();
    variable.name = NameOf(column);
    variable.isText = HasText(column);
    variable.metadata = MetadataOf(column, kArrowVariableKey);
    const char* const format = column.dictionary != nullptr ? column.dictionary->format : column.format;
    if (const std::optional<ArrowType> type = ParseArrowType(format != nullptr ? format : ""))
      variable.format = type->format;
  }
  return variables;
}

class NewSystemFile {
 public:
  NewSystemFile(ArrowInput& input, const std::string& path, const ArrowWriteOptions& options)
      : m_input(input),
        m_path(path),
        m_options(options),
        m_dictionary(MetadataOf(input.Schema(), kArrowFileKey), options.dictionary, VariablesOf(input)) {}

  ArrowImportResult Write() {
    dstext::RefuseUnwritableOutput(m_path);
    FindWidths();
    m_result.notes = NotesAbout(m_input);
    ArrivingRows rows(m_input, Values());
    if (m_hasOpenWidths) {
      RowSpool spool(!m_options.password.Empty());
      Spool(rows, spool);
      WriteFile([&spool](ArrivedRows& some) { return spool.Next(some); });
    } else {
      WriteFile([&rows](ArrivedRows& some) { return rows.Next(some); });
    }
    m_result.rows = rows.Count();
    return std::move(m_result);
  }

 private:
  void FindWidths() {
    for (std::size_t k = 0; k < m_input.Columns(); ++k) {
      const std::optional<int> fixed = m_dictionary.FixedWidth(k);
      m_widths.push_back(fixed.value_or(m_dictionary.LeastWidth(k)));
      m_isOpen.push_back(!fixed && !m_dictionary.IsNumber(k));
      m_hasOpenWidths = m_hasOpenWidths || m_isOpen.back();
    }
  }

  std::vector<std::unique_ptr<ColumnValues>> Values() const {
    const dstext::JsonDictionary described = m_dictionary.Build(m_widths);
    std::vector<std::unique_ptr<ColumnValues>> values;
    for (std::size_t k = 0; k < m_input.Columns(); ++k) {
      const QUAV_Variable& variable = std::as_const(*described.dictionary).GetVariable(static_cast<int>(k));
      const ArrowSchema& column = *m_input.Schema().children[k];
      values.push_back(MakeColumnValues(column, {.name = NameOf(column),
                                                 .isNumber = m_dictionary.IsNumber(k),
                                                 .labels = std::make_shared<TextLabels>(variable),
                                                 .roundTimes = m_options.roundTimes}));
    }
    return values;
  }

  void Spool(ArrivingRows& rows, RowSpool& spool) {
    for (ArrivedRows some; rows.Next(some); spool.Add(some)) {
      for (std::size_t k = 0; k < m_widths.size(); ++k) {
        const std::vector<std::uint32_t>& sizes = some.columns[k].sizes;
        if (m_isOpen[k] && !sizes.empty())
          m_widths[k] = std::max(m_widths[k], static_cast<int>(*std::ranges::max_element(sizes)));
      }
    }
    spool.Rewind();
  }

  template <class Next>
  void WriteFile(Next next) {
    const dstext::JsonDictionary described = m_dictionary.Build(m_widths);
    m_result.notes.insert(m_result.notes.end(), described.warnings.begin(), described.warnings.end());
    std::vector<int> targets;
    for (int column = 0; column < static_cast<int>(m_widths.size()); ++column) targets.push_back(column);
    CaseMaker cases(*described.dictionary, targets, NamesOf(m_input), {});
    dstext::NewFile newFile(m_path, {.sync = m_options.sync});
    SystemFileDataSource& file = *described.dictionary;
    if (const std::string blocks = MetadataOf(m_input.Schema(), kArrowExtensionsKey); !blocks.empty())
      dstext::AddUnknownBlocks(file, blocks);
    file.SetCompressionLevel(m_options.compression);
    file.CharacterEncoding(kUtf8Name);
    file.SetPassword(m_options.password);
    file.SetFileSpec(newFile.Path().c_str());
    ReportedAbout(m_path, newFile.Path(), [&] {
      file.CommitDictionary();
      for (ArrivedRows some = MakeRows(); next(some);)
        cases.Make(some, [&file](const OBS* cells) { file.AddRow(cells); });
      file.Close();
    });
    newFile.Finish();
  }

  ArrivedRows MakeRows() const {
    ArrivedRows rows;
    rows.columns.resize(m_widths.size());
    return rows;
  }

  ArrowInput& m_input;
  const std::string& m_path;
  const ArrowWriteOptions& m_options;
  dstext::ArrivingDictionary m_dictionary;
  std::vector<int> m_widths;
  std::vector<bool> m_isOpen;  // whether the width is that of the widest value
  bool m_hasOpenWidths = false;
  ArrowImportResult m_result;
};

// ---- More cases of a file ----

// Returns for each column of the stream the column of the file with that name.
std::vector<int> TargetsOf(const ArrowInput& input, const QUAV_DataSource& file) {
  std::unordered_map<std::string, int> columns;
  for (int column = 0; column < static_cast<int>(file.ColumnCount()); ++column)
    columns.emplace(file.GetVariable(column).GetUpperCaseName(), column);
  std::vector<int> targets;
  for (std::size_t k = 0; k < input.Columns(); ++k) {
    const std::string name = NameOf(*input.Schema().children[k]);
    const auto found = columns.find(QUAVMBstrupr_A(name));
    if (found == columns.end())
      throw ArrowImportError("the column " + name + " is no variable of the file, or comes twice");
    targets.push_back(found->second);
    columns.erase(found);
  }
  if (!columns.empty())
    throw ArrowImportError("the stream has no column for the variable " +
                           std::string(file.GetVariable(columns.begin()->second).GetName()));
  return targets;
}

// `file` is the file as it is shown in UTF-8.
std::vector<std::unique_ptr<ColumnValues>> ValuesFor(const ArrowInput& input, const QUAV_DataSource& file,
                                                     const std::vector<int>& targets, bool roundTimes) {
  std::vector<std::unique_ptr<ColumnValues>> values;
  for (std::size_t k = 0; k < input.Columns(); ++k) {
    const QUAV_Variable& variable = file.GetVariable(targets[k]);
    const ArrowSchema& column = *input.Schema().children[k];
    values.push_back(MakeColumnValues(column, {.name = NameOf(column),
                                               .isNumber = variable.GetType() == 0,
                                               .labels = std::make_shared<TextLabels>(variable),
                                               .roundTimes = roundTimes}));
  }
  return values;
}

// Passes all rows to the spool after each was seen to fit into a case.
void SpoolCases(ArrivingRows& rows, CaseMaker& cases, RowSpool& spool) {
  for (ArrivedRows some; rows.Next(some); spool.Add(some)) cases.Make(some, [](const OBS*) {});
  spool.Rewind();
}

void AddCases(RowSpool& spool, CaseMaker& cases, SystemFileDataSource& file, std::size_t columns) {
  ArrivedRows rows;
  rows.columns.resize(columns);
  while (spool.Next(rows)) cases.Make(rows, [&file](const OBS* cells) { file.AddRow(cells); });
  file.Close();
}

}  // namespace

}  // namespace arrowin

ArrowImportResult WriteArrowStream(ArrowArrayStream* stream, const std::string& path,
                                   const ArrowWriteOptions& options) {
  using namespace arrowin;
  ArrowInput input(stream);
  if (input.Columns() == 0) throw ArrowImportError("the stream has no columns, and a system file needs one");
  CheckNames(input);
  try {
    return NewSystemFile(input, path, options).Write();
  } catch (const dstext::DictionaryJsonError& error) {
    throw ArrowImportError(error.what());
  }
}

ArrowImportResult AppendArrowStream(ArrowArrayStream* stream, const std::string& path,
                                    const ArrowAppendOptions& options) {
  using namespace arrowin;
  ArrowInput input(stream);
  const dstext::LockedFile locked(path);
  locked.RequireWritable();
  const dstext::SourceLine shown = dstext::OpenInPresentEncoding(path, options.password, nullptr, options.encoding);
  const std::unique_ptr<SystemFileDataSource> file = dstext::OpenAsStored(path, options.password, options.encoding);
  dstext::RequireCells(*file, path);
  const std::vector<int> targets = TargetsOf(input, *shown);
  const std::string encoding = file->CharacterEncoding();
  const bool isUtf8 = QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name);
  dstext::FillRules rules;
  if (!isUtf8) rules.converter = QUAVMBConverterPtr(QUAVMBConverterNew_A(encoding.c_str()));
  CaseMaker cases(*file, targets, NamesOf(input), rules);

  ArrivingRows rows(input, ValuesFor(input, *shown, targets, options.roundTimes));
  RowSpool spool(!options.password.Empty());
  SpoolCases(rows, cases, spool);
  // Before the first case: when rows have been added, nothing must fail any more.
  ArrowImportResult result{.rows = rows.Count(), .notes = NotesAbout(input)};
  if (rows.Count() > 0) {
    dstext::LearnCaseCount(*file);
    const SystemFileDataSource::TemporaryCodePage codePage(encoding, isUtf8 ? 1 : 0);
    locked.RefuseChange();
    AddCases(spool, cases, *file, input.Columns());
  }
  return result;
}
