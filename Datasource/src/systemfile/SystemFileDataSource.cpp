#include "datasrc/SystemFileDataSource.h"

#include <array>
#include <cerrno>
#include <exception>
#include <mutex>
#include <utility>

#include "Platform/cipher/PasswordCache.h"
#include "Platform/cipher/PasswordCrypt.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"
#include "systemfile/DictionaryReader.h"
#include "systemfile/NameBank.h"
#include "systemfile/SystemFileDataSourceData.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileIterator.h"

namespace {

// The longest way, in bytes of codes, from a case that the index keeps to a case in the same block. It is short
// compared to the cost of inflating the block.
constexpr long kWalkInABlock = zcmpsFilestr::kBlockSize / 4;

ExtNameStr Password(const std::string& text) {
  ExtNameStr password;
  password.SetU8(text);
  return password;
}

const char* PresentEncoding() { return qUTF8mode() ? kUtf8Name : QUAVMBDefaultCodePage(); }

// The names of a file without long names are shown in lower case.
void LowerCaseNames(QUAV_DataSource& source) {
  std::array<char, kMaxVariableName> lower;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    QUAV_Variable& variable = source.GetVariable(column);
    const int length = QUAVMBMvLower_A(lower.data(), kMaxVariableName, variable.GetName(), -1, nullptr);
    variable.SetName(lower.data(), static_cast<unsigned int>(length));
  }
}

}  // namespace

const QUAV_FileStream& SystemFileDataSource::Data::FileToCopy() const {
  return cryptStream ? cryptStream->Decrypted() : m_file;
}

void SystemFileDataSource::Data::OpenFile(const char* mode) {
  const char* const name = fileName.GetGeneric().c_str();
  if (m_options._password.Empty()) {
    // Its bytes are of no use without the password, and what is written among them would destroy it.
    if (isEncrypted && *mode != 'w') ThrowError::String1(kDatasrcCatalog, kEncrypted, name);
    cryptStream.reset();
    if (!m_file.Open(fileName, m_options._password, mode)) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, name);
  } else if (!OpenEncrypted(mode)) {
    // Not a matter of the password: no form of it was tried.
    if (errno == ENOLCK) ThrowError::String1(kDatasrcCatalog, kNoMemoryForKey, name);
    // If the file exists and is writable, the password is wrong.
    if (fileName.Access(0) == 0 && fileName.Access(2) == 0) ThrowError::String1(kDatasrcCatalog, kWrongPassword, name);
    ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, name);
  }
  isEncrypted = cryptStream != nullptr;
}

// The password may be in either form, whatever the flag says. If the other form opens the file, the flag is corrected.
// A form that is empty is no password. Sets errno when it returns false.
bool SystemFileDataSource::Data::OpenEncrypted(const char* mode) {
  ExtNameStr asGiven = m_options._password;
  ExtNameStr unmangled = m_options._password;
  PasswordCrypt().decrypt(unmangled);
  const bool mangled = m_options.passwordMangled;
  m_file.Close();
  cryptStream = std::make_unique<CryptFileStream>();
  if (cryptStream->Open(fileName, mangled ? unmangled : asGiven, mode)) return true;
  const ExtNameStr& otherForm = mangled ? asGiven : unmangled;
  if (!otherForm.Empty() && errno != ENOLCK && cryptStream->Open(fileName, otherForm, mode)) {
    m_options.passwordMangled = wanted.passwordMangled = !mangled;
    return true;
  }
  const int reason = errno;
  cryptStream.reset();
  errno = reason;
  return false;
}

void SystemFileDataSource::Data::ReopenFile(const char* mode) {
  // The plain contents of an encrypted file are available already, for the password that it was opened with.
  if (cryptStream && cryptStream->IsOpen() && cryptStream->Reopen(m_options._password, mode)) return;
  File().Close();
  OpenFile(mode);
}

void SystemFileDataSource::Data::CloseStreams() {
  zStream.reset();
  cryptStream.reset();
  m_file.Close();
}

