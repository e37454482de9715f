#include "tools/forms/ArrowCases.h"

#include <exception>
#include <memory>
#include <string>

#include "datasrc/ArrowFile.h"
#include "datasrc/ArrowStream.h"
#include "tools/cases/ReaderSource.h"
#include "tools/messages/Progress.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

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

void WriteArrowCases(const QUAV_DataSource& dictionary, CaseReader& cases, const std::vector<int>& indexes,
                     const ShowOptions& options, Output& output, int progressDescriptor) {
  if (output.IsTerminal()) throw ToolError("an Arrow file is not for a terminal: name a file", output.Name());
  WatchedCases watched(cases, progressDescriptor);
  ArrowArrayStream stream;
  ExportArrowStream(std::make_shared<const ReaderSource>(dictionary, watched),
                    {.reading = {.columns = indexes}, .typedDates = !options.raw, .labels = options.labels}, &stream);
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
