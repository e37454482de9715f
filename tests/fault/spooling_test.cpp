// A store of cases on stripe files with failing system calls: the n-th call fails, and in some tests all calls after
// it. n counts up until the run succeeds. The error has the number of the message, the joined names and the system's
// reason; no file and no descriptor remains. Also tests a full disk and a killed process.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/Settings.h"
#include "datasrc/TempFileDataStore.h"
#include "datasrc/ZCompressed_FileStream.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/SpoolDirectories.h"

namespace spooling_test {
namespace {

struct Fault {
  const char* name;
  CallFault fault;
  int number;  // of the message; 0 for a call whose failure loses nothing
};

std::ptrdiff_t OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

constexpr int kRows = 40'000;

void AddRows(TempFileDataStore& store, int count) {
  for (int i = 0; i < count; ++i) {
    const OBS cells[] = {NumberCell(static_cast<double>(store.RowCount()) + 0.5), NumberCell(-7.25)};
    store.AddRow(cells);
  }
}

void MakeColumns(TempFileDataStore& store) {
  store.MakeVariable(0, nullptr).SetName("A");
  store.MakeVariable(0, nullptr).SetName("B");
}

// Returns whether the store has all its rows, from row 0 on.
testing::AssertionResult IsWhole(const TempFileDataStore& store) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
  long long row = 0;
  for (; cases->Next() != 0; ++row) {
    if (cases->GetNumericValue(0) != static_cast<double>(row) + 0.5)
      return testing::AssertionFailure() << "row " << row << " is " << cases->GetNumericValue(0);
  }
  if (row == store.RowCount()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << row << " rows of " << store.RowCount();
}

// Ends the process when a test hangs. Does not apply to processes that the test starts.
class Watchdog {
 public:
  Watchdog() { alarm(kSeconds); }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog() { alarm(0); }

  static constexpr unsigned kSeconds = 120;
};

class TempFileDataStoreFaults : public testing::TestWithParam<Fault> {
 protected:
  // Expects the error to have the number, the reason and the file names of the fault.
  void ExpectReported(const QuavServerError& error) const {
    EXPECT_EQ(GetParam().number, error.Number());
    EXPECT_THAT(error.what(), testing::HasSubstr(std::strerror(GetParam().fault.reason)));
    const std::string name = m_directories.Root() + "/[01]/cache-[-0-9a-f]*";
    EXPECT_THAT(error.what(), testing::ContainsRegex(error.Number() == 1001 ? name : name + "," + name));
  }

  const SpoolDirectories m_directories{2};

