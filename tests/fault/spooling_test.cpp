// A store of cases on stripe files whose system calls fail, the n-th and perhaps all behind it, n counting up until all
// goes well: the number of the message, the joined names, the system's reason, and nothing left behind. Also a disk
// that is full, and a process that is killed.

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

namespace {

struct Fault {
  const char* name;
  CallFault fault;
  int number;  // of the message; 0 for a call whose failure is nobody's loss
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

// Whether the store has the rows from 0 on, all of them.
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

// Ends the process when a test hangs. (A process that the test starts has none of it.)
class Watchdog {
 public:
  Watchdog() { alarm(kSeconds); }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog() { alarm(0); }

  static constexpr unsigned kSeconds = 120;
};

class SpoolFault : public testing::TestWithParam<Fault> {
 protected:
  // What the fault has to say: its number, its reason, and where it happened.
  void ExpectTold(const QuavServerError& error) const {
    EXPECT_EQ(GetParam().number, error.Number());
    EXPECT_THAT(error.what(), testing::HasSubstr(std::strerror(GetParam().fault.reason)));
    const std::string name = m_directories.Root() + "/[01]/cache-[-0-9a-f]*";
    EXPECT_THAT(error.what(), testing::ContainsRegex(error.Number() == 1001 ? name : name + "," + name));
  }

  const SpoolDirectories m_directories{2};

 private:
  const Watchdog m_watchdog;
};

// A read ahead that failed is made again once its bytes are needed: a read that fails once may go well in the end.
TEST_P(SpoolFault, IsToldWithItsNumberOrLosesNothing) {
  const std::ptrdiff_t before = OpenDescriptors();
  int told = 0;
  bool struck = true;
  for (int n = 1; struck; ++n) {
    ASSERT_LT(n, 500) << "it does not end";
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
    ++told;
    ExpectTold(*error);
  }
  EXPECT_EQ(GetParam().number != 0, told > 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, SpoolFault,
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

class Spool : public testing::Test {
 protected:
  const SpoolDirectories m_directories{2};

 private:
  const Watchdog m_watchdog;
};

using SpoolDeathTest = Spool;

constexpr CallFault kDiskFull{Call::write, ENOSPC, true};

TEST_F(Spool, TakesARowAgainWhenThereIsRoomAgain) {
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

TEST_F(Spool, IsNotClosedAsLongAsItsRowsAreNotAllStored) {
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

TEST_F(Spool, IsReadOnBehindAFault) {
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

TEST_F(Spool, TellsAFaultOfASkip) {
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

TEST_F(Spool, TellsAtTheNextIteratorWhatTheEndOfAProcedureCouldNotStore) {
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

// In a process of its own: the limit of a file's size stands for a disk without room.
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

TEST_F(SpoolDeathTest, TellsThatTheDiskTakesNoMore) {
  EXPECT_EXIT(_exit(SpoolBeyondTheLimit()), testing::ExitedWithCode(0), "");
}

// Tells its parent once it is in mid-spool, with bytes in each file, and then waits to be killed. A compressed file
// gets its first bytes for sure when the caller has filled both buffers and gone on.
[[noreturn]] void SpoolUntilKilled(int tell, bool compressed) {
  constexpr std::size_t kWidth = 8000;
  const std::size_t enough = compressed ? 2 * 3 * ZCompressed_FileStream::kBufferSize : 2'000'000;
  setOption(compressed ? 1 : 0);
  TempFileDataStore store(nullptr);
  store.MakeVariable(kWidth, nullptr).SetName("S");
  OBS marker{};
  std::copy_n("MARKER!!", 8, CellText(&marker));
  const std::vector<OBS> cells(kWidth / sizeof(OBS), marker);
  for (std::size_t bytes = 0; bytes < enough; bytes += kWidth) store.AddRow(cells.data());
  if (write(tell, "x", 1) != 1) _exit(1);
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

class KilledSpool : public Spool, public testing::WithParamInterface<KindRow> {};
INSTANTIATE_TEST_SUITE_P(Kinds, KilledSpool, testing::Values(KindRow{"Plain", false}, KindRow{"Compressed", true}),
                         kRowName);

TEST_P(KilledSpool, LeavesNoFileAndNoPlainText) {
  int pipe[2];
  ASSERT_EQ(0, ::pipe(pipe));
  const pid_t child = fork();
  if (child == 0) SpoolUntilKilled(pipe[1], GetParam().compressed);
  close(pipe[1]);
  char told = 0;
  ASSERT_EQ(1, read(pipe[0], &told, 1));
  close(pipe[0]);
  // While it lives its files can only be looked at through its own descriptors.
  int files = 0;
  int withHeader = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(child) + "/fd")) {
    if (!std::filesystem::read_symlink(entry).string().starts_with(m_directories.Root())) continue;
    const std::string bytes = BytesOf(entry);
    ++files;
    EXPECT_FALSE(bytes.empty());
    EXPECT_EQ(std::string::npos, bytes.find("MARKER"));
    if (bytes.starts_with("\x78\x01")) ++withHeader;  // a zlib block's: one file may have it by chance
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
