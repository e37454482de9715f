// Files of the mode "w+bTD" and of the encrypt flag: what others can see of them, and that their users see no
// difference.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <functional>
#include <string>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/tests/StreamTesting.h"
#include "tests/support/FailingCrypto.h"

namespace TemporaryFile_test {
namespace {

constexpr char kTemporary[] = "w+bTD";
constexpr std::size_t kBuffer = QUAV_FileStream::kBufferSize;

// The two ways to make such a file, depending on the file system: without a name, or unlinked.
enum class Making { nameless, unlinked };

class TemporaryFile : public StreamTest, public testing::WithParamInterface<Making> {
 protected:
  TemporaryFile() {
    if (GetParam() == Making::nameless) return;
    PresentFileCalls().open = [](const char* name, int flags, mode_t permissions) {
      if ((flags & O_TMPFILE) != O_TMPFILE) return ::open(name, flags, permissions);
      errno = EOPNOTSUPP;
      return -1;
    };
  }
  ~TemporaryFile() override { PresentFileCalls() = m_system; }

  std::string Folder() const { return Path(""); }
  bool FolderIsEmpty() const { return std::filesystem::is_empty(Folder()); }

  // The open descriptors of files in the folder, as paths.
  std::vector<std::string> Descriptors() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      const std::string target = std::filesystem::read_symlink(entry, gone).string();
      if (!gone && target.starts_with(Folder())) found.push_back(entry.path().string());
    }
    return found;
  }

  // The bytes on disk of the only file in the folder.
  std::string OnDisk() const {
    const std::vector<std::string> descriptors = Descriptors();
    EXPECT_EQ(1U, descriptors.size());
    return Contents(descriptors.at(0));
  }

 private:
  const FileCalls m_system = PresentFileCalls();
};

TEST_P(TemporaryFile, HasNoNameOnceItIsOpen) {
  QUAV_FileStream stream;
  ASSERT_TRUE(stream.Open(Path("spool").c_str(), kTemporary));
  EXPECT_TRUE(FolderIsEmpty());
  EXPECT_EQ(Path("spool"), stream.Name());
}

