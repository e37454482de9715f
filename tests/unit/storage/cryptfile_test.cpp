#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "Platform/cipher/PasswordCrypt.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/tempdirs/QuavTempDirs.h"
#include "datasrc/CryptFile.h"
#include "datasrc/CryptFileStream.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"
#include "tests/support/SpoolDirectories.h"
#include "tests/support/TempFile.h"
#include "tests/support/VirtualSlot.h"

namespace cryptfile_test {
namespace {

const ExtNameStr kPassword("swordfish");

std::string SomeSystemFile(std::int32_t layoutCode = 2, const std::string& magic = "$FL2") {
  return SystemFileBuilder()
      .Header({.magic = magic, .layoutCode = layoutCode, .cases = 2})
      .Number("A")
      .End()
      .Case({1.0})
      .Case({2.5})
      .Bytes();
}

std::string ReadAll(CryptFileStream& stream) {
  std::string bytes(100'000, '\0');
  bytes.resize(stream.Read(bytes.data(), bytes.size()));
  return bytes;
}

unsigned long Write(CryptFileStream& stream, const std::string& bytes) {
  return stream.Write(bytes.data(), bytes.size());
}

class CryptFileTest : public testing::Test {
 protected:
  ExtNameStr Name() const { return ExtNameStr(m_onDisk.Name()); }

  // Returns whether a file with these bytes opens.
  bool Opens(const std::string& bytes, const ExtNameStr& password = kPassword) const {
    m_onDisk.SetBytes(bytes);
    CryptFileStream stream;
    errno = 0;
    const bool isOpen = stream.Open(Name(), password, "rb") != 0;
    EXPECT_EQ(isOpen, stream.IsOpen());
    EXPECT_NE(isOpen, errno != 0);
    return isOpen;
  }

  bool OpensWrapped(const FileWrapper& wrapper) const {
    return Opens(EncryptedFile(SomeSystemFile(), "swordfish", wrapper));
  }

  const CheapKeys m_cheapKeys;
  const SpoolDirectories m_spool{1};
  const TempFile m_onDisk{""};
};

// ---- Reading ----

TEST_F(CryptFileTest, ReadsThePlainContents) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  EXPECT_EQ(0, stream.Tell());
  EXPECT_EQ(static_cast<long>(SomeSystemFile().size()), stream.Length());
  EXPECT_EQ(SomeSystemFile(), ReadAll(stream));
  EXPECT_EQ(0, stream.Close());
}

TEST_F(CryptFileTest, OpensLayoutCodesUpTo3InBothByteOrders) {
  for (const std::int32_t code : {1, 2, 3, 0x01000000, 0x02000000, 0x03000000})
    EXPECT_TRUE(Opens(EncryptedFile(SomeSystemFile(code), "swordfish"))) << code;
  EXPECT_TRUE(Opens(EncryptedFile(SomeSystemFile(2, "$FL3"), "swordfish")));
}

TEST_F(CryptFileTest, RefusesAnyOtherLayoutCode) {
  for (const std::int32_t code : {0, 4, 5, 255, -1, 0x00010000, 0x04000000, 0x05000000, 0x02000002})
    EXPECT_FALSE(Opens(EncryptedFile(SomeSystemFile(code), "swordfish"))) << code;
}

TEST_F(CryptFileTest, RefusesContentsThatAreNoSystemFile) {
  EXPECT_FALSE(Opens(EncryptedFile(SomeSystemFile(2, "$FL4"), "swordfish")));
  EXPECT_FALSE(Opens(EncryptedFile(std::string(1000, 'x'), "swordfish")));
}

TEST_F(CryptFileTest, RefusesContentsOfLessThan80Bytes) {
  EXPECT_FALSE(Opens(EncryptedFile("", "swordfish")));
  EXPECT_FALSE(Opens(EncryptedFile(SomeSystemFile().substr(0, 79), "swordfish")));
  EXPECT_TRUE(Opens(EncryptedFile(SomeSystemFile().substr(0, 80), "swordfish")));
}

TEST_F(CryptFileTest, RefusesAWrongPassword) {
  const std::string bytes = EncryptedFile(SomeSystemFile(), "swordfish");
  EXPECT_FALSE(Opens(bytes, ExtNameStr("swordfisH")));
  EXPECT_FALSE(Opens(bytes, ExtNameStr("")));
  EXPECT_TRUE(Opens(bytes));
}

TEST_F(CryptFileTest, UsesThePasswordInUtf8) {
  ExtNameStr password;
  password.SetU8("p\u00e4ssword");
  EXPECT_TRUE(Opens(EncryptedFile(SomeSystemFile(), "p\u00e4ssword"), password));
}

// ---- The wrapper ----

TEST_F(CryptFileTest, RefusesAWrapperLengthOtherThan28) {
  EXPECT_TRUE(OpensWrapped({}));
  for (const std::int64_t length : {27LL, 29LL, 0LL, 28LL << 32, 28LL << 56})
    EXPECT_FALSE(OpensWrapped({.length = length})) << length;
}

TEST_F(CryptFileTest, RefusesAWrapperOfTheLettersAlone) { EXPECT_FALSE(OpensWrapped({.code = 0})); }

// A wrapper is good when it differs from the letters and a terminator.
TEST_F(CryptFileTest, AcceptsAWrapperThatDiffersFromTheLettersAlone) {
  EXPECT_TRUE(OpensWrapped({.letters = "encryptedsav"}));
  EXPECT_TRUE(OpensWrapped({.letters = std::string(12, '\0'), .code = 0}));
  EXPECT_TRUE(OpensWrapped({.code = 22}));
  EXPECT_TRUE(OpensWrapped({.rest = "what is that"}));
  EXPECT_FALSE(OpensWrapped({.code = 0, .rest = "what is that"}));
}

TEST_F(CryptFileTest, RefusesAFileTruncatedInItsWrapper) {
  const std::string bytes = EncryptedFile(SomeSystemFile(), "swordfish");
  for (std::size_t size = 0; size <= kFileWrapperSize; ++size) EXPECT_FALSE(Opens(bytes.substr(0, size))) << size;
}

TEST_F(CryptFileTest, RefusesAnyFlippedBitThatIsNotIgnored) {
  const std::string bytes = EncryptedFile(SomeSystemFile(), "swordfish");
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += kPlaceStep) {
    std::string flipped = bytes;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
    const bool isIgnored = bit / 8 >= 8 && bit / 8 < kFileWrapperSize;
    EXPECT_EQ(isIgnored, Opens(flipped)) << "bit " << bit;
  }
}

TEST_F(CryptFileTest, RefusesAFileTruncatedAtAnyByte) {
  const std::string bytes = EncryptedFile(SomeSystemFile(), "swordfish");
  for (std::size_t size = 0; size < bytes.size(); ++size) EXPECT_FALSE(Opens(bytes.substr(0, size))) << size;
}

// ---- Writing ----

TEST_F(CryptFileTest, CloseEncryptsTheFile) {
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  EXPECT_EQ(SomeSystemFile().size(), Write(stream, SomeSystemFile()));
  EXPECT_EQ(0, stream.Flush());
  EXPECT_EQ("", m_onDisk.Bytes());
  EXPECT_EQ(0, stream.Close());
  EXPECT_FALSE(stream.IsOpen());
  const std::string bytes = m_onDisk.Bytes();
  EXPECT_EQ(FileWrapper().Bytes(), bytes.substr(0, kFileWrapperSize));
  EXPECT_EQ(SomeSystemFile(), DecryptedFile(bytes, "swordfish"));
}

TEST_F(CryptFileTest, NewFileReadsNoWrapper) {
  m_onDisk.SetBytes("this is no wrapper at all, and stands there already");
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  EXPECT_EQ("", m_onDisk.Bytes());
  EXPECT_EQ(0, stream.Length());
}

TEST_F(CryptFileTest, WritesAnyContentsButReadsOnlySystemFiles) {
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  Write(stream, "short");
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ("short", DecryptedFile(m_onDisk.Bytes(), "swordfish"));
  EXPECT_FALSE(stream.Open(Name(), kPassword, "rb"));
}

TEST_F(CryptFileTest, CanBeClosedTwice) {
  CryptFileStream stream;
  EXPECT_EQ(0, stream.Close());
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  Write(stream, SomeSystemFile());
  EXPECT_EQ(0, stream.Close());
  const std::string bytes = m_onDisk.Bytes();
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

TEST_F(CryptFileTest, DestructorWithoutCloseLeavesTheFileUnchanged) {
  const std::string bytes = EncryptedFile(SomeSystemFile(), "swordfish");
  m_onDisk.SetBytes(bytes);
  {
    CryptFileStream stream;
    ASSERT_TRUE(stream.Open(Name(), kPassword, "rb+"));
    Write(stream, "$FL3");
  }
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

TEST_F(CryptFileTest, ReaderDoesNotWriteTheFile) {
  const std::string bytes = EncryptedFile(SomeSystemFile(), "swordfish");
  m_onDisk.SetBytes(bytes);
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  EXPECT_EQ(0UL, Write(stream, "x"));
  EXPECT_EQ(EBADF, errno);
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

TEST_F(CryptFileTest, OverwritesPartOfTheContents) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb+"));
  EXPECT_EQ(0, stream.Seek(80, kSeekFromStart));
  Write(stream, "four");
  EXPECT_EQ(0, stream.Close());
  std::string expected = SomeSystemFile();
  expected.replace(80, 4, "four");
  EXPECT_EQ(expected, DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

TEST_F(CryptFileTest, AppendsAtTheEnd) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "ab"));
  stream.Seek(0, kSeekFromStart);
  Write(stream, "the end");
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ(SomeSystemFile() + "the end", DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

TEST_F(CryptFileTest, AppendingNeedsAWholeExistingFile) {
  CryptFileStream stream;
  EXPECT_FALSE(stream.Open(Name(), kPassword, "ab"));
  EXPECT_EQ("", m_onDisk.Bytes());
  const ExtNameStr none(m_onDisk.Name() + ".none");
  EXPECT_FALSE(stream.Open(none, kPassword, "ab"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_NE(0, none.Access(0));
}

TEST_F(CryptFileTest, TruncatesALongerFile) {
  const std::string longer = EncryptedFile(SomeSystemFile() + std::string(500'000, 'x'), "swordfish");
  m_onDisk.SetBytes(longer);
  CryptFile file;
  // The file shrinks: at encryption its contents are those of a shorter one.
  ASSERT_TRUE(file.open(Name(), kPassword, ExtNameStr("rb+")));
  ASSERT_TRUE(file.decrypted().Open((m_spool.Root() + "/0/short").c_str(), "w+bTD"));
  file.write("short", 5);
  EXPECT_TRUE(file.endWrite());
  file.close();
  EXPECT_EQ("short", DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

TEST_F(CryptFileTest, EachWriteUsesANewSalt) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  const std::string before = m_onDisk.Bytes();
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb+"));
  EXPECT_EQ(0, stream.Close());
  EXPECT_NE(before.substr(36 + 16, 32), m_onDisk.Bytes().substr(36 + 16, 32));
  EXPECT_EQ(SomeSystemFile(), DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

// ---- Reopening ----

TEST_F(CryptFileTest, ReopenDoesNotEncryptTheFile) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  const std::string before = m_onDisk.Bytes();
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  ReadAll(stream);
  ASSERT_TRUE(stream.Reopen(kPassword, "r+b"));
  EXPECT_EQ(0, stream.Tell());
  Write(stream, "$FL3");
  EXPECT_EQ(before, m_onDisk.Bytes());
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ("$FL3" + SomeSystemFile().substr(4), DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

TEST_F(CryptFileTest, ReopenForReadingKeepsTheFileOpenForWriting) {
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  Write(stream, SomeSystemFile());
  ASSERT_TRUE(stream.Reopen(kPassword, "rb"));
  EXPECT_EQ(SomeSystemFile(), ReadAll(stream));
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ(SomeSystemFile(), DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

TEST_F(CryptFileTest, ReopenRefusesToCreateTheFile) {
  CryptFileStream stream;
  EXPECT_FALSE(stream.Reopen(kPassword, "rb"));
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  EXPECT_FALSE(stream.Reopen(kPassword, "wb"));
  EXPECT_FALSE(stream.Reopen(kPassword, "nothing"));
}

TEST_F(CryptFileTest, ChangesItsModeOnlyUnderThePasswordOfItsOpening) {
  for (const char* first : {"rb", "r+b", "wb"}) {
    m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
    CryptFileStream stream;
    ASSERT_TRUE(stream.Open(Name(), kPassword, first));
    for (const char* wrong : {"", "swordfisH", "swordfish ", "mangled1:"}) {
      errno = 0;
      EXPECT_EQ(0, stream.Reopen(ExtNameStr(wrong), "r+b")) << wrong;
      EXPECT_EQ(EBADMSG, errno);
    }
    EXPECT_TRUE(stream.IsOpen());
    EXPECT_TRUE(stream.Good());
    ExtNameStr mangled = kPassword;
    PasswordCrypt().encrypt(mangled);
    EXPECT_NE(0, stream.Reopen(mangled, "r+b"));
    EXPECT_NE(0, stream.Reopen(kPassword, "r+b"));
    EXPECT_EQ(SomeSystemFile().size(), Write(stream, SomeSystemFile()));
    EXPECT_EQ(0, stream.Close());
    EXPECT_EQ(SomeSystemFile(), DecryptedFile(m_onDisk.Bytes(), "swordfish"));
  }
}

// ---- What is made before the first byte ----

// The file must not be emptied when there can be no copy or no key for the new one.
TEST_F(CryptFileTest, StaysWhenThereIsNoTempDirectory) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  const std::string before = m_onDisk.Bytes();
  EXPECT_THROW(QuavTempDirs::Instance().Set({}, nullptr), QuavServerError);
  for (const char* mode : {"rb", "r+b", "ab", "wb"}) {
    CryptFileStream stream;
    errno = 0;
    EXPECT_EQ(0, stream.Open(Name(), kPassword, mode)) << mode;
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(stream.IsOpen());
  }
  EXPECT_EQ(before, m_onDisk.Bytes());
}

TEST_F(CryptFileTest, StaysWhenTheTempDirectoryIsGone) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  const std::string before = m_onDisk.Bytes();
  std::filesystem::remove_all(QuavTempDirs::Instance().Directory(0));
  for (const char* mode : {"rb", "r+b", "ab", "wb"}) EXPECT_EQ(0, CryptFileStream().Open(Name(), kPassword, mode));
  EXPECT_EQ(before, m_onDisk.Bytes());
}

// The cost of the key shows when it is made.
TEST_F(CryptFileTest, MakesItsKeyWhenItIsOpenedForWriting) {
  CryptFileStream stream;
  PresentKeyCost() = {.logN = 2, .r = 1, .p = 1};
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  PresentKeyCost() = {.logN = 1, .r = 1, .p = 1};
  Write(stream, SomeSystemFile());
  ASSERT_EQ(0, stream.Close());
  EXPECT_EQ(2, m_onDisk.Bytes()[kFileWrapperSize + 11]);
  CryptFileStream more;
  ASSERT_TRUE(more.Open(Name(), kPassword, "rb"));
  PresentKeyCost() = {.logN = 3, .r = 1, .p = 1};
  ASSERT_TRUE(more.Reopen(kPassword, "rb+"));
  PresentKeyCost() = {.logN = 1, .r = 1, .p = 1};
  ASSERT_TRUE(more.Reopen(kPassword, "rb+"));
  ASSERT_EQ(0, more.Close());
  EXPECT_EQ(3, m_onDisk.Bytes()[kFileWrapperSize + 11]);
}

// A key seals one file.
TEST_F(CryptFileTest, ThatIsEncipheredTwiceHasTwoKeys) {
  CryptFile file;
  ASSERT_TRUE(file.open(Name(), kPassword, ExtNameStr("wb")));
  file.write("first", 5);
  ASSERT_TRUE(file.endWrite());
  EXPECT_EQ(0, file.flush());
  const std::string first = m_onDisk.Bytes();
  file.seek(0, kSeekFromEnd);
  file.write(", second", 8);
  ASSERT_TRUE(file.endWrite());
  EXPECT_EQ(0, file.close());
  EXPECT_NE(first.substr(36 + 16, 32), m_onDisk.Bytes().substr(36 + 16, 32));
  EXPECT_EQ("first, second", DecryptedFile(m_onDisk.Bytes(), "swordfish"));
}

// ---- The stream ----

TEST_F(CryptFileTest, OpensWithOneFormOfOpenOnly) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  EXPECT_EQ(0, stream.Open(m_onDisk.Name().c_str(), "swordfish", "rb"));
  EXPECT_FALSE(stream.IsOpen());
}

TEST_F(CryptFileTest, OnlyGetNameStrReturnsTheName) {
  CryptFileStream stream;
  EXPECT_TRUE(stream.GetNameStr().Empty());
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  EXPECT_EQ(Name(), stream.GetNameStr());
  EXPECT_EQ(nullptr, stream.Name());
  EXPECT_EQ(8UL, stream.Footprint());
}

TEST_F(CryptFileTest, IsNotOpenAfterAFailure) {
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  EXPECT_FALSE(stream.Open(Name(), kPassword, "rb"));
  EXPECT_FALSE(stream.IsOpen());
  char byte = 0;
  EXPECT_EQ(0UL, stream.Read(&byte, 1));
  EXPECT_EQ(0UL, stream.Write(&byte, 1));
  EXPECT_EQ(-1, stream.Seek(0, kSeekFromStart));
  EXPECT_EQ(-1, stream.Length());
  EXPECT_EQ(0U, stream.Peek(1).Size());
  EXPECT_FALSE(stream.Good());
  EXPECT_EQ(0, stream.Close());
}

TEST_F(CryptFileTest, EndOfFileIsTrueAtTheEndPosition) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  EXPECT_FALSE(stream.EndOfFile());
  stream.Seek(0, kSeekFromEnd);
  EXPECT_TRUE(stream.EndOfFile());
  stream.Seek(-1, kSeekFromPresent);
  EXPECT_FALSE(stream.EndOfFile());
  EXPECT_EQ(static_cast<long>(SomeSystemFile().size()) - 1, stream.Tell());
}

TEST_F(CryptFileTest, CopySharesThePosition) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  CryptFileStream copy(stream);
  stream.Seek(70, kSeekFromStart);
  EXPECT_EQ(70, copy.Tell());
}

TEST_F(CryptFileTest, PeekReturnsThePlainContents) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  const QUAV_FileStream::Window window = stream.Peek(4);
  ASSERT_GE(window.Size(), 4U);
  EXPECT_EQ(0, std::memcmp(window.begin, "$FL2", 4));
  stream.Skip(4);
  EXPECT_EQ(4, stream.Tell());
}

// Contract: callers rely on the order of the base.
TEST_F(CryptFileTest, KeepsTheOrderOfTheVirtualOperations) {
  using S = CryptFileStream;
  EXPECT_EQ(2U, VirtualSlot(&S::Clear));
  EXPECT_EQ(8U, VirtualSlot(&S::EndOfFile));
  using OpenText = int (S::*)(const char*, const char*, const char*);
  using OpenNames = int (S::*)(const ExtNameStr&, const ExtNameStr&, const char*);
  EXPECT_EQ(11U, VirtualSlot(static_cast<OpenText>(&S::Open)));
  EXPECT_EQ(12U, VirtualSlot(static_cast<OpenNames>(&S::Open)));
  EXPECT_EQ(13U, VirtualSlot(&S::ClearAndReset));
  EXPECT_EQ(14U, VirtualSlot(&S::GetNameStr));
  EXPECT_EQ(15U, VirtualSlot(static_cast<int (S::*)()>(&S::Close)));
  EXPECT_EQ(16U, VirtualSlot(static_cast<int (S::*)() const>(&S::Close)));
  EXPECT_EQ(17U, VirtualSlot(&S::Flush));
  EXPECT_EQ(18U, VirtualSlot(&S::Name));
  EXPECT_EQ(19U, VirtualSlot(&S::Footprint));
}

// ---- The file ----

TEST_F(CryptFileTest, EndWriteFailsForAReader) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFile file;
  EXPECT_FALSE(file.endWrite());
  ASSERT_TRUE(file.open(Name(), kPassword, ExtNameStr("rb")));
  EXPECT_TRUE(file.isOpen());
  EXPECT_TRUE(file.good());
  EXPECT_EQ(Name(), file.filename());
  EXPECT_FALSE(file.endWrite());
  EXPECT_EQ(0, file.close());
  EXPECT_FALSE(file.isOpen());
}

TEST_F(CryptFileTest, RefusesAnInvalidMode) {
  CryptFile file;
  EXPECT_FALSE(file.open(Name(), kPassword, ExtNameStr("x")));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(CryptFileTest, LeavesNoNameInTheTempDirectories) {
  m_onDisk.SetBytes(EncryptedFile(SomeSystemFile(), "swordfish"));
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "rb"));
  EXPECT_TRUE(m_spool.AreEmpty());
}

TEST_F(CryptFileTest, WritesNoPlainByteToDisk) {
  const std::string marker = "THIS MUST NOT BE SEEN BY ANYBODY";
  CryptFileStream stream;
  ASSERT_TRUE(stream.Open(Name(), kPassword, "wb"));
  Write(stream, SomeSystemFile() + marker);
  ASSERT_EQ(0, stream.Flush());
  const std::string copy = BytesOnDisk(m_spool.Root() + "/0/any");
  EXPECT_EQ(SomeSystemFile().size() + marker.size(), copy.size());
  EXPECT_EQ(std::string::npos, copy.find("THIS MUST"));
  EXPECT_EQ(std::string::npos, copy.find("$FL2"));
  ASSERT_EQ(0, stream.Close());
  EXPECT_EQ(std::string::npos, m_onDisk.Bytes().find("THIS MUST"));
}

TEST(CryptFileDeathTest, CopyingAsserts) {
  const CryptFile file;
  EXPECT_DEATH(CryptFile copy(file), "0 && \"Cannot copy a CryptFile.\"");
}

}  // namespace
}  // namespace cryptfile_test
