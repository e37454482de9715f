#include "tools/forms/ArrowForm.h"

#include <algorithm>
#include <exception>
#include <unordered_set>
#include <utility>

#include "Columns/dictionary/JsonDictionary.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowCases.h"
#include "datasrc/ArrowFile.h"
#include "datasrc/ArrowStream.h"
#include "tools/cases/ReaderSource.h"
#include "tools/csv/CsvNames.h"
#include "tools/dictionary/DictionaryFile.h"
#include "tools/messages/Progress.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr std::string_view kArrowMagic = "ARROW1";
constexpr std::string_view kStreamStart = "\xFF\xFF\xFF\xFF";  // of a message, as the streaming format begins

// Returns the names if all can be those of variables, otherwise mended names.
std::vector<std::string> NamesOfVariables(const std::vector<std::string>& names) {
  std::unordered_set<std::string> known;  // in upper case
  const bool areLegal = std::ranges::all_of(names, [&known](const std::string& name) {
    return dstext::MayNameVariable(name) && known.insert(QUAVMBstrupr_A(name)).second;
  });
  return areLegal ? names : MendedNames(names);
}

[[noreturn]] void Refuse(const ArrowImportError& error, const std::string& file) {
  const std::string text = error.what();
  const bool mayBeTime = text.ends_with("without loss");
  throw ToolError(mayBeTime ? text + " (--round-times rounds times)" : text, file);
}

// The stream of a file.
class OpenedArrow {
 public:
  explicit OpenedArrow(const std::string& path) {
    try {
      OpenArrowFile(path, &m_stream);
    } catch (const ArrowFileError& error) {
      throw ToolError(error.what(), path);
    }
  }
  OpenedArrow(const OpenedArrow&) = delete;
  OpenedArrow& operator=(const OpenedArrow&) = delete;
  ~OpenedArrow() {
    if (m_stream.release != nullptr) m_stream.release(&m_stream);
  }

  ArrowArrayStream* Stream() { return &m_stream; }

 private:
  ArrowArrayStream m_stream{};
};

class ArrowReader final : public CaseReader {
 public:
  ArrowReader(std::unique_ptr<ArrowCases> cases, std::string file, const QUAV_DataSource& dictionary)
      : m_cases(std::move(cases)), m_file(std::move(file)), m_cells(dictionary.GetObsAreaSize()) {}

  bool Next() override {
    try {
      const OBS* const cells = m_cases->Next();
      if (cells == nullptr) return false;
      std::copy_n(cells, m_cells.size(), m_cells.begin());
      return true;
    } catch (const ArrowImportError& error) {
      Refuse(error, m_file);
    }
  }
  const OBS* Cells() const override { return m_cells.data(); }
  void Report() const override {
    for (const std::string& note : m_cases->Notes()) ReportWarning(note, m_file);
  }

 private:
  std::unique_ptr<ArrowCases> m_cases;
  std::string m_file;
  std::vector<OBS> m_cells;
};

// Passes the cases on, shows the progress, and keeps the exception of the reader: a stream reports only its text.
class WatchedCases final : public CaseReader {
 public:
  WatchedCases(CaseReader& cases, int progressDescriptor)
      : m_cases(cases), m_progress(progressDescriptor, cases.Count()) {}

  bool Next() override {
    try {
      if (!m_cases.Next()) return false;
    } catch (...) {
      m_failure = std::current_exception();
      throw;
    }
    m_progress.Step(++m_count);
    return true;
  }
  const OBS* Cells() const override { return m_cases.Cells(); }
  long long Count() const override { return m_cases.Count(); }
  void RethrowFailure() const {
    if (m_failure) std::rethrow_exception(m_failure);
  }

 private:
  CaseReader& m_cases;
  Progress m_progress;
  long long m_count = 0;
  std::exception_ptr m_failure;
};

}  // namespace

bool IsArrowStart(std::string_view bytes) { return bytes.starts_with(kArrowMagic) || bytes.starts_with(kStreamStart); }

ArrowInput OpenArrow(const std::string& path, const std::string& dictionaryFile, bool roundTimes) {
  const std::string dictionary = dictionaryFile.empty() ? std::string() : ReadDictionaryText(dictionaryFile);
  OpenedArrow file(path);
  try {
    auto cases = std::make_unique<ArrowCases>(
        file.Stream(),
        ArrowCasesOptions{.dictionary = dictionary, .roundTimes = roundTimes, .rename = NamesOfVariables});
    std::unique_ptr<SystemFileDataSource> source = cases->TakeDictionary();
    auto reader = std::make_unique<ArrowReader>(std::move(cases), path, *source);
    return {std::move(source), std::move(reader)};
  } catch (const ArrowImportError& error) {
    Refuse(error, path);
  }
}

std::unique_ptr<CaseReader> OpenArrowFor(const std::string& path, const QUAV_DataSource& shown,
                                         const QUAV_DataSource& stored, const std::string& encoding, bool roundTimes) {
  OpenedArrow file(path);
  try {
    auto cases = std::make_unique<ArrowCases>(file.Stream(), shown, stored, encoding,
                                              ArrowCasesOptions{.roundTimes = roundTimes, .rename = NamesOfVariables});
    return std::make_unique<ArrowReader>(std::move(cases), path, stored);
  } catch (const ArrowImportError& error) {
    Refuse(error, path);
  }
}

void WriteArrowCases(const QUAV_DataSource& dictionary, CaseReader& cases, const std::vector<int>& indexes,
                     const std::optional<SortKeys>& sortKeys, const ShowOptions& options, Output& output,
                     int progressDescriptor) {
  if (output.IsTerminal()) throw ToolError("an Arrow file is not for a terminal: name a file", output.Name());
  WatchedCases watched(cases, progressDescriptor);
  const auto source = std::make_shared<ReaderSource>(dictionary, watched);
  if (sortKeys) SetSortKeys(*source, *sortKeys);
  ArrowArrayStream stream;
  ExportArrowStream(source, {.reading = {.columns = indexes}, .typedDates = !options.raw, .labels = options.labels},
                    &stream);
  try {
    WriteArrowFile(&stream, [&output](std::string_view bytes) {
      output.Text() += bytes;
      output.Settle();
    });
  } catch (const ArrowFileError& error) {
    watched.RethrowFailure();
    const std::string text = error.what();
    const bool isOfDate = text.ends_with("read it as a number");
    throw ToolError(isOfDate ? text + " with --raw" : text, output.Name());
  }
}

}  // namespace tool