void SystemFileDataSource::Data::TakeStamp() {
  stamp = cryptStream ? FileStamp() : FileStamp::Of(m_file);
  if (stamp.IsKnown()) return;
  // The stream has the plain contents, is closed, or cannot read.
  QUAV_FileStream file;
  if (file.Open(fileName, "rb") != 0) stamp = FileStamp::Of(file);
}

bool SystemFileDataSource::Data::IsFileUnchanged(const char* fileSpec) const {
  QUAV_FileStream file;
  if (file.Open(fileName, "rb") == 0) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, fileSpec);
  const FileStamp now = FileStamp::Of(file);
  if (!now.IsKnown()) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, fileSpec);
  return stamp.Matches(now);
}

void SystemFileDataSource::Data::FindZlibBlocks() {
  zStream.reset();
  // An encrypted file has none: its writer does not offer this compression.
  if (m_options.compression != kCompressionZlib || cryptStream) return;
  sparseIndex->KeepEdges(kWalkInABlock);
  zStream = std::make_unique<zcmpsFilestr>(m_file);
  if (!zStream->readFilePosInfo(row0, m_options.reversed))
    ThrowSystemFileException(kUnexpectedEnd, "zStream->readFilePosInfo(row0, reversed)", true);
}

// ---- Opening ----

SystemFileDataSource::SystemFileDataSource() : IndependentDataStore(nullptr), m_(std::make_unique<Data>()) {
  m_->m_options.characterEncoding = PresentEncoding();
}

SystemFileDataSource::SystemFileDataSource(const ExtNameStr& file, const ExtNameStr& password, bool mangled)
    : IndependentDataStore(nullptr) {
  init(file, password, mangled);
}

SystemFileDataSource::SystemFileDataSource(const std::string& file, const std::string& password, bool mangled)
    : SystemFileDataSource(ExtNameStr(file), Password(password), mangled) {}

SystemFileDataSource::~SystemFileDataSource() {
  if (m_ == nullptr) return;
  try {
    SystemFileDataSource::Close();
  } catch (const std::exception&) {
    // A destructor must not throw: callers that need the error, or a lack of memory, call Close.
  }
  RemoveFromPesCache(m_->fileName.GetGeneric().c_str());
  if (m_->isInNameBank) NameBank::Instance().Remove(m_->fileName.GetU8().c_str());
}

void SystemFileDataSource::init(const ExtNameStr& file, const ExtNameStr& password, bool mangled) {
  m_ = std::make_unique<Data>();
  m_->fileName = file;
  m_->m_options._password = m_->wanted.password = password;
  m_->m_options.passwordMangled = m_->wanted.passwordMangled = mangled;
  // The stamp of an encrypted file is taken first: a change in between makes it too old, never too new.
  if (!password.Empty()) m_->TakeStamp();
  m_->OpenFile("rb");
  if (password.Empty()) m_->TakeStamp();
  SetFileSpec(file);
  try {
    const FileKind kind = TestMagic(m_->File());
    // Deliberate: ignores the kind of an encrypted file. Its opening has verified that it is a system file.
    if (!m_->cryptStream) Require(kind != FileKind::encrypted, kEncrypted, "type != kENCRYPTED");
    ReadSystemFileDictionary(*this, m_->m_options, m_->File());
    m_->row0 = m_->File().Tell();
    m_->FindZlibBlocks();
  } catch (const SystemFileException& fault) {
    ReportSystemFileException(fault, GetFileSpec());
  }
  m_->wanted.compression = m_->m_options.compression;
  m_->m_options.storedCaseCount.count = m_->m_options.numberOfCases;
  FixVarNames(*this);
  if (!m_->m_options.hasLongNames) LowerCaseNames(*this);
  m_->writerState = Data::kReading;
  NameBank::Instance().Insert(file.GetU8().c_str());
  m_->isInNameBank = true;
  SetDirty(false);
}

// ---- Cases ----

// For a file that was written, or prepared for writing.
void SystemFileDataSource::Data::OpenForCases(const char* fileSpec) {
  File().Close();
  OpenFile("rb");
  writerState = kReading;
  try {
    FindZlibBlocks();
  } catch (const SystemFileException& fault) {
    CloseStreams();
    ReportSystemFileException(fault, fileSpec);
  }
}

