#include "systemfile/SaveDS.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <new>
#include <ranges>
#include <string>
#include <utility>

#include "Platform/messages/ThrowError.h"
#include "Platform/stream/StreamBeneath.h"
#include "casecodes/CaseCodes.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "systemfile/DictionaryCheck.h"
#include "systemfile/DictionaryWriter.h"
#include "systemfile/SaveDSData.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

// Returns the records that the handlers make, by subtype; converts the dictionary to the file's form.
//
// The order is descending: 22 and 21 remove what belongs to whole strings, 14 then splits the very long ones, 13
// gives short names, and 11 sees the columns of the file.
SystemFileExtensionRecords CollectExtensionRecords(SystemFileDataSource::SaveDS& dictionary) {
  SystemFileExtensionRecords records;
  for (int subtype = 1; subtype <= kHighestHandledSubtype; ++subtype) records.try_emplace(subtype);
  for (const int subtype : dictionary.ExtensionTypes())
    if (subtype != kDocumentExtension) records.try_emplace(subtype);
  for (auto& [subtype, record] : std::views::reverse(records))
    SystemFileExtensionHandler::Write(subtype, dictionary, record);
  return records;
}

}  // namespace

SystemFileDataSource::SaveDS::SaveDS(const QUAV_DataSource* source, QUAV_FileStream& file, SystemFileOptions& options)
    : QUAV_DataSource(*source), m_(std::make_unique<Data>(file, options)) {
  CopyDictionary(*source);
}

SystemFileDataSource::SaveDS::~SaveDS() {
  try {
    Finish();
  } catch (const std::bad_alloc&) {
    // A destructor must not throw. Who must know of a lack of memory calls Finish before.
  }
}

QUAV_InputCaseIterator* SystemFileDataSource::SaveDS::MakeIterator(OBS*) const { return nullptr; }

const SystemFileOptions& SystemFileDataSource::SaveDS::Options() const { return m_->options; }

SystemFileOptions& SystemFileDataSource::SaveDS::Options() { return m_->options; }

void SystemFileDataSource::SaveDS::WriteDictionary() {
  RefuseEqualNames(*this);
  const SystemFileExtensionRecords records = CollectExtensionRecords(*this);
  m_->nCasesRecordLoc = DictionaryWriter(*this, m_->options, m_->m_file).Write(records);
  m_->options.storedCaseCount = {.count = m_->options.numberOfCases};
  m_->hasDictionary = m_->m_file.Good();
}

long long SystemFileDataSource::SaveDS::NCasesLoc() const { return m_->nCasesRecordLoc; }

// ---- Rows ----