TEST_P(TemporaryFile, IsAccessibleToItsUserAlone) {
  QUAV_FileStream stream;
  stream.Open(Path("spool").c_str(), kTemporary);
  struct stat status {};
  ASSERT_EQ(0, ::stat(Descriptors().at(0).c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777);
  EXPECT_EQ(0U, status.st_nlink);
}

TEST_P(TemporaryFile, EncipheredOneReadsPlainWhenItIsOpenedAgain) {
  const std::string bytes = Noise(3 * kBuffer);
  QUAV_FileStream stream(Path("spool").c_str(), kTemporary, true);
  stream.Write(bytes.data(), bytes.size());
  stream.Seek(kBuffer, kSeekFromEnd);
  stream.Write("end", 3);
  ASSERT_EQ(0, stream.Flush());
  const std::string descriptor = Descriptors().at(0);
  const std::string whole = bytes + std::string(kBuffer, '\0') + "end";
  EXPECT_NE(whole, Contents(descriptor));
  QUAV_FileStream again;
  ASSERT_TRUE(again.Open(descriptor.c_str(), "rb"));
  std::string read(whole.size(), '?');
  EXPECT_EQ(whole.size(), again.Read(read.data(), read.size()));
  EXPECT_TRUE(whole == read);
  again.Seek(kBuffer + 5, kSeekFromStart);
  EXPECT_EQ(7U, again.Read(read.data(), 7));
  EXPECT_EQ(whole.substr(kBuffer + 5, 7), read.substr(0, 7));
  // The second stream keeps what deciphers the file.
  stream.Close();
  QUAV_FileStream third;
  ASSERT_TRUE(third.Open(Descriptors().at(0).c_str(), "rb"));
  EXPECT_EQ(7U, third.Read(read.data(), 7));
  EXPECT_EQ(whole.substr(0, 7), read.substr(0, 7));
}

TEST_P(TemporaryFile, EncipheredOneIsNotAppendedToUnderAnotherName) {
  QUAV_FileStream stream(Path("spool").c_str(), kTemporary, true);
  QUAV_FileStream again;
  EXPECT_FALSE(again.Open(Descriptors().at(0).c_str(), "ab"));
  EXPECT_EQ(EINVAL, errno);
}

TEST_P(TemporaryFile, EncipheredOneThatIsMadeAnewHasTheLaterKey) {
  QUAV_FileStream first(Path("spool").c_str(), "w+b", true);
  QUAV_FileStream second(Path("spool").c_str(), "w+b", true);
  second.Write("later", 5);
  second.Flush();
  std::filesystem::remove(Path("spool"));
  first.Close();
  QUAV_FileStream again;
  ASSERT_TRUE(again.Open(Descriptors().at(0).c_str(), "rb"));
  EXPECT_EQ("later", Read(again, 5));
}

TEST_P(TemporaryFile, PlainFileThatFollowsAnEncipheredOneIsReadAsItIs) {
  // File systems use the number of a removed file again.
  for (int round = 0; round < 20; ++round) {
    {
      QUAV_FileStream stream(Path("spool").c_str(), kTemporary, true);
      stream.Write("hidden", 6);
    }
    const std::string file = Make("plain", "plain bytes");
    QUAV_FileStream reader;
    ASSERT_TRUE(reader.Open(file.c_str(), "rb"));
    std::string read(11, '?');
    reader.Read(read.data(), read.size());
    EXPECT_EQ("plain bytes", read);
    std::filesystem::remove(file);
  }
}

TEST_P(TemporaryFile, CopiesHaveTheirOwnPositions) {
  const std::string bytes = Noise(3 * kBuffer);
  QUAV_FileStream stream;
  stream.Open(Path("spool").c_str(), kTemporary);
  Write(stream, bytes);
  QUAV_FileStream first(stream);
  QUAV_FileStream second(stream);
  first.Seek(0, kSeekFromStart);
  second.Seek(kBuffer, kSeekFromStart);
  EXPECT_TRUE(SameBytes(bytes.substr(0, kBuffer), Read(first, kBuffer)));
  EXPECT_TRUE(SameBytes(bytes.substr(kBuffer, 1000), Read(second, 1000)));
  EXPECT_EQ(static_cast<long>(bytes.size()), stream.Tell());
}

TEST_P(TemporaryFile, DisappearsWithItsLastUser) {
  const std::size_t before = OpenDescriptors();
  auto stream = std::make_unique<QUAV_FileStream>();
  stream->Open(Path("spool").c_str(), kTemporary);
  Write(*stream, "abc");
  auto copy = std::make_unique<QUAV_FileStream>(*stream);
  EXPECT_EQ(0, stream->Close());
  copy->Seek(0, kSeekFromStart);
  EXPECT_EQ("abc", Read(*copy, 3));
  copy.reset();
  EXPECT_EQ(before, OpenDescriptors());
  EXPECT_TRUE(FolderIsEmpty());
}

TEST_P(TemporaryFile, DisappearsWhenTheProcessIsKilled) {
  const pid_t child = fork();
  if (child == 0) {
    QUAV_FileStream stream;
    stream.Open(Path("spool").c_str(), kTemporary);
    Write(stream, Noise(2 * kBuffer));
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(FolderIsEmpty());
}

TEST_P(TemporaryFile, KeepsAnExistingFileOfThatName) {
  Make("spool", "old");
  QUAV_FileStream stream;
  EXPECT_EQ(GetParam() == Making::nameless, stream.Open(Path("spool").c_str(), kTemporary) != 0);
  EXPECT_EQ("old", Contents(Path("spool")));
}

TEST_P(TemporaryFile, DoesNotFollowALink) {
  Make("victim", "old");
  std::filesystem::create_symlink(Path("victim"), Path("spool"));
  QUAV_FileStream stream;
  stream.Open(Path("spool").c_str(), kTemporary);
  Write(stream, "new");
  stream.Close();
  EXPECT_EQ("old", Contents(Path("victim")));
}

TEST_P(TemporaryFile, UsesThePresentFolderForANameWithoutAFolder) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(Folder());
  QUAV_FileStream stream;
  EXPECT_TRUE(stream.Open("spool", kTemporary));
  std::filesystem::current_path(before);
  EXPECT_EQ(1U, Descriptors().size());
  EXPECT_TRUE(FolderIsEmpty());
}

TEST_P(TemporaryFile, FailsInAMissingFolder) {
  QUAV_FileStream stream;
  EXPECT_FALSE(stream.Open(Path("none/spool").c_str(), kTemporary));
  EXPECT_EQ(ENOENT, errno);
}

// Makes every call fail of those that make, fill, read and close the file, with `encrypt` and without.
TEST_P(TemporaryFile, LeavesNothingOpenWhicheverCallFails) {
  const std::size_t before = OpenDescriptors();
  for (const bool encrypt : {false, true}) {
    bool struck = true;
    for (int call = 1; struck; ++call) {
      const FaultyCalls faults({FaultKind::error, EIO, call});
      QUAV_FileStream stream(encrypt);
      const bool good = stream.Open(Path("spool").c_str(), kTemporary) && Write(stream, "abc") == 3 &&
                        stream.Flush() == 0 && stream.Seek(0, kSeekFromStart) == 0 && Read(stream, 3) == "abc" &&
                        stream.Good() && stream.Close() == 0;
      struck = faults.Struck();
      EXPECT_NE(struck, good) << "call " << call;
      stream.Close();
      EXPECT_EQ(before, OpenDescriptors()) << "call " << call;
      // A file that could not be unlinked still has its name, and is empty.
      std::filesystem::remove(Path("spool"));
    }
  }
}

// ---- Enciphered ----

TEST_P(TemporaryFile, HasNoPlainBytesOnDiskWithTheEncryptFlag) {
  const std::string marker = "a marker that is plain to read, ";
  std::string bytes;
  while (bytes.size() < 3 * kBuffer) bytes += marker;
  QUAV_FileStream stream(true);
  ASSERT_TRUE(stream.Open(Path("spool").c_str(), kTemporary));
  Write(stream, bytes);
  EXPECT_EQ(0, stream.Flush());
  const std::string found = OnDisk();
  EXPECT_EQ(bytes.size(), found.size());
  EXPECT_EQ(std::string::npos, found.find("marker"));
  EXPECT_EQ(static_cast<long>(bytes.size()), stream.Tell());
  stream.Seek(0, kSeekFromStart);
  EXPECT_TRUE(SameBytes(bytes, Read(stream, bytes.size())));
}

TEST_P(TemporaryFile, HasPlainBytesOnDiskWithoutTheEncryptFlag) {
  QUAV_FileStream stream;
  stream.Open(Path("spool").c_str(), kTemporary);
  Write(stream, "plain");
  stream.Flush();
  EXPECT_EQ("plain", OnDisk());
}

TEST_P(TemporaryFile, SharesItsCipherWithCopies) {
  const std::string bytes = Noise(kBuffer);
  QUAV_FileStream stream(true);
  stream.Open(Path("spool").c_str(), kTemporary);
  Write(stream, bytes);
  QUAV_FileStream copy(stream);
  copy.Seek(1234, kSeekFromStart);
  EXPECT_TRUE(SameBytes(bytes.substr(1234), Read(copy, kBuffer)));
}

TEST_P(TemporaryFile, HoleOfAnEncipheredFileReadsAsZeroBytes) {
  QUAV_FileStream stream(true);
  stream.Open(Path("spool").c_str(), kTemporary);
  Write(stream, "abc");
  stream.Seek(200'000, kSeekFromStart);
  Write(stream, "xyz");
  stream.Seek(0, kSeekFromStart);
  EXPECT_TRUE(SameBytes("abc" + std::string(199'997, '\0') + "xyz", Read(stream, 300'000)));
  EXPECT_EQ(200'003, stream.Length());
  stream.Seek(100'000, kSeekFromStart);
  Write(stream, "mid");
  stream.Seek(99'990, kSeekFromStart);
  EXPECT_EQ(std::string(10, '\0') + "mid" + std::string(10, '\0'), Read(stream, 23));
}

TEST_P(TemporaryFile, LargeHoleTakesNoRoomOnDisk) {
  const QUAV_FileStream owner(Path("spool").c_str(), kTemporary, true);
  QUAV_FileStream stream(owner);
  stream.Seek(1L << 40, kSeekFromStart);
  Write(stream, "far");
  EXPECT_EQ(0, stream.Flush());
  struct stat status {};
  ASSERT_EQ(0, ::stat(Descriptors().at(0).c_str(), &status));
  EXPECT_LT(status.st_blocks * 512, 1 << 20);
}

TEST_P(TemporaryFile, EncipheredFileMayBeOverwrittenAnywhere) {
  std::string model = Noise(kBuffer);
  QUAV_FileStream stream(true);
  stream.Open(Path("spool").c_str(), kTemporary);
  Write(stream, model);
  for (const std::size_t place : {std::size_t{0}, std::size_t{15}, std::size_t{16}, std::size_t{65'535}, kBuffer - 5}) {
    stream.Seek(static_cast<long>(place), kSeekFromStart);
    Write(stream, "0123456789");
    model.replace(place, 10, "0123456789");
  }
  stream.Seek(0, kSeekFromStart);
  EXPECT_TRUE(SameBytes(model, Read(stream, kBuffer + 5)));
}

TEST_P(TemporaryFile, OpensInTheConstructor) {
  const QUAV_FileStream stream(Path("spool").c_str(), kTemporary, true);
  EXPECT_TRUE(stream.IsOpen());
  EXPECT_TRUE(stream.DataReady());
  const QUAV_FileStream none(Path("none/spool").c_str(), kTemporary, true);
  EXPECT_FALSE(none.DataReady());
}

INSTANTIATE_TEST_SUITE_P(Made, TemporaryFile, testing::Values(Making::nameless, Making::unlinked),
                         [](const auto& row) { return row.param == Making::nameless ? "Nameless" : "Unlinked"; });

// The errors with which a file system, or the kernel, refuses files without a name.
TEST_F(StreamTest, TemporaryFileIsMadeWhereverNamelessFilesAreRefused) {
  static int reason;
  const FileCalls saved = PresentFileCalls();
  PresentFileCalls().open = [](const char* name, int flags, mode_t permissions) {
    if ((flags & O_TMPFILE) != O_TMPFILE) return ::open(name, flags, permissions);
    errno = reason;
    return -1;
  };
  for (const int refusal : {EOPNOTSUPP, EISDIR, EINVAL, EROFS}) {
    reason = refusal;
    QUAV_FileStream stream;
    EXPECT_EQ(refusal != EROFS, stream.Open(Path("spool").c_str(), kTemporary) != 0) << refusal;
    EXPECT_FALSE(std::filesystem::exists(Path("spool")));
  }
  PresentFileCalls() = saved;
}

using EncipheredStream = StreamTest;

TEST_F(EncipheredStream, RefusesToOpenAnExistingFile) {
  Make("file", "old");
  QUAV_FileStream stream(true);
  for (const char* mode : {"rb", "rb+", "ab", "a+b"}) {
    EXPECT_FALSE(stream.Open(Path("file").c_str(), mode));
    EXPECT_EQ(EINVAL, errno);
  }
  EXPECT_EQ("old", Contents(Path("file")));
}

TEST_F(EncipheredStream, MakesAFileWithAName) {
  QUAV_FileStream stream(true);
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "plain text");
  stream.Flush();
  EXPECT_EQ(10U, Contents(Path("file")).size());
  EXPECT_NE("plain text", Contents(Path("file")));
  stream.Seek(6, kSeekFromStart);
  EXPECT_EQ("text", Read(stream, 4));
}

TEST_F(EncipheredStream, ShowsTheBytesOnDiskToWhoOpensItsName) {
  QUAV_FileStream stream(true);
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "plain text");
  stream.Flush();
  QUAV_FileStream again;
  ASSERT_TRUE(again.Open(Path("file").c_str(), "rb"));
  EXPECT_EQ(Contents(Path("file")), Read(again, 10));
}

// Linking the path of the descriptor is the way to give the file a name.
TEST_F(EncipheredStream, TemporaryFileCannotBeLinked) {
  const std::size_t before = OpenDescriptors();
  const QUAV_FileStream stream(Path("spool").c_str(), kTemporary, true);
  ASSERT_EQ(before + 1, OpenDescriptors());
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const std::string target = std::filesystem::read_symlink(entry).string();
    if (!target.starts_with(Path(""))) continue;
    EXPECT_NE(0, linkat(AT_FDCWD, entry.path().c_str(), AT_FDCWD, Path("linked").c_str(), AT_SYMLINK_FOLLOW));
  }
  EXPECT_FALSE(std::filesystem::exists(Path("linked")));
}

// Neither plain bytes on disk nor enciphered bytes as if they were plain.
TEST_F(EncipheredStream, TransfersNothingWhenTheCipherFails) {
  const std::string path = Path("file");
  QUAV_FileStream stream(path.c_str(), "w+b", true);
  Write(stream, "plain");
  {
    const CryptoMemory none(0);
    EXPECT_EQ(-1, stream.Flush());
    EXPECT_EQ(EIO, errno);
  }
  EXPECT_EQ("", Contents(path));
  stream.Clear();
  EXPECT_EQ(0, stream.Flush());
  stream.Seek(0, kSeekFromStart);
  {
    const CryptoMemory none(0);
    EXPECT_EQ("", Read(stream, 5));
    EXPECT_EQ(EIO, stream.Error());
  }
  stream.Clear();
  EXPECT_EQ("plain", Read(stream, 5));
}

TEST_F(EncipheredStream, IsNotOpenedWithoutRandomBytes) {
  const NoRandomBytes none;
  QUAV_FileStream stream(true);
  EXPECT_FALSE(stream.Open(Path("file").c_str(), "w+b"));
  EXPECT_EQ(EIO, stream.Error());
  EXPECT_FALSE(std::filesystem::exists(Path("file")));
}

TEST_F(EncipheredStream, LetterTAloneMakesAPrivateFile) {
  QUAV_FileStream stream;
  ASSERT_TRUE(stream.Open(Path("file").c_str(), "wT"));
  EXPECT_EQ(0600, static_cast<int>(std::filesystem::status(Path("file")).permissions()));
}

}  // namespace
}  // namespace TemporaryFile_test