QUAV_InputCaseIterator* SystemFileDataSource::MakeIterator(OBS* cells) const {
  {
    const std::scoped_lock lock(m_->opening);
    // Deliberate: a source that is being written is first closed, and then read.
    if (m_->writerState == Data::kWriting) const_cast<SystemFileDataSource*>(this)->Close();
    if (m_->writerState != Data::kReading || !m_->File().IsOpen()) m_->OpenForCases(GetFileSpec());
  }
  return std::make_unique<Iterator>(*this, *m_, cells).release();
}

long long SystemFileDataSource::RowCount() const { return m_->m_options.numberOfCases; }

void SystemFileDataSource::RowCount(long long rows) { m_->m_options.numberOfCases = rows; }

bool SystemFileDataSource::IsOpen(const char* name) {
  return NameBank::Instance().Contains(ExtNameStr(name).GetU8().c_str());
}

// ---- What the file says about itself ----

bool SystemFileDataSource::bExtensionFound(int subtype) const {
  const std::vector<bool>& found = m_->m_options.extensionsFound;
  return 0 <= subtype && static_cast<std::size_t>(subtype) < found.size() && found[static_cast<std::size_t>(subtype)];
}

bool SystemFileDataSource::GetReleaseInfo(int* three) const {
  const SystemFileOptions& options = m_->m_options;
  three[0] = options.releaseMajor;
  three[1] = options.releaseMinor;
  three[2] = options.releaseRevision;
  return bExtensionFound(kSourceParametersSubtype);
}

bool SystemFileDataSource::bReversedByteOrder() const { return m_->m_options.reversed; }

double SystemFileDataSource::GetFileSysmis() const { return m_->m_options.systemMissing; }

void SystemFileDataSource::NoteNCasesLoc() { m_->nCasesLoc = m_->File().Tell(); }

std::string SystemFileDataSource::CharacterEncoding() const {
  if (!m_->m_options.characterEncoding.empty()) return m_->m_options.characterEncoding;
  std::array<char, kCodePageNameSize> name;
  if (QUAVMBCpNameFromNum_A(name.data(), m_->m_options.characterCode)) return name.data();
  return QUAVMBDefaultCodePage();
}

bool SystemFileDataSource::IsCompatibleEncoding() const {
  return QUAVMBqSameCodePage(CharacterEncoding().c_str(), PresentEncoding());
}

void SystemFileDataSource::CharacterEncoding(const std::string& name) { m_->m_options.characterEncoding = name; }

std::string SystemFileDataSource::EyeCatcher() const { return m_->m_options.eyeCatcher; }

void SystemFileDataSource::EyeCatcher(const std::string& text) { m_->m_options.eyeCatcher = text; }

// ---- Compression and password ----

bool SystemFileDataSource::GetCompression() const { return m_->wanted.compression != kCompressionNone; }

int SystemFileDataSource::GetCompressionLevel() const { return m_->wanted.compression; }

void SystemFileDataSource::SetCompression(bool compress) {
  m_->wanted.compression = compress ? kCompressionByteCodes : kCompressionNone;
}

void SystemFileDataSource::SetCompressionLevel(int level) {
  const bool zlib = level == kCompressionZlib && !IsEncrypted();
  m_->wanted.compression = zlib                        ? kCompressionZlib
                           : level == kCompressionNone ? kCompressionNone
                                                       : kCompressionByteCodes;
}

bool SystemFileDataSource::IsEncrypted() const { return !m_->wanted.password.Empty(); }

ExtNameStr SystemFileDataSource::GetPassword() const { return m_->wanted.password; }

bool SystemFileDataSource::GetPasswordMangled() const { return m_->wanted.passwordMangled; }

void SystemFileDataSource::SetPassword(const ExtNameStr& password) {
  m_->wanted.password = password;
  if (IsEncrypted() && m_->wanted.compression == kCompressionZlib) m_->wanted.compression = kCompressionByteCodes;
}

void SystemFileDataSource::SetPasswordMangled(bool mangled) { m_->wanted.passwordMangled = mangled; }
