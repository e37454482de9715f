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
#include <new>

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
  m_->m_options.compression = m_->wanted.compression;
  m_->m_options._password = m_->wanted.password;
  m_->m_options.passwordMangled = m_->wanted.passwordMangled;
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
  m_options.layout = SystemFileLayout(*saveDS, saveDS->ExtendedStringsInFile(), m_options.Order());
  nCasesLoc = saveDS->NCasesLoc();
  row0 = File().Tell();
  saveDS->SetCompressed(*sparseIndex, row0);
  writerState = kWriting;
  Sort(m_options.renames);
}

// Makes the source new again; leaves the file as it is.
void SystemFileDataSource::Data::AbandonCommit() {
  if (saveDS) saveDS->Abandon();
  saveDS.reset();
  CloseStreams();  // drops the copy of an encrypted file: half a dictionary is not worth encrypting
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

// Throws, and changes nothing, when rows must not be added to the file.
void SystemFileDataSource::Data::RequireAppendable(const char* fileSpec) const {
  // The numbers of the file are in reversed byte order, those of the rows are not.
  if (m_options.reversed) ThrowError::String1(kDatasrcCatalog, kOtherByteOrder, fileSpec);
  const bool isKnownForm = m_options.compression == kCompressionNone ||
                           m_options.compression == kCompressionByteCodes ||
                           (m_options.compression == kCompressionZlib && m_options._password.Empty());
  if (!isKnownForm) ThrowError::String1(kDatasrcCatalog, kUnknownCompression, fileSpec);
  // Someone else may have added rows since: this source would write over them.
  if (!IsFileUnchanged(fileSpec)) ThrowError::Simple(kDatasrcCatalog, kWrongState);
}

void SystemFileDataSource::Data::BeginAppend(const SystemFileDataSource& source) {
  RequireAppendable(source.GetFileSpec());
  // The dictionary is not written again, but the handlers of its records run, for their effect on the writer.
  RefuseUnwritable(source, source.CharacterEncoding());
  // A password that was set since the file was opened must be that of the file.
  const ExtNameStr password = m_options._password;
  const bool isMangled = m_options.passwordMangled;
  m_options._password = wanted.password;
  m_options.passwordMangled = wanted.passwordMangled;
  try {
    if (m_options.compression == kCompressionNone) {
      ReopenFile("ab");
    } else if (cryptStream || !m_options._password.Empty()) {
      // Makes the key now, and not after the rows.
      ReopenFile("rb+");
    } else if (!File().IsOpen()) {
      OpenFile("rb");
    }
    zStream.reset();
    saveDS = std::make_unique<SaveDS>(&source, File(), m_options);
    saveDS->BeginAppend(nCasesLoc, source.RowCount(), *sparseIndex, row0);
  } catch (...) {
    // The streams may be open in another mode by now: the next iterator opens the file again. Nothing is ended that has
    // not begun: the last group of the file is not in the writer yet, and would be cut off.
    if (saveDS) saveDS->Abandon();
    saveDS.reset();
    CloseStreams();
    m_options._password = password;
    m_options.passwordMangled = isMangled;
    throw;
  }
  writerState = kWriting;
}

void SystemFileDataSource::Close() {
  if (m_->writerState != Data::kWriting) return;
  // Whatever is thrown from here on: the writing has ended, and the next iterator opens the file again.
  m_->writerState = Data::kReading;
  try {
    m_->EndWriting();
  } catch (const std::bad_alloc&) {
    m_->saveDS.reset();
    m_->CloseStreams();
    throw;
  }
}

void SystemFileDataSource::Data::EndWriting() {
  const int reason = saveDS->Finish();
  saveDS.reset();
  // It may have rows that never reached the file.
  if (reason != 0) sparseIndex.emplace(1);
  if (!cryptStream) TakeStamp();
  const bool isClosed = File().Close() == 0;
  const int closing = errno;
  if (cryptStream) TakeStamp();
  TestAndStoreToPes(fileName.GetGeneric().c_str(), kPesKind, kPesFlags);
  cryptStream.reset();  // and its copy of the contents
  if (reason == 0 && isClosed) return;
  errno = reason != 0 ? reason : closing;
  ThrowError::StringSys(kDatasrcCatalog, kRowNotWritten, fileName.GetGeneric().c_str());
}
