#include "Platform/stream/QUAV_File.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>

#include <limits>
#include <thread>

#include "Platform/stream/tests/StreamTesting.h"

namespace QUAV_File_test {
namespace {

constexpr std::int64_t kGiB = std::int64_t{1} << 30;

class QUAVFile : public StreamTest {};
using QUAVFileDeathTest = QUAVFile;

std::shared_ptr<QUAV_File> Open(const std::string& path, const char* letters) {
  return QUAV_File::Open(path.c_str(), *ParseFileMode(letters));
}

std::string ReadAll(const QUAV_File& file, std::size_t size, std::int64_t offset, int expectedError = 0) {
  std::string bytes(size, '\0');
  const QUAV_File::Transfer transfer = file.ReadAt(bytes.data(), size, offset);
  EXPECT_EQ(expectedError, transfer.error);
  bytes.resize(transfer.bytes);
  return bytes;
}

// ---- Opening ----

struct OpenRow {
  const char* name;
  const char* letters;
  bool opensMissing;
  const char* keeps;  // the contents of a file that held "old"
};

void PrintTo(const OpenRow& row, std::ostream* out) { *out << row.letters; }

class QUAVFileMode : public StreamTest, public testing::WithParamInterface<OpenRow> {};

TEST_P(QUAVFileMode, OpensAnExistingFile) {
  const std::string path = Make("file", "old");
  EXPECT_TRUE(Open(path, GetParam().letters));
  EXPECT_EQ(GetParam().keeps, Contents(path));
}

TEST_P(QUAVFileMode, MakesAMissingFileOrSetsErrno) {
  errno = 0;
  const auto file = Open(Path("file"), GetParam().letters);
  EXPECT_EQ(GetParam().opensMissing ? 0 : ENOENT, errno);
  EXPECT_EQ(GetParam().opensMissing, file != nullptr);
  EXPECT_EQ(GetParam().opensMissing, std::filesystem::exists(Path("file")));
}

TEST_P(QUAVFileMode, FailsInAMissingFolder) {
  EXPECT_FALSE(Open(Path("none/file"), GetParam().letters));
  EXPECT_EQ(ENOENT, errno);
}

TEST_P(QUAVFileMode, FailsWhenTheFolderIsAFile) {
  EXPECT_FALSE(Open(Make("file", "old") + "/file", GetParam().letters));
  EXPECT_EQ(ENOTDIR, errno);
}

TEST_P(QUAVFileMode, FailsWithoutPermission) {
  const std::string path = Make("file", "old");
  const FaultyCalls faults({FaultKind::error, EACCES, 1});
  EXPECT_FALSE(Open(path, GetParam().letters));
  EXPECT_EQ(EACCES, errno);
}

TEST_P(QUAVFileMode, RefusesAFolderAndLeavesNothingOpen) {
  const std::size_t before = OpenDescriptors();
  EXPECT_FALSE(Open(Path(""), GetParam().letters));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(QUAVFile, RefusesAFolderEvenWhenClosingItFails) {
  const FaultyCalls faults({FaultKind::error, EIO, 3});
  EXPECT_FALSE(Open(Path(""), "rb"));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_TRUE(faults.Struck());
}

constexpr OpenRow kOpenRows[] = {
    {"r", "r", false, "old"},    {"rb", "rb", false, "old"}, {"rbPlus", "rb+", false, "old"}, {"wb", "wb", true, ""},
    {"wbPlus", "wb+", true, ""}, {"ab", "ab", true, "old"},  {"abPlus", "a+b", true, "old"},
};

INSTANTIATE_TEST_SUITE_P(Modes, QUAVFileMode, testing::ValuesIn(kOpenRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(QUAVFile, OpenFailsWithoutAName) {
  EXPECT_FALSE(Open("", "wb"));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(QUAVFile, OpenFailsWhenFstatFails) {
  const std::string path = Make("file", "old");
  const std::size_t before = OpenDescriptors();
  const FaultyCalls faults({FaultKind::error, EIO, 2});
  EXPECT_FALSE(Open(path, "rb"));
  EXPECT_EQ(EIO, errno);
  EXPECT_EQ(before, OpenDescriptors());
}

int flagsOfLastOpen;

TEST_F(QUAVFile, OpensWithCloseOnExec) {
  const FileCalls saved = PresentFileCalls();
  PresentFileCalls().open = [](const char* name, int flags, mode_t permissions) {
    flagsOfLastOpen = flags;
    return ::open(name, flags, permissions);
  };
  for (const char* letters : {"rb", "r+b", "wb", "w+b", "ab", "a+b"}) {
    Make("file", "");
    EXPECT_TRUE(Open(Path("file"), letters));
    EXPECT_TRUE(flagsOfLastOpen & O_CLOEXEC) << letters;
  }
  PresentFileCalls() = saved;
}

// ---- Transfers ----

TEST_F(QUAVFile, ReadsAtAnyPosition) {
  const auto file = Open(Make("file", "abcdef"), "rb");
  EXPECT_EQ("cd", ReadAll(*file, 2, 2));
  EXPECT_EQ("ab", ReadAll(*file, 2, 0));
}

TEST_F(QUAVFile, ReadsLessAtTheEndWithoutAnError) {
  const auto file = Open(Make("file", "abcdef"), "rb");
  EXPECT_EQ("ef", ReadAll(*file, 10, 4));
  EXPECT_EQ("", ReadAll(*file, 10, 6));
  EXPECT_EQ("", ReadAll(*file, 10, 1000));
}

TEST_F(QUAVFile, ReadsNothingAtTheLastPosition) {
  const auto file = Open(Make("file", "abcdef"), "rb");
  EXPECT_EQ("", ReadAll(*file, 10, std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ("", ReadAll(*file, 10, std::numeric_limits<std::int64_t>::max() - 5));
}

TEST_F(QUAVFile, TransfersOfZeroBytesMakeNoCall) {
  const auto file = Open(Make("file", "abcdef"), "r+b");
  const FaultyCalls calls;
  EXPECT_EQ(0, file->ReadAt(nullptr, 0, 0).error);
  EXPECT_EQ(0, file->WriteAt(nullptr, 0, 0).error);
  EXPECT_TRUE(calls.Calls().empty());
}

TEST_F(QUAVFile, WritesAtAnyPosition) {
  const std::string path = Make("file", "abcdef");
  const auto file = Open(path, "r+b");
  EXPECT_EQ(2U, file->WriteAt("XY", 2, 3).bytes);
  EXPECT_EQ(1U, file->WriteAt("Z", 1, 8).bytes);
  EXPECT_EQ(std::string("abcXYf\0\0Z", 9), Contents(path));
}

TEST_F(QUAVFile, ReachesPositionsAboveFourGiB) {
  const auto file = Open(Path("file"), "w+b");
  EXPECT_EQ(3U, file->WriteAt("far", 3, 5 * kGiB).bytes);
  EXPECT_EQ(5 * kGiB + 3, file->Length());
  EXPECT_EQ("far", ReadAll(*file, 10, 5 * kGiB));
}

TEST_F(QUAVFile, RefusesToWritePastTheLastPosition) {
  const auto file = Open(Path("file"), "wb");
  const QUAV_File::Transfer transfer = file->WriteAt("abc", 3, std::numeric_limits<std::int64_t>::max() - 2);
  EXPECT_EQ(0U, transfer.bytes);
  EXPECT_EQ(EFBIG, transfer.error);
}

TEST_F(QUAVFile, AppendsAtThePresentEnd) {
  const std::string path = Make("file", "abc");
  const auto first = Open(path, "ab");
  const auto second = Open(path, "ab");
  EXPECT_EQ(1U, first->Append("1", 1).bytes);
  EXPECT_EQ(1U, second->Append("2", 1).bytes);
  EXPECT_EQ(1U, first->Append("3", 1).bytes);
  EXPECT_EQ("abc123", Contents(path));
}

TEST_F(QUAVFile, RefusesTheOtherDirection) {
  const std::string path = Make("file", "abc");
  EXPECT_EQ(EBADF, Open(path, "rb")->WriteAt("x", 1, 0).error);
  EXPECT_EQ("", ReadAll(*Open(path, "ab"), 1, 0, EBADF));
  EXPECT_EQ("abc", Contents(path));
}

TEST_F(QUAVFileDeathTest, WriteOfTheOtherKindAsserts) {
  const auto plain = Open(Path("plain"), "wb");
  const auto appended = Open(Path("appended"), "ab");
  EXPECT_DEATH(plain->Append("x", 1), testing::HasSubstr("assertion failed: m_mode.append"));
  EXPECT_DEATH(appended->WriteAt("x", 1, 0), testing::HasSubstr("assertion failed: !m_mode.append"));
}

TEST_F(QUAVFileDeathTest, NegativePositionAsserts) {
  const auto file = Open(Path("file"), "w+b");
  char byte = 0;
  EXPECT_DEATH(file->ReadAt(&byte, 1, -1), testing::HasSubstr("assertion failed: 0 <= offset"));
  EXPECT_DEATH(file->WriteAt(&byte, 1, -1), testing::HasSubstr("assertion failed: 0 <= offset"));
}

// A range of addresses without memory: a request of several GiB needs only an address.
class AddressRange {
 public:
  explicit AddressRange(std::size_t size)
      : m_size(size), m_begin(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {}
  ~AddressRange() { munmap(m_begin, m_size); }
  AddressRange(const AddressRange&) = delete;
  AddressRange& operator=(const AddressRange&) = delete;
  void* Begin() const { return m_begin; }

 private:
  std::size_t m_size;
  void* m_begin;
};

std::vector<std::pair<std::size_t, off_t>> requests;

TEST_F(QUAVFile, SplitsRequestsThatAreTooLargeForACall) {
  const auto file = Open(Path("file"), "w+b");
  const AddressRange range(5 * kGiB);
  ASSERT_NE(MAP_FAILED, range.Begin());
  const FileCalls saved = PresentFileCalls();
  const auto note = [](std::size_t size, off_t offset) {
    requests.emplace_back(size, offset);
    return static_cast<ssize_t>(size);
  };
  static const auto take = note;
  PresentFileCalls().pread = [](int, void*, std::size_t size, off_t offset) { return take(size, offset); };
  PresentFileCalls().pwrite = [](int, const void*, std::size_t size, off_t offset) { return take(size, offset); };
  constexpr std::size_t kMost = 0x7ffff000;
  constexpr std::size_t kRest = 5 * kGiB - 2 * kMost;
  const auto expected = testing::ElementsAre(std::pair(kMost, 7), std::pair(kMost, 7 + kMost),
                                             std::pair(kRest, static_cast<off_t>(7 + 2 * kMost)));
  requests.clear();
  EXPECT_EQ(static_cast<std::size_t>(5 * kGiB), file->ReadAt(range.Begin(), 5 * kGiB, 7).bytes);
  EXPECT_THAT(requests, expected);
  requests.clear();
  EXPECT_EQ(static_cast<std::size_t>(5 * kGiB), file->WriteAt(range.Begin(), 5 * kGiB, 7).bytes);
  EXPECT_THAT(requests, expected);
  PresentFileCalls() = saved;
}

// ---- Faults ----

TEST_F(QUAVFile, ContinuesAfterInterruptionsAndShortTransfers) {
  const std::string bytes = Noise(1000);
  for (const FaultKind kind : {FaultKind::interruption, FaultKind::shortTransfer}) {
    for (int call = 1;; ++call) {
      SCOPED_TRACE(call);
      const FaultyCalls faults({kind, 0, call});
      const auto file = Open(Path("file"), "w+b");
      ASSERT_TRUE(file);
      EXPECT_EQ(bytes.size(), file->WriteAt(bytes.data(), bytes.size(), 0).bytes);
      EXPECT_EQ(static_cast<std::int64_t>(bytes.size()), file->Length());
      EXPECT_TRUE(SameBytes(bytes, ReadAll(*file, bytes.size(), 0)));
      EXPECT_EQ(0, file->Close());
      if (faults.Struck()) continue;
      EXPECT_EQ(7, call) << "open, status, write, length, read, close";
      break;
    }
  }
}

TEST_F(QUAVFile, TransferEndsAtAnError) {
  const std::string path = Make("file", "abcdef");
  const auto file = Open(path, "r+b");
  char bytes[6];
  for (const int error : {EIO, ENOSPC}) {
    const FaultyCalls faults({FaultKind::error, error, 1, true});
    EXPECT_EQ(error, file->ReadAt(bytes, 6, 0).error);
    EXPECT_EQ(error, file->WriteAt("XXXXXX", 6, 0).error);
    EXPECT_EQ(-1, file->Length());
    EXPECT_EQ(error, errno);
    EXPECT_EQ(3U, faults.Calls().size());
  }
  EXPECT_EQ("abcdef", Contents(path));
}

// The device takes half of each request, and then nothing more.
TEST_F(QUAVFile, ReportsTheBytesWrittenBeforeAnError) {
  const auto file = Open(Path("file"), "w+b");
  const FileCalls saved = PresentFileCalls();
  PresentFileCalls().pwrite = [](int descriptor, const void* buffer, std::size_t size, off_t offset) -> ssize_t {
    if (offset == 0) return ::pwrite(descriptor, buffer, size / 2, offset);
    errno = ENOSPC;
    return -1;
  };
  const QUAV_File::Transfer transfer = file->WriteAt("abcdef", 6, 0);
  PresentFileCalls() = saved;
  EXPECT_EQ(3U, transfer.bytes);
  EXPECT_EQ(ENOSPC, transfer.error);
  EXPECT_EQ("abc", ReadAll(*file, 6, 0));
}

TEST_F(QUAVFile, TreatsAWriteThatTakesNothingAsAnError) {
  const auto file = Open(Path("file"), "wb");
  const FileCalls saved = PresentFileCalls();
  PresentFileCalls().pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t { return 0; };
  const QUAV_File::Transfer transfer = file->WriteAt("abc", 3, 0);
  PresentFileCalls() = saved;
  EXPECT_EQ(0U, transfer.bytes);
  EXPECT_EQ(EIO, transfer.error);
}

// ---- Closing ----

TEST_F(QUAVFile, ClosesOnce) {
  const std::size_t before = OpenDescriptors();
  const auto file = Open(Path("file"), "wb");
  const FaultyCalls calls;
  EXPECT_EQ(0, file->Close());
  EXPECT_EQ(0, file->Close());
  EXPECT_EQ(1U, calls.Calls().size());
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(QUAVFile, FailedCloseReportsTheReasonAndCloses) {
  const std::size_t before = OpenDescriptors();
  const auto file = Open(Path("file"), "wb");
  const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
  EXPECT_EQ(ENOSPC, file->Close());
  EXPECT_EQ(0, file->Close());
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(QUAVFile, DestructorCloses) {
  const std::size_t before = OpenDescriptors();
  Open(Path("file"), "wb");
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(QUAVFile, ClosesWhenItsLastUserLeaves) {
  const auto file = Open(Path("file"), "wb");
  file->Join();
  const FaultyCalls faults({FaultKind::error, EIO, 1});
  EXPECT_EQ(0, file->Leave());
  EXPECT_TRUE(faults.Calls().empty());
  EXPECT_EQ(EIO, file->Leave());
}

TEST_F(QUAVFile, ReadsOnSeveralThreadsAtOnce) {
  const std::string bytes = Noise(400000);
  const auto file = Open(Make("file", bytes), "rb");
  std::vector<std::thread> threads;
  std::vector<std::string> found(4);
  for (std::string& copy : found) threads.emplace_back([&] { copy = ReadAll(*file, bytes.size(), 0); });
  for (std::thread& thread : threads) thread.join();
  for (const std::string& copy : found) EXPECT_TRUE(SameBytes(bytes, copy));
}

}  // namespace
}  // namespace QUAV_File_test