void SystemFileDataSource::SaveDS::SetCompressed(QUAV_SparseFileIndex& index, long row0) {
  m_->row0 = row0;
  const std::int32_t level = m_->options.compression;
  if (level != kCompressionByteCodes && level != kCompressionZlib) return;
  if (level == kCompressionZlib) {
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
  m_->row0 = row0;
  Require(m_->options.layout.Takes(*this), kWrongState, "layout.Takes(*this)");
  m_->isAppending = true;
  // Called only for its effect on the dictionary and for the movers of very long strings; the records are dropped.
  CollectExtensionRecords(*this);
  if (m_->options.compression == kCompressionZlib) {
    AppendBlocks(index);
  } else {
    SetCompressed(index, row0);
    if (m_->compressedWriter) {
      m_->firstPosition = m_->compressedWriter->BeginAppend(rowCount, true);
      m_->begunGroup = m_->compressedWriter->FoundByAppend();
    } else {
      RequireWholeCases();
    }
  }
  if (m_->compressedWriter) m_->firstRow = m_->compressedWriter->Tell();
  m_->hasDictionary = true;
}

// The zlib layer opens the file for writing itself: before that, it must read up to the first row.
void SystemFileDataSource::SaveDS::AppendBlocks(QUAV_SparseFileIndex& index) {
  const bool reversed = m_->options.reversed;
  m_->zStream = std::make_unique<zcmpsFilestr>(m_->m_file);
  m_->zStream->setMultiThread(1);
  if (!m_->zStream->readFilePosInfo(m_->row0, reversed))
    ThrowSystemFileException(kUnexpectedEnd, "zStream->readFilePosInfo(row0, reversed)", true);
  m_->compressedWriter = std::make_unique<CompressedSystemFile>(m_->options, *m_->zStream, index, m_->row0);
  m_->firstPosition = m_->compressedWriter->BeginAppend(m_->priorRows, false);
  if (!m_->zStream->setFileToAppend(m_->zStream->Tell(), reversed))
    ThrowSystemFileException(kCannotOpen, "zStream->setFileToAppend(zStream->Tell(), reversed)", true);
}

// Uncompressed rows go to the end of the file. After a part of a case none of them would be in its place.
void SystemFileDataSource::SaveDS::RequireWholeCases() {
  const long length = m_->m_file.Length();
  if (length < 0) ThrowSystemFileException(kUnexpectedEnd, "m_file.Length() >= 0", true);
  m_->firstPosition = length - m_->row0;
  const bool areWhole = m_->firstPosition >= 0 && (m_->CaseSize() == 0 || m_->firstPosition % m_->CaseSize() == 0);
  Require(areWhole, kUnexpectedEnd, "readLen== 0 || readLen == caseLen");
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
    const auto toWrite = static_cast<std::size_t>(m_->options.layout.NominalCaseSize()) * sizeof(OBS);
    if (stream.Write(row, toWrite) != toWrite) ThrowSystemFileException(kRowNotWritten, "toWrite", true);
  }
  ++m_->rowsWritten;
}

// ---- The end ----

int SystemFileDataSource::SaveDS::Finish() { return m_->Finish(); }

void SystemFileDataSource::SaveDS::Abandon() { m_->isFinished = true; }

int SystemFileDataSource::SaveDS::Data::Finish() {
  if (std::exchange(isFinished, true)) return 0;
  const int error = EndCases();
  if (!hasDictionary) return error;
  if (error == 0) return StoreCount(rowsWritten);
  // The copy of an encrypted file is dropped: the file stays as it was.
  if (!IsEncrypted()) {
    const long long wholeRows = CountWholeRows();
    if (wholeRows == 0) RestoreBegunGroup();
    StoreCount(wholeRows);
  }
  return error;
}

// Writes all cases to the file. Returns 0, or the errno of the first failure since the writer was made.
int SystemFileDataSource::SaveDS::Data::EndCases() {
  const bool isCoded = compressedWriter != nullptr;
  if (isCoded) WriteLastGroup();
  compressedWriter.reset();
  if (!zStream) {
    m_file.Flush();
    const int reason = m_file.Error();
    return reason == 0 && isCoded ? CutAfterCases() : reason;
  }
  const int reason = zStream->Error();
  const bool isClosed = zStream->Close() == 0;
  const int closing = isClosed ? 0 : errno;
  zStream.reset();
  return reason != 0 ? reason : closing;
}

void SystemFileDataSource::SaveDS::Data::WriteLastGroup() {
  try {
    compressedWriter->Flush();
  } catch (const SystemFileException&) {
    // The stream says why.
  }
}

// What an earlier append that failed left after the last case, or cases that the file did not count, would be read as
// cases: the groups there belong to another beginning. Returns 0 or an errno.
int SystemFileDataSource::SaveDS::Data::CutAfterCases() {
  const StreamBeneath beneath(m_file);
  // The copy of an encrypted file is written anew each time.
  if (beneath.GetFile() == nullptr) return 0;
  const long end = m_file.Tell();
  return beneath.GetFile()->Length() > end ? beneath.GetFile()->Truncate(end) : 0;
}