 private:
  const Watchdog m_watchdog;
};

// A failed read-ahead is repeated when its bytes are needed, so the run may succeed although one read fails.
TEST_P(TempFileDataStoreFaults, ReportsTheFailureOrLosesNothing) {
  const std::ptrdiff_t before = OpenDescriptors();
  int reported = 0;
  bool struck = true;
  for (int n = 1; struck; ++n) {
    ASSERT_LT(n, 500) << "the loop does not end";
    SCOPED_TRACE("call " + std::to_string(n));
    const auto error = ErrorOf([n] {
      const FailingCalls calls(GetParam().fault, n);
      TempFileDataStore store(nullptr);
      MakeColumns(store);
      AddRows(store, kRows);
      store.Close();
      EXPECT_TRUE(IsWhole(store));
    });
    struck = FailingCalls::Struck();
    EXPECT_TRUE(struck || !error);
    EXPECT_TRUE(error || !struck || GetParam().number == 0 || GetParam().fault.call == Call::read);
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(m_directories.AreEmpty());
    if (!error) continue;
    ++reported;
    ExpectReported(*error);
  }
  EXPECT_EQ(GetParam().number != 0, reported > 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, TempFileDataStoreFaults,
                         testing::Values(Fault{"OneOpen", {Call::open, EMFILE, false}, 1001},
                                         Fault{"AllOpens", {Call::open, EACCES, true}, 1001},
                                         Fault{"OneWrite", {Call::write, EIO, false}, 1002},
                                         Fault{"DiskFull", {Call::write, ENOSPC, true}, 1002},
                                         Fault{"OneRead", {Call::read, EIO, false}, 1003},
                                         Fault{"AllReads", {Call::read, EIO, true}, 1003},
                                         Fault{"OneClose", {Call::close, EIO, false}, 0},
                                         Fault{"AllCloses", {Call::close, EIO, true}, 0}),
                         kRowName);

// ---- After a failure ----

class TempFileDataStoreTest : public testing::Test {
 protected:
  const SpoolDirectories m_directories{2};

 private:
  const Watchdog m_watchdog;
};

using TempFileDataStoreDeathTest = TempFileDataStoreTest;

constexpr CallFault kDiskFull{Call::write, ENOSPC, true};

TEST_F(TempFileDataStoreTest, AcceptsRowsAgainWhenThereIsSpace) {
  TempFileDataStore store(nullptr);
  MakeColumns(store);
  {
    const FailingCalls calls(kDiskFull, 1);
    EXPECT_EQ(1002, ErrorOf([&] { AddRows(store, kRows); })->Number());
  }
  const auto failed = store.RowCount();
  EXPECT_LT(failed, kRows);
  AddRows(store, kRows - static_cast<int>(failed));
  store.Close();
  EXPECT_EQ(kRows, store.RowCount());
  EXPECT_TRUE(IsWhole(store));
}

TEST_F(TempFileDataStoreTest, StaysOpenUntilAllRowsAreStored) {
  TempFileDataStore store(nullptr);
  MakeColumns(store);
  AddRows(store, 10);
  {
    const FailingCalls calls(kDiskFull, 1);
    EXPECT_EQ(1002, ErrorOf([&] { store.Close(); })->Number());
    EXPECT_EQ(1002, ErrorOf([&] { store.MakeIterator(nullptr); })->Number());
    EXPECT_FALSE(store.IsLoaded());
  }
  store.Close();
  EXPECT_TRUE(store.IsLoaded());
  EXPECT_TRUE(IsWhole(store));
}

TEST_F(TempFileDataStoreTest, ReadsOnAfterAFailure) {
  TempFileDataStore store(nullptr);
  MakeColumns(store);
  AddRows(store, kRows);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
  int read = 0;
  const auto readOn = [&] {
    for (; cases->Next() != 0; ++read) ASSERT_EQ(read + 0.5, cases->GetNumericValue(0));
  };
  for (; read < 100; ++read) cases->Next();
  {
    const FailingCalls calls({Call::read, EIO, true}, 1);
    for (int attempt = 0; attempt < 2; ++attempt) {
      const auto error = ErrorOf(readOn);
      ASSERT_TRUE(error);
      EXPECT_EQ(1003, error->Number());
      EXPECT_EQ(read, cases->Tell());
      EXPECT_LT(read, kRows);
    }
  }
  readOn();
  EXPECT_EQ(kRows, read);
}

TEST_F(TempFileDataStoreTest, ReportsAReadFailureAfterASeek) {
  TempFileDataStore store(nullptr);
  MakeColumns(store);
  AddRows(store, kRows);
  store.Close();
  const FailingCalls calls({Call::read, EIO, true}, 1);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
  cases->Seek(3);
  const auto error = ErrorOf([&] { cases->Next(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1003, error->Number());
  EXPECT_EQ(3, cases->Tell());
}

TEST_F(TempFileDataStoreTest, MakeIteratorReportsWhatTheEndOfAProcedureCouldNotStore) {
  MemorySource parent;
  parent.AddNumber("A");
  for (int row = 0; row < 10; ++row) parent.AddCase({row + 0.5});
  TempFileDataStore store(&parent);
  {
    const FailingCalls calls(kDiskFull, 1);
    const std::unique_ptr<ProcedureDataStorage> cases(store.MakeIterator(0, nullptr));
    while (cases->Next() != 0) continue;
  }
  EXPECT_EQ(nullptr, store.GetParentSource());
  EXPECT_EQ(1002, ErrorOf([&] { store.MakeIterator(nullptr); })->Number());
}

// ---- The system itself ----

// Runs in its own process: a limit of the file size simulates a full disk.
int SpoolBeyondTheLimit() {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{300'000, 300'000};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
  try {
    TempFileDataStore store(nullptr);
    MakeColumns(store);
    AddRows(store, 1'000'000);
  } catch (const QuavServerError& error) {
    return error.Number() == 1002 && std::string(error.what()).find(std::strerror(EFBIG)) != std::string::npos ? 0 : 3;
  }
  return 1;
}

TEST_F(TempFileDataStoreDeathTest, ReportsAFullDisk) {
  EXPECT_EXIT(_exit(SpoolBeyondTheLimit()), testing::ExitedWithCode(0), "");
}

// Writes a byte to `readyPipe` when each file has bytes, then waits to be killed. A compressed file certainly has its
// first bytes after the caller has filled both buffers and has continued.
[[noreturn]] void SpoolUntilKilled(int readyPipe, bool compressed) {
  constexpr std::size_t kWidth = 8000;
  const std::size_t enough = compressed ? 2 * 3 * ZCompressed_FileStream::kBufferSize : 2'000'000;
  setOption(compressed ? 1 : 0);
  TempFileDataStore store(nullptr);
  store.MakeVariable(kWidth, nullptr).SetName("S");
  OBS marker{};
  std::copy_n("MARKER!!", 8, CellText(&marker));
  const std::vector<OBS> cells(kWidth / sizeof(OBS), marker);
  for (std::size_t bytes = 0; bytes < enough; bytes += kWidth) store.AddRow(cells.data());
  if (write(readyPipe, "x", 1) != 1) _exit(1);
  alarm(Watchdog::kSeconds);
  for (;;) pause();
}

std::string BytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct KindRow {
  const char* name;
  bool compressed;
};

class KilledTempFileDataStore : public TempFileDataStoreTest, public testing::WithParamInterface<KindRow> {};
INSTANTIATE_TEST_SUITE_P(Kinds, KilledTempFileDataStore,
                         testing::Values(KindRow{"Plain", false}, KindRow{"Compressed", true}), kRowName);

TEST_P(KilledTempFileDataStore, LeavesNoFileAndNoPlainText) {
  int pipe[2];
  ASSERT_EQ(0, ::pipe(pipe));
  const pid_t child = fork();
  if (child == 0) SpoolUntilKilled(pipe[1], GetParam().compressed);
  close(pipe[1]);
  char ready = 0;
  ASSERT_EQ(1, read(pipe[0], &ready, 1));
  close(pipe[0]);
  // As long as the process lives, its files can be read only through its own descriptors.
  int files = 0;
  int withHeader = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(child) + "/fd")) {
    if (!std::filesystem::read_symlink(entry).string().starts_with(m_directories.Root())) continue;
    const std::string bytes = BytesOf(entry);
    ++files;
    EXPECT_FALSE(bytes.empty());
    EXPECT_EQ(std::string::npos, bytes.find("MARKER"));
    if (bytes.starts_with("\x78\x01"))
      ++withHeader;  // the header of a zlib block; one file may begin with these bytes by chance
  }
  EXPECT_EQ(2, files);
  EXPECT_LT(withHeader, 2);
  EXPECT_TRUE(m_directories.AreEmpty());
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(m_directories.AreEmpty());
}

}  // namespace
}  // namespace spooling_test
