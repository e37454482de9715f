#include "datasrc/ArrowImport.h"

#include <memory>
#include <string>
#include <vector>

#include "Columns/arrowin/ArrivingColumns.h"
#include "Columns/arrowin/ArrivingRows.h"
#include "Columns/arrowin/ArrowInput.h"
#include "Columns/arrowin/CaseMaker.h"
#include "Columns/arrowin/RowSpool.h"
#include "Columns/dictionary/CaseCount.h"
#include "Columns/dictionary/FileOpening.h"
#include "Columns/files/LockedFile.h"
#include "Columns/files/NewFile.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowCases.h"
#include "datasrc/SystemFileDataSource.h"

namespace arrowin {

namespace {

// Errors about `file`, a name that a person does not know, become errors about `path`.
template <class Work>
void ReportedAbout(const std::string& path, const std::string& file, Work work) {
  try {
    work();
  } catch (const QuavServerError& error) {
    throw QuavServerError(error.Number(), error.Text(), error.File() == file ? path : error.File());
  }
}

// Releases a stream that was not taken.
class UntakenStream {
 public:
  explicit UntakenStream(ArrowArrayStream* stream) : m_stream(stream) {}
  UntakenStream(const UntakenStream&) = delete;
  UntakenStream& operator=(const UntakenStream&) = delete;
  ~UntakenStream() {
    if (m_stream->release != nullptr) m_stream->release(m_stream);
  }

 private:
  ArrowArrayStream* m_stream;
};

// Passes all rows to the spool after each was seen to fit into a case.
void SpoolCases(ArrivingRows& rows, CaseMaker& cases, RowSpool& spool) {
  for (ArrivedRows some; rows.Next(some); spool.Add(some)) {
    cases.Begin(some);
    while (cases.Next() != nullptr) {
    }
  }
  spool.Rewind();
}

void AddCases(RowSpool& spool, CaseMaker& cases, SystemFileDataSource& file, std::size_t columns) {
  ArrivedRows rows;
  rows.columns.resize(columns);
  while (spool.Next(rows)) {
    cases.Begin(rows);
    while (const OBS* const cells = cases.Next()) file.AddRow(cells);
  }
  file.Close();
}

}  // namespace

}  // namespace arrowin

ArrowImportResult WriteArrowStream(ArrowArrayStream* stream, const std::string& path,
                                   const ArrowWriteOptions& options) {
  const arrowin::UntakenStream untaken(stream);
  dstext::RefuseUnwritableOutput(path);
  ArrowCases cases(
      stream,
      {.dictionary = options.dictionary, .roundTimes = options.roundTimes, .isSecret = !options.password.Empty()});
  dstext::NewFile newFile(path, {.sync = options.sync});
  const std::unique_ptr<SystemFileDataSource> file = cases.TakeDictionary();
  file->SetCompressionLevel(options.compression);
  file->CharacterEncoding(kUtf8Name);
  file->SetPassword(options.password);
  file->SetFileSpec(newFile.Path().c_str());
  arrowin::ReportedAbout(path, newFile.Path(), [&] {
    file->CommitDictionary();
    while (const OBS* const cells = cases.Next()) file->AddRow(cells);
    file->Close();
  });
  // Before the file gets its name: after that nothing must fail any more.
  ArrowImportResult result{.rows = cases.RowsRead(), .notes = cases.Notes()};
  newFile.Finish();
  return result;
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
  const std::vector<ArrivingColumn> columns = ColumnsOf(input, {});
  const std::vector<int> targets = TargetsOf(columns, *shown);
  const std::string encoding = file->CharacterEncoding();
  const bool isUtf8 = QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name);
  dstext::FillRules rules;
  if (!isUtf8) rules.converter = QUAVMBConverterPtr(QUAVMBConverterNew_A(encoding.c_str()));
  CaseMaker cases(*file, targets, NamesOf(columns), rules);

  ArrivingRows rows(input, ValuesFor(columns, *shown, targets, options.roundTimes));
  RowSpool spool(!options.password.Empty());
  SpoolCases(rows, cases, spool);
  // Before the first case: when rows have been added, nothing must fail any more.
  ArrowImportResult result{.rows = rows.Count(), .notes = NotesAbout(columns)};
  if (rows.Count() > 0) {
    dstext::LearnCaseCount(*file);
    const SystemFileDataSource::TemporaryCodePage codePage(encoding, isUtf8 ? 1 : 0);
    locked.RefuseChange();
    AddCases(spool, cases, *file, columns.size());
  }
  return result;
}
