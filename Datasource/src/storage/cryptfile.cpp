// Encrypted system files: the wrapper, then the whole file, encrypted.
//
//     file on disk      wrapper, then the output of StatCrypt: encrypted with the password
//        |  open           ^  endWrite
//     plain copy        a temporary file without a name, encrypted with a key of the process
//        |                 ^
//     reader            writer

#include "datasrc/CryptFile.h"
#include "datasrc/CryptFileStream.h"
#include "storage/CryptCheck.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/cipher/PasswordCrypt.h"
#include "Platform/cipher/StatCrypt.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/stream/FileMode.h"
#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/StreamBeneath.h"
#include "Platform/tempdirs/QuavTempDirs.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"

namespace {

constexpr char kTempPrefix[] = "decrypt";
constexpr char kTempMode[] = "w+bTD";
// The mode for a file that is read first and overwritten later.
constexpr char kUpdateMode[] = "rb+";

using Wrapper = std::array<std::byte, kWrapperSize>;

Wrapper NewWrapper() {
  Wrapper wrapper{};
  Store(wrapper.data(), kWrapperBlockSize);
  std::copy_n(AsBytes(kMagicEncrypted), kMagicEncryptedSize, wrapper.begin() + kWrapperIdOffset);
  Store(wrapper.data() + kWrapperCodeOffset, kWrapperCode);
  return wrapper;
}

// Deliberate: the block is good when it differs from the identification alone. A writer stores the code directly
// after the 12 letters, without a terminator, so its block always differs. Nothing else of the text is compared.
bool IsGood(const Wrapper& wrapper) {
  const std::string_view block(AsText(wrapper.data() + kWrapperIdOffset), kWrapperBlockSize);
  return Load<std::int64_t>(wrapper.data()) == kWrapperBlockSize &&
         block.substr(0, block.find('\0')) != kMagicEncrypted;
}

// Returns whether a word of the header is, in either byte order, a layout code that writers of encrypted files use.
bool IsLayoutCode(std::int32_t word) {
  const std::int32_t turned = Turned(word);
  return (1 <= word && word <= kMaxEncryptedLayoutCode) || (1 <= turned && turned <= kMaxEncryptedLayoutCode);
}

bool Fail(int reason) {
  errno = reason;
  return false;
}

bool Failed(const QUAV_FileStream& stream) { return Fail(stream.Error() != 0 ? stream.Error() : EBADMSG); }

// Opens an empty temporary file, enciphered on disk.
bool OpenCopy(QUAV_FileStream& copy) {
  std::array<char, kTempNameRoom> name;
  try {
    if (QuavTempDirs::Instance().Size() == 0) return Fail(ENOENT);
    FormTempName(kTempPrefix, name.data());
  } catch (const QuavServerError&) {
    return Fail(ENOENT);  // no temp directory is usable
  }
  return copy.Open(name.data(), kTempMode) != 0;
}

bool ReadWrapper(QUAV_FileStream& encrypted) {
  Wrapper wrapper;
  if (encrypted.Read(wrapper.data(), wrapper.size()) != wrapper.size()) return Failed(encrypted);
  return IsGood(wrapper) || Fail(EBADMSG);
}

}  // namespace

// ---- A damaged file ----

std::unique_ptr<QUAV_FileStream> DecipherGenuine(const ExtNameStr& file, const ExtNameStr& password,
                                                 std::vector<ChunkFault>& faults) {
  QUAV_FileStream encrypted;
  auto plain = std::make_unique<QUAV_FileStream>(true);
  StatCrypt cipher;
  const bool isDone = encrypted.Open(file, "rb") != 0 && OpenCopy(*plain) && ReadWrapper(encrypted) &&
                      cipher.decryptGenuine(password.GetU8().c_str(), encrypted, *plain, faults) &&
                      plain->Seek(0, kSeekFromStart) == 0;
  if (!isDone) plain.reset();
  return plain;
}

// ---- CryptFile ----

struct CryptFile::Data {
  ExtNameStr fileName;
  ExtNameStr password;
  ExtNameStr mode;
  std::optional<FileMode> parsed;  // the parsed mode
  QUAV_FileStream decrypted{true};
  QUAV_FileStream encrypted;
  StatCrypt cipher;
  bool isOpen = false;

