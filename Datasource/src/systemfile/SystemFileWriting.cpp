// The states of a system file source that is written:
//
//   state      event               to        effect
//   new        CommitDictionary    writing   the file is made, its dictionary written
//   new        AddRow              writing   the same, then the row
//   writing    AddRow              writing   a row is written
//   writing    Close               reading   the file is finished
//   reading    AddRow              writing   appending begins, then the row
//
// The file is written in place under its final name. After a failure, what was written stays. A dictionary that a file
// cannot hold is refused before the file is made.

#include "datasrc/SystemFileDataSource.h"

#include <cerrno>
#include <memory>

#include "Platform/cipher/PasswordCache.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "systemfile/DictionaryCheck.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileDataSourceData.h"
#include "systemfile/SystemFileException.h"

namespace {

// Passed to the password cache for every file that was written.
constexpr int kPesKind = 3;
constexpr int kPesFlags = 0;

}  // namespace

void SystemFileDataSource::CommitDictionary() {
  if (m_->writerState != Data::kNew) ThrowError::Simple(kDatasrcCatalog, kWrongState);
  RefuseUnwritable(*this, CharacterEncoding());
  m_->fileName = GetFileSpecExt();
  m_->OpenFile("wb");
  try {
    m_->Commit(*this);
  } catch (const SystemFileException& fault) {
    m_->AbandonCommit();
    ReportSystemFileException(fault, GetFileSpec());
  } catch (...) {
    m_->AbandonCommit();
    throw;
  }
}

void SystemFileDataSource::Data::Commit(const QUAV_DataSource& dictionary) {
  QUAVMBCpNameToNum_A(m_options.characterEncoding.c_str(), &m_options.characterCode);
  saveDS = std::make_unique<SaveDS>(&dictionary, File(), m_options);
  saveDS->WriteDictionary();
  m_options.SetNominalCaseSize(static_cast<std::int32_t>(saveDS->GetObsAreaSize()));
  // For readers of the same source.
  m_options.dechunker.SetEStringVars(*saveDS, saveDS->ExtendedStringsInFile());
  nCasesLoc = saveDS->NCasesLoc();
  row0 = File().Tell();
  saveDS->SetCompressed(sparseIndex, row0);
  writerState = kWriting;
  Sort(m_options.renames);
}

// Makes the source new again; leaves the file as it is.
void SystemFileDataSource::Data::AbandonCommit() {
  saveDS.reset();
  cryptStream.reset();  // drops what was written: half a dictionary is not worth encrypting
  m_file.Close();
  m_options.renames.clear();
}

void SystemFileDataSource::AddRow(const OBS* row) {
  if (m_->iterators != 0) ThrowError::Simple(kDatasrcCatalog, kWrongState);
  if (m_->writerState == Data::kNew) CommitDictionary();
  try {
    if (m_->writerState == Data::kReading) m_->BeginAppend(*this);
    m_->saveDS->WriteRow(m_->File(), row);
  } catch (const SystemFileException& fault) {
    ReportSystemFileException(fault, GetFileSpec());
  }
}

void SystemFileDataSource::Data::BeginAppend(const SystemFileDataSource& source) {
  // The numbers of the file are in reversed byte order, those of the rows are not.
  if (m_options.reversed) ThrowError::String1(kDatasrcCatalog, kOtherByteOrder, source.GetFileSpec());
  // The dictionary is not written again, but the handlers of its records run, for their effect on the writer.
  RefuseUnwritable(source, source.CharacterEncoding());
  if (m_options.compression == kCompressionNone) {
    ReopenFile("ab");
  } else if (!File().IsOpen()) {
    OpenFile("rb");
  }
  if (cryptStream && m_options.compression == kCompressionZlib)
    ThrowError::String1(kDatasrcCatalog, kUnknownCompression, source.GetFileSpec());
  zStream.reset();
  saveDS = std::make_unique<SaveDS>(&source, File(), m_options);
  try {
    saveDS->BeginAppend(nCasesLoc, source.RowCount(), sparseIndex, row0);
  } catch (...) {
    saveDS.reset();
    throw;
  }
  writerState = kWriting;
}

void SystemFileDataSource::Close() {
  if (m_->writerState != Data::kWriting) return;
  const int reason = m_->saveDS->Finish();
  m_->saveDS.reset();
  const bool isClosed = m_->File().Close() == 0;
  const int closing = errno;
  m_->writerState = Data::kReading;
  TestAndStoreToPes(m_->fileName.GetGeneric().c_str(), kPesKind, kPesFlags);
  m_->cryptStream.reset();  // and its copy of the contents
  if (reason == 0 && isClosed) return;
  errno = reason != 0 ? reason : closing;
  ThrowError::StringSys(kDatasrcCatalog, kRowNotWritten, GetFileSpec());
}