// After a failure: returns how many of the rows are whole in the file; -1 when this cannot be found out.
long long SystemFileDataSource::SaveDS::Data::CountWholeRows() {
  if (!m_file.Reopen(options._password, "rb")) return -1;
  m_file.ClearAndReset();
  if (m_file.Length() < row0) return -1;
  long long count = 0;
  if (options.compression == kCompressionNone) {
    count = CaseSize() == 0 ? rowsWritten : (m_file.Length() - row0 - firstPosition) / CaseSize();
  } else {
    std::unique_ptr<zcmpsFilestr> blocks;
    if (options.compression == kCompressionZlib) {
      blocks = std::make_unique<zcmpsFilestr>(m_file);
      if (!blocks->readFilePosInfo(row0, options.reversed)) return -1;
    }
    // Rows that never reached the file are in the source's own index.
    QUAV_SparseFileIndex index(1);
    index.Add(firstRow, firstPosition);
    QUAV_FileStream& stream = blocks ? *blocks : m_file;
    count = CompressedSystemFile(options, stream, index, row0).CountCases(firstRow + rowsWritten) - firstRow;
  }
  return std::clamp(count, 0LL, rowsWritten);
}

// After a failure that left no new row: the group that replaces the last old one may be in the file only in part, and
// the last old rows would be lost with it. Their cells are written back; a disk that is full takes them, because they
// had that place before. What fails here does not matter any more: the append has failed already.
void SystemFileDataSource::SaveDS::Data::RestoreBegunGroup() {
  if (begunGroup.codes == 0 || !m_file.Reopen(options._password, "rb+")) return;
  m_file.ClearAndReset();
  const auto unused = begunGroup.bytes.begin() + begunGroup.codes;
  std::fill(unused, begunGroup.bytes.begin() + kCodesPerGroup, std::byte{kCodeNothing});
  if (m_file.Seek(row0 + firstPosition - begunGroup.codes, kSeekFromStart) != 0) return;
  if (m_file.Write(begunGroup.bytes.data(), begunGroup.size) != begunGroup.size || m_file.Flush() != 0) return;
  CutAfterCases();
}

// Stores the number of cases when the file has `rows` rows of this writer; -1 means that they could not be counted.
// Returns 0, or an errno when the file has a wrong number now. An unknown number is not wrong: readers count the cases.
int SystemFileDataSource::SaveDS::Data::StoreCount(long long rows) {
  if (rows < 0) return 0;
  const long long count = priorRows < 0 ? -1 : priorRows + rows;
  const long long stored = options.storedCaseCount.count;
  const bool isStale = stored >= 0 && stored != count;
  if (count == options.numberOfCases && count <= std::numeric_limits<std::int32_t>::max() && !isStale) return 0;
  options.numberOfCases = count;
  try {
    PatchCount(count);
    options.storedCaseCount.count = count;
    return 0;
  } catch (const SystemFileException& fault) {
    if (isStale) return fault.Errno();
    m_file.Clear();
    return 0;
  }
}

void SystemFileDataSource::SaveDS::Data::PatchCount(long long count) {
  if (!m_file.Reopen(options._password, "rb+"))
    ThrowSystemFileException(kCannotOpen, "m_file.Open( xFileSpec, password, \"rb+\" )", true);
  m_file.ClearAndReset();
  const auto put = [this](long long position, auto number, ByteOrder order) {
    std::byte raw[sizeof(number)];
    Store(raw, number, order);
    const bool isWritten = m_file.Seek(position, kSeekFromStart) == 0 &&
                           m_file.Write(raw, sizeof(raw)) == sizeof(raw) && m_file.Flush() == 0;
    if (!isWritten) ThrowSystemFileException(kRowNotWritten, "m_file.Write(raw, sizeof(raw)) == sizeof(raw)", true);
  };
  const bool fits = 0 <= count && count <= std::numeric_limits<std::int32_t>::max();
  put(kHeaderCaseCountOffset, fits ? static_cast<std::int32_t>(count) : -1, ByteOrder::native);
  const SystemFileOptions::StoredCaseCount& record = options.storedCaseCount;
  if (nCasesRecordLoc != 0) put(nCasesRecordLoc + record.offset, static_cast<std::int64_t>(count), record.order);
}
