#include "systemfile/SaveDS.h"

#include <cerrno>
#include <limits>
#include <string>
#include <utility>

#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "systemfile/DictionaryCheck.h"
#include "systemfile/DictionaryWriter.h"
#include "systemfile/SaveDSData.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

// More rows than there can be, but few enough to count on from there.
constexpr long long kBehindTheLastRow = std::numeric_limits<long long>::max() / 2;

// Returns the records that the handlers make, by subtype; converts the dictionary to the file's form.
//
// The order is descending: 22 and 21 remove what belongs to whole strings, 14 then splits the very long ones, 13
// gives short names, and 11 sees the columns of the file.
std::vector<SystemFileExtensionRecord> CollectExtensionRecords(SystemFileDataSource::SaveDS& dictionary) {
  const int highest = dictionary.MaxExtensionType();
  std::vector<SystemFileExtensionRecord> records(static_cast<std::size_t>(highest) + 1);
  for (int subtype = highest; subtype >= 1; --subtype)
    SystemFileExtensionHandler::Write(subtype, dictionary, records[static_cast<std::size_t>(subtype)]);
  return records;
}

}  // namespace

SystemFileDataSource::SaveDS::SaveDS(const QUAV_DataSource* source, QUAV_FileStream& file, SystemFileOptions& options)
    : QUAV_DataSource(*source), m_(std::make_unique<Data>(file, options)) {
  CopyDictionary(*source);
}

SystemFileDataSource::SaveDS::~SaveDS() { Finish(); }

QUAV_InputCaseIterator* SystemFileDataSource::SaveDS::MakeIterator(OBS*) const { return nullptr; }

const SystemFileOptions& SystemFileDataSource::SaveDS::Options() const { return m_->options; }

SystemFileOptions& SystemFileDataSource::SaveDS::Options() { return m_->options; }

void SystemFileDataSource::SaveDS::WriteDictionary() {
  RefuseEqualNames(*this);
  const std::vector<SystemFileExtensionRecord> records = CollectExtensionRecords(*this);
  m_->nCasesRecordLoc = DictionaryWriter(*this, m_->options, m_->m_file).Write(records);
  m_->hasDictionary = true;
}

long long SystemFileDataSource::SaveDS::NCasesLoc() const { return m_->nCasesRecordLoc; }

// ---- Rows ----

void SystemFileDataSource::SaveDS::SetCompressed(QUAV_SparseFileIndex& index, long row0) {
  if (m_->options.compression == kCompressionNone) return;
  if (m_->options.compression == kCompressionZlib) {
    if (m_->m_file.Close() != 0) ThrowSystemFileException(kRowNotWritten, "m_->m_file.Close() == 0", true);
    m_->zStream = std::make_unique<zcmpsFilestr>(m_->m_file);
    m_->zStream->setMultiThread(1);
    if (!m_->zStream->setRow0Pos(row0)) ThrowSystemFileException(kCannotOpen, "zStream->setRow0Pos(row0)", true);
  }
  m_->compressedWriter = std::make_unique<CompressedSystemFile>(m_->options, m_->CaseStream(m_->m_file), index, row0);
}

void SystemFileDataSource::SaveDS::BeginAppend(long long nCasesLoc, long long rowCount, QUAV_SparseFileIndex& index,
                                               long row0) {
  m_->nCasesRecordLoc = nCasesLoc;
  m_->priorRows = rowCount;
  // Called only for its effect on the dictionary and for the movers of very long strings; the records are dropped.
  CollectExtensionRecords(*this);
  const long long firstRow = rowCount < 0 ? kBehindTheLastRow : rowCount;
  if (m_->options.compression == kCompressionZlib) {
    AppendBlocks(firstRow, index, row0);
  } else {
    SetCompressed(index, row0);
    if (m_->compressedWriter) m_->compressedWriter->BeginAppend(firstRow, true);
  }
  m_->hasDictionary = true;
}