  bool OpenNew();
  bool OpenPresent();
  bool OpenFile();
  bool MakeCopy();
  bool MakeKey() { return cipher.makeKey(password.GetU8().c_str()); }
  bool IsPassword(const ExtNameStr& given) const;
  bool IsSystemFile();
  bool ReadFile();
  bool WriteFile();
  bool ReserveRoom();
  bool CutFile();
};

// Makes what the new file needs before the present one is emptied.
bool CryptFile::Data::OpenNew() { return MakeCopy() && MakeKey() && OpenFile(); }

bool CryptFile::Data::OpenPresent() { return OpenFile() && MakeCopy() && ReadFile() && (!parsed->write || MakeKey()); }

// Only a mode with the letter w begins a new file. With any other mode the existing file is read first.
bool CryptFile::Data::OpenFile() {
  const bool updates = parsed->write && !parsed->truncate;
  return encrypted.Open(fileName, updates ? kUpdateMode : mode.GetGeneric().c_str()) != 0;
}

bool CryptFile::Data::MakeCopy() { return OpenCopy(decrypted); }

// Whether this is the password that the file was opened with, in either form.
bool CryptFile::Data::IsPassword(const ExtNameStr& given) const {
  ExtNameStr unmangled = given;
  return cipher.hasKeyOf(given.GetU8().c_str()) ||
         (PasswordCrypt().decrypt(unmangled) && cipher.hasKeyOf(unmangled.GetU8().c_str()));
}

// Shows that the password was right. Stricter than the reader of plain files, on purpose.
bool CryptFile::Data::IsSystemFile() {
  std::array<std::byte, kFileTypeSize> start;
  const long position = decrypted.Tell();
  if (decrypted.Seek(0, kSeekFromStart) != 0) return Failed(decrypted);
  const bool isThere = decrypted.Read(start.data(), start.size()) == start.size();
  if (!decrypted.Good() || decrypted.Seek(position, kSeekFromStart) != 0) return Failed(decrypted);
  const std::string_view magic(AsText(start.data()), kMagicSize);
  return (isThere && (magic == kMagicPlain || magic == kMagicZlib) &&
          IsLayoutCode(Load<std::int32_t>(start.data() + kLayoutCodeOffset))) ||
         Fail(EBADMSG);
}

bool CryptFile::Data::ReadFile() {
  return ReadWrapper(encrypted) && cipher.decrypt(password.GetU8().c_str(), encrypted, decrypted) && IsSystemFile() &&
         decrypted.Seek(0, kSeekFromStart) == 0;
}

bool CryptFile::Data::WriteFile() {
  // An incomplete copy is not encrypted: the present contents of the file may be better.
  if (decrypted.Flush() != 0) return false;
  if (!ReserveRoom()) return false;
  if (decrypted.Seek(0, kSeekFromStart) != 0 || encrypted.Seek(0, kSeekFromStart) != 0) return false;
  const Wrapper wrapper = NewWrapper();
  if (encrypted.Write(wrapper.data(), wrapper.size()) != wrapper.size()) return Failed(encrypted);
  return cipher.encrypt(password.GetU8().c_str(), decrypted, encrypted) && CutFile();
}

// The new contents replace the old ones in their place. So that a full disk cannot destroy both, a file with contents
// first becomes as long as it will be.
bool CryptFile::Data::ReserveRoom() {
  static constexpr std::array<std::byte, 64UL * 1024> kZeros{};
  QUAV_File& file = *StreamBeneath(encrypted).GetFile();
  const std::int64_t length = file.Length();
  const std::int64_t plain = decrypted.Length();
  if (length < 0 || plain < 0) return false;
  if (length == 0) return true;
  const std::int64_t wanted = static_cast<std::int64_t>(kWrapperSize) + StatCrypt::EncipheredSize(plain);
  for (std::int64_t end = length; end < wanted;) {
    const auto count = static_cast<std::size_t>(std::min<std::int64_t>(wanted - end, kZeros.size()));
    const QUAV_File::Transfer transfer = file.WriteAt(kZeros.data(), count, end);
    if (transfer.bytes != count) {
      file.Truncate(length);
      return Fail(transfer.error);
    }
    end += static_cast<std::int64_t>(count);
  }
  return true;
}

// Without this, the bytes of a longer earlier file would stay after the last chunk.
bool CryptFile::Data::CutFile() {
  const long end = encrypted.Tell();
  if (encrypted.Length() <= end) return encrypted.Good();
  const int reason = StreamBeneath(encrypted).GetFile()->Truncate(end);
  return reason == 0 || Fail(reason);
}

CryptFile::CryptFile() : m_data(std::make_unique<Data>()) {}

CryptFile::CryptFile(const CryptFile& other) : QUAV_RefCntObject(other) {
  QUAV_ASSERT(false, "0 && \"Cannot copy a CryptFile.\"");
}

CryptFile::~CryptFile() = default;

bool CryptFile::open(const ExtNameStr& file, const ExtNameStr& password, const ExtNameStr& mode) {
  Data& data = *m_data;
  data.fileName = file;
  data.password = password;
  data.mode = mode;
  // A file is never encrypted with an empty password.
  if (password.Empty()) return Fail(EINVAL);
  data.parsed = ParseFileMode(mode.GetGeneric().c_str());
  if (!data.parsed) return Fail(EINVAL);
  data.isOpen = data.parsed->truncate ? data.OpenNew() : data.OpenPresent();
  if (data.isOpen) return true;
  const int reason = errno;
  data.encrypted.Close();
  data.decrypted.Close();
  return Fail(reason);
}

bool CryptFile::changeMode(const ExtNameStr& password, const ExtNameStr& mode) {
  Data& data = *m_data;
  const std::optional<FileMode> wanted = ParseFileMode(mode.GetGeneric().c_str());
  if (!wanted || wanted->truncate) return Fail(EINVAL);
  if (!data.isOpen) return Fail(EBADF);
  if (!data.IsPassword(password)) return Fail(EBADMSG);
  const bool mustOpen = wanted->write && !data.parsed->write;
  if (mustOpen && !(data.MakeKey() && data.encrypted.Open(data.fileName, kUpdateMode) != 0)) return false;
  // A file opened for writing stays open for writing: it must be encrypted at the end.
  if (wanted->write) {
    data.mode = mode;
    data.parsed = wanted;
  }
  return data.decrypted.Seek(0, kSeekFromStart) == 0;
}

bool CryptFile::endWrite() {
  if (!isOpen() || !isForWriting()) return Fail(EBADF);
  return m_data->WriteFile();
}

int CryptFile::close() {
  m_data->isOpen = false;
  return m_data->encrypted.Close();
}

unsigned long CryptFile::read(void* buffer, unsigned long count) { return m_data->decrypted.Read(buffer, count); }

unsigned long CryptFile::write(const void* buffer, unsigned long count) {
  Data& data = *m_data;
  if (!isOpen() || !isForWriting()) {
    errno = EBADF;
    return 0;
  }
  if (data.parsed->append && data.decrypted.Seek(0, kSeekFromEnd) != 0) return 0;
  return data.decrypted.Write(buffer, count);
}

int CryptFile::seek(long offset, SeekDirection direction) { return m_data->decrypted.Seek(offset, direction); }

long CryptFile::tell() const { return m_data->decrypted.Tell(); }

int CryptFile::flush() const { return m_data->decrypted.Flush(); }

void CryptFile::reset() { m_data->decrypted.ClearAndReset(); }

void CryptFile::clear() { m_data->decrypted.Clear(); }

bool CryptFile::good() const { return error() == 0; }

int CryptFile::error() const {
  return m_data->decrypted.Error() != 0 ? m_data->decrypted.Error() : m_data->encrypted.Error();
}

bool CryptFile::isOpen() const { return m_data->isOpen; }

bool CryptFile::isForWriting() const { return m_data->parsed && m_data->parsed->write; }

bool CryptFile::isEndOfFile() const { return m_data->decrypted.Tell() >= m_data->decrypted.Length(); }

ExtNameStr CryptFile::filename() const { return m_data->encrypted.GetNameStr(); }

QUAV_FileStream& CryptFile::decrypted() const { return m_data->decrypted; }