// The zlib layer opens the file for writing itself: before that, it must read up to the first row.
void SystemFileDataSource::SaveDS::AppendBlocks(long long firstRow, QUAV_SparseFileIndex& index, long row0) {
  const bool reversed = m_->options.reversed;
  m_->zStream = std::make_unique<zcmpsFilestr>(m_->m_file);
  m_->zStream->setMultiThread(1);
  if (!m_->zStream->readFilePosInfo(row0, reversed))
    ThrowSystemFileException(kUnexpectedEnd, "zStream->readFilePosInfo(row0, reversed)", true);
  m_->compressedWriter = std::make_unique<CompressedSystemFile>(m_->options, *m_->zStream, index, row0);
  m_->compressedWriter->BeginAppend(firstRow, false);
  if (!m_->zStream->setFileToAppend(m_->zStream->Tell(), reversed))
    ThrowSystemFileException(kCannotOpen, "zStream->setFileToAppend(zStream->Tell(), reversed)", true);
}

void SystemFileDataSource::SaveDS::WriteRow(QUAV_FileStream& file, const OBS* row) {
  QUAV_FileStream& stream = m_->CaseStream(file);
  if (!stream.Good()) {
    errno = stream.Error();
    ThrowSystemFileException(kRowNotWritten, "stream.Good()", true);
  }
  if (m_->rowBuffer) {
    for (const auto& mover : m_->movers) row = mover->Move(row);
    row = m_->rowBuffer.get();
  }
  if (m_->compressedWriter) {
    m_->compressedWriter->Write(row);
  } else {
    const auto toWrite = static_cast<std::size_t>(m_->options.nominalCaseSize) * sizeof(OBS);
    if (stream.Write(row, toWrite) != toWrite) ThrowSystemFileException(kRowNotWritten, "toWrite", true);
  }
  ++m_->rowsWritten;
}

// ---- The end ----

int SystemFileDataSource::SaveDS::Finish() { return m_->Finish(); }

int SystemFileDataSource::SaveDS::Data::Finish() {
  if (std::exchange(isFinished, true)) return 0;
  const int error = EndCases();
  // An incomplete file keeps its case count unknown.
  if (!hasDictionary || error != 0) return error;
  const long long count = priorRows < 0 ? -1 : priorRows + rowsWritten;
  if (count == options.numberOfCases && count <= std::numeric_limits<std::int32_t>::max()) return 0;
  options.numberOfCases = count;
  try {
    PatchCount(count);
  } catch (const SystemFileException&) {
    // The file keeps the number of cases from the time when its dictionary was written.
    m_file.Clear();
  }
  return 0;
}

// Writes all cases to the file. Returns 0, or the errno of the first failure since the writer was made.
int SystemFileDataSource::SaveDS::Data::EndCases() {
  compressedWriter.reset();  // which writes its last group
  if (!zStream) {
    m_file.Flush();
    return m_file.Error();
  }
  const int reason = zStream->Error();
  const bool isClosed = zStream->Close() == 0;
  const int closing = isClosed ? 0 : errno;
  zStream.reset();
  return reason != 0 ? reason : closing;
}

void SystemFileDataSource::SaveDS::Data::PatchCount(long long count) {
  if (!m_file.Reopen(options._password, "rb+"))
    ThrowSystemFileException(kCannotOpen, "m_file.Open( xFileSpec, password, \"rb+\" )", true);
  m_file.ClearAndReset();
  const auto put = [this](long long position, auto number) {
    std::byte raw[sizeof(number)];
    Store(raw, number);
    if (m_file.Seek(position, kSeekFromStart) == 0) m_file.Write(raw, sizeof(raw));
    m_file.Flush();
  };
  const bool fits = 0 <= count && count <= std::numeric_limits<std::int32_t>::max();
  put(kHeaderCaseCountOffset, fits ? static_cast<std::int32_t>(count) : -1);
  if (nCasesRecordLoc != 0) put(nCasesRecordLoc + kCaseCountOffset, static_cast<std::int64_t>(count));
  // A failure here does not concern the cases: readers find out their number themselves.
  m_file.Clear();
}