// ---- CryptFileStream ----

namespace {

// Runs the operation on the file. Without a file, returns `otherwise` and sets errno to EBADF.
template <class Handle, class Operation, class Answer>
Answer WithFile(const std::unique_ptr<Handle>& file, Operation operation, Answer otherwise) {
  if (file) return operation(**file);
  errno = EBADF;
  return otherwise;
}

}  // namespace

CryptFileStream::CryptFileStream() = default;

CryptFileStream::CryptFileStream(const CryptFileStream& other)
    : QUAV_FileStream(other),
      m_file(other.m_file ? std::make_unique<RefCountPtr<CryptFile>>(*other.m_file) : nullptr) {}

CryptFileStream::~CryptFileStream() = default;

void CryptFileStream::Clear() {
  if (m_file) (*m_file)->clear();
}

bool CryptFileStream::Good() {
  return WithFile(
      m_file, [](CryptFile& file) { return file.good(); }, false);
}

unsigned long CryptFileStream::Read(void* buffer, unsigned long count) {
  return WithFile(
      m_file, [&](CryptFile& file) { return file.read(buffer, count); }, 0UL);
}

unsigned long CryptFileStream::Write(const void* buffer, unsigned long count) {
  return WithFile(
      m_file, [&](CryptFile& file) { return file.write(buffer, count); }, 0UL);
}

int CryptFileStream::Seek(long offset, SeekDirection direction) {
  return WithFile(
      m_file, [&](CryptFile& file) { return file.seek(offset, direction); }, -1);
}

long CryptFileStream::Tell() const {
  return WithFile(
      m_file, [](CryptFile& file) { return file.tell(); }, 0L);
}

int CryptFileStream::EndOfFile() {
  return WithFile(
      m_file, [](CryptFile& file) { return file.isEndOfFile() ? 1 : 0; }, 1);
}

int CryptFileStream::Open(const char*, const char*, const char*) {
  errno = EINVAL;
  return 0;
}

int CryptFileStream::Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) {
  m_file = std::make_unique<RefCountPtr<CryptFile>>(new CryptFile);
  if ((*m_file)->open(name, password, ExtNameStr(mode))) return 1;
  const int reason = errno;
  m_file.reset();
  errno = reason;
  return 0;
}

void CryptFileStream::ClearAndReset() {
  if (m_file) (*m_file)->reset();
}

ExtNameStr CryptFileStream::GetNameStr() const { return m_file ? (*m_file)->filename() : ExtNameStr(); }

int CryptFileStream::Close() { return std::as_const(*this).Close(); }

int CryptFileStream::Close() const {
  if (!IsOpen()) return 0;
  CryptFile& file = **m_file;
  const bool isWhole = !file.isForWriting() || file.endWrite();
  const int reason = errno;
  if (file.close() != 0) return -1;
  if (!isWhole) errno = reason;
  return isWhole ? 0 : -1;
}

int CryptFileStream::Flush() {
  return WithFile(
      m_file, [](CryptFile& file) { return file.flush(); }, -1);
}

const char* CryptFileStream::Name() const { return nullptr; }

unsigned long CryptFileStream::Footprint() const { return sizeof(m_file); }

QUAV_FileStream::Window CryptFileStream::Peek(std::size_t wanted) {
  return WithFile(
      m_file, [&](CryptFile& file) { return file.decrypted().Peek(wanted); }, Window{});
}

void CryptFileStream::Skip(std::size_t count) {
  if (m_file) (*m_file)->decrypted().Skip(count);
}

long CryptFileStream::Length() {
  return WithFile(
      m_file, [](CryptFile& file) { return file.decrypted().Length(); }, -1L);
}

bool CryptFileStream::IsOpen() const { return m_file && (*m_file)->isOpen(); }

int CryptFileStream::Error() const { return m_file ? (*m_file)->error() : EBADF; }

int CryptFileStream::Reopen(const ExtNameStr& password, const char* mode) {
  return WithFile(
      m_file, [&](CryptFile& file) { return file.changeMode(password, ExtNameStr(mode)) ? 1 : 0; }, 0);
}

QUAV_FileStream& CryptFileStream::Decrypted() const { return (*m_file)->decrypted(); }
