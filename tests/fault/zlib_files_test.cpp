// System files with zlib blocks that are cut or damaged, or whose writer is killed. A reader gets the beginning of what
// was written; if it is not everything, the reader throws 1205. The rows from before an append can be read after it,
// however the append ended.
//
// The tests with random moments kill their writers 20 times. For more: --gtest_filter='KilledZlibWriter.*RandomMoment'
// --gtest_repeat=10.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"

namespace zlib_files_test {
namespace {

constexpr int kColumns = 3;

// Numbers that are codes, numbers that are literals, and text.
std::vector<OBS> Row(int number) {
  const std::string text = "text " + std::to_string(number * 7919);
  return CellsOf(FileCase{static_cast<double>(number % 100), number + 0.125, text.substr(0, 8)});
}

void MakeColumns(SystemFileDataSource& file, const std::string& name) {
  for (int column = 0; column < kColumns; ++column)
    file.MakeVariable(column == 2 ? 8 : 0, nullptr).SetName(("V" + std::to_string(column)).c_str());
  file.SetCompressionLevel(2);
  file.SetFileSpec(name.c_str());
}

void AddRows(SystemFileDataSource& file, int first, int count) {
  for (int row = first; row < first + count; ++row) file.AddRow(Row(row).data());
}

void Write(const std::string& name, int rows) {
  SystemFileDataSource file;
  MakeColumns(file, name);
  file.CommitDictionary();
  AddRows(file, 0, rows);
  file.Close();
}

void Append(const std::string& name, int first, int count) {
  SystemFileDataSource file(name, "", false);
  AddRows(file, first, count);
  file.Close();
}

// The number of rows in a file, and the error after them. Read compares each row with the one that was written.
struct Found {
  int rows = 0;
  int error = 0;  // 0 for none
};

Found Read(const std::string& name) {
  Found found;
  const auto error = ErrorOf([&] {
    const SystemFileDataSource file(name, "", false);
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    for (; cases->Next() != 0; ++found.rows) ASSERT_EQ(Row(found.rows), PresentCells(*cases));
  });
  if (error) found.error = error->Number();
  return found;
}

// ---- Damaged files ----

class DamagedZlibFile : public testing::Test {
 protected:
  static constexpr int kFirst = 5;
  static constexpr int kRows = 9;

  // The byte at which the blocks begin.
  static std::size_t Row0(const std::string& bytes) { return bytes.find("ZBLK"); }

  // A file after an append: an old block and table, and after them the valid ones.
  std::string Appended() const {
    Write(m_onDisk.Name(), kFirst);
    Append(m_onDisk.Name(), kFirst, kRows - kFirst);
    return m_onDisk.Bytes();
  }
  // The same file with an unknown number of rows in header and record 16.
  static std::string WithoutCount(std::string bytes) {
    bytes.replace(80, 4, 4, '\xFF');
    const std::string head = SystemFileBuilder().I32(7).I32(16).I32(8).I32(2).Bytes();
    return bytes.replace(bytes.find(head) + head.size() + 8, 8, 8, '\xFF');
  }
  // The end of the first table. A file that is cut there is the complete file from before the append, except for its
  // counts; and counts that are too high are no error.
  static std::size_t FirstEnd(const std::string& bytes) { return bytes.find("ZEND") + 4; }
  void ExpectAllRowsOr1205() const {
    const Found found = Read(m_onDisk.Name());
    EXPECT_TRUE(found.error == 1205 || (found.error == 0 && found.rows == kRows))
        << found.rows << " rows, error " << found.error;
  }
  // Appends five rows: the append throws and changes nothing, or all rows are there.
  void ExpectAppendRefusedOrWhole(const std::string& bytes) const {
    if (ErrorOf([&] { Append(m_onDisk.Name(), kRows, 5); })) {
      EXPECT_EQ(bytes, m_onDisk.Bytes());
      return;
    }
    const Found found = Read(m_onDisk.Name());
    EXPECT_EQ(0, found.error);
    EXPECT_EQ(kRows + 5, found.rows);
  }

  const TempFile m_onDisk{""};
};

TEST_F(DamagedZlibFile, CutAtAnyByteGivesAllRowsOrThrows1205) {
  const std::string whole = Appended();
  for (std::size_t size = Row0(whole); size < whole.size(); size += kPlaceStep) {
    SCOPED_TRACE("cut at " + std::to_string(size));
    m_onDisk.SetBytes(whole.substr(0, size));
    if (size == FirstEnd(whole))
      EXPECT_EQ(kFirst, Read(m_onDisk.Name()).rows);
    else
      ExpectAllRowsOr1205();
  }
}

TEST_F(DamagedZlibFile, CutAtAnyByteWithAnUnknownCountThrows1205) {
  const std::string whole = WithoutCount(Appended());
  m_onDisk.SetBytes(whole);
  EXPECT_EQ(kRows, Read(m_onDisk.Name()).rows);
  for (std::size_t size = Row0(whole) + 1; size < whole.size(); size += kPlaceStep) {
    m_onDisk.SetBytes(whole.substr(0, size));
    const Found found = Read(m_onDisk.Name());
    EXPECT_EQ(size == FirstEnd(whole) ? 0 : 1205, found.error) << "cut at " << size;
  }
}

TEST_F(DamagedZlibFile, AnyFlippedBitGivesAllRowsOrThrows1205) {
  const std::string whole = Appended();
  for (std::size_t bit = Row0(whole) * 8; bit < whole.size() * 8; bit += kPlaceStep) {
    SCOPED_TRACE("bit " + std::to_string(bit));
    std::string damaged = whole;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
    m_onDisk.SetBytes(damaged);
    ExpectAllRowsOr1205();
  }
}

TEST_F(DamagedZlibFile, CutAtAnyByteAppendsAfterAllRowsOrRefuses) {
  const std::string whole = Appended();
  for (std::size_t size = Row0(whole); size < whole.size(); size += kPlaceStep) {
    SCOPED_TRACE("cut at " + std::to_string(size));
    const std::string bytes = whole.substr(0, size);
    m_onDisk.SetBytes(bytes);
    if (size != FirstEnd(whole)) ExpectAppendRefusedOrWhole(bytes);
  }
}

TEST_F(DamagedZlibFile, AnyChangedByteAppendsAfterAllRowsOrRefuses) {
  const std::string whole = Appended();
  for (std::size_t at = Row0(whole); at < whole.size(); at += kPlaceStep) {
    SCOPED_TRACE("byte " + std::to_string(at));
    std::string damaged = whole;
    damaged[at] = static_cast<char>(~damaged[at]);
    m_onDisk.SetBytes(damaged);
    ExpectAppendRefusedOrWhole(damaged);
  }
}

// ---- Killed writers ----

// Runs the work in its own process, which `kill` may end. Returns whether a signal ended it.
bool IsKilled(const std::function<void()>& work, const std::function<void(pid_t)>& kill) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(0);
  }
  kill(child);
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == 0) << status;
  return WIFSIGNALED(status);
}

// Kills the process at its n-th write or truncation. The system has then written the first half of a write.
class DiesAtWrite {
 public:
  explicit DiesAtWrite(int n) {
    s_real = PresentFileCalls();
    s_left = n;
    PresentFileCalls().pwrite = [](int file, const void* from, std::size_t size, off_t at) {
      if (--s_left > 0) return s_real.pwrite(file, from, size, at);
      s_real.pwrite(file, from, size / 2, at);
      raise(SIGKILL);
      return ssize_t{0};
    };
    PresentFileCalls().ftruncate = [](int file, off_t length) {
      if (--s_left <= 0) raise(SIGKILL);
      return s_real.ftruncate(file, length);
    };
  }

 private:
  inline static FileCalls s_real;
  inline static int s_left;
};

class KilledZlibWriter : public testing::Test {
 protected:
  static constexpr int kOld = 2'000;
  static constexpr int kNew = 16'000;  // several blocks together with the old rows

  void ExpectBeginning() const {
    const Found found = Read(m_onDisk.Name());
    EXPECT_LE(found.rows, kNew);
    EXPECT_TRUE(found.rows == kNew || found.error == 1204 || found.error == 1205) << found.rows;
  }
  // Expects the old rows, with all of the new ones or none. Expects that rows can be appended.
  void ExpectOldRows() const {
    const Found found = Read(m_onDisk.Name());
    EXPECT_EQ(0, found.error);
    EXPECT_THAT(found.rows, testing::AnyOf(kOld, kOld + kNew));
    // An append starts after the rows that the file counts, which may be fewer than its blocks hold.
    const int counted = static_cast<int>(SystemFileDataSource(m_onDisk.Name(), "", false).RowCount());
    EXPECT_THAT(counted, testing::AnyOf(kOld, kOld + kNew));
    Append(m_onDisk.Name(), counted, 10);
    const Found more = Read(m_onDisk.Name());
    EXPECT_EQ(0, more.error);
    EXPECT_EQ(counted + 10, more.rows);
  }

  const TempFile m_onDisk{""};
};

TEST_F(KilledZlibWriter, NewFileKeepsItsBeginningAfterAnyWrite) {
  for (int n = 1;; ++n) {
    SCOPED_TRACE("write " + std::to_string(n));
    m_onDisk.SetBytes("");
    const bool isKilled = IsKilled(
        [&] {
          const DiesAtWrite dies(n);
          Write(m_onDisk.Name(), kNew);
        },
        [](pid_t) {});
    ExpectBeginning();
    if (!isKilled) break;
  }
  EXPECT_EQ(kNew, Read(m_onDisk.Name()).rows);
}

TEST_F(KilledZlibWriter, AppendKeepsTheOldRowsAfterAnyWrite) {
  Write(m_onDisk.Name(), kOld);
  const std::string old = m_onDisk.Bytes();
  for (int n = 1;; ++n) {
    SCOPED_TRACE("write " + std::to_string(n));
    m_onDisk.SetBytes(old);
    const bool isKilled = IsKilled(
        [&] {
          const DiesAtWrite dies(n);
          Append(m_onDisk.Name(), kOld, kNew);
        },
        [](pid_t) {});
    ExpectOldRows();
    if (!isKilled) break;
  }
}

// Runs the work `count` times and kills it at a random moment. Calls `prepare` before each run and `check` after it.
void KillAtRandom(unsigned count, const std::function<void()>& prepare, const std::function<void()>& work,
                  const std::function<void()>& check) {
  using Clock = std::chrono::steady_clock;
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  prepare();
  const auto start = Clock::now();
  IsKilled(work, [](pid_t child) {
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
  });
  const std::chrono::duration<double> whole = Clock::now() - start;
  int killed = 0;
  for (unsigned i = 0; i < count; ++i) {
    prepare();
    const auto moment = whole * std::uniform_real_distribution(0.0, 1.1)(random);
    killed += IsKilled(work, [&](pid_t child) {
      std::this_thread::sleep_for(moment);
      kill(child, SIGKILL);
    });
    check();
  }
  EXPECT_LT(0, killed) << "no run was killed";
}

TEST_F(KilledZlibWriter, NewFileKeepsItsBeginningAtARandomMoment) {
  KillAtRandom(
      Seeds(20), [&] { m_onDisk.SetBytes(""); }, [&] { Write(m_onDisk.Name(), kNew); }, [&] { ExpectBeginning(); });
}

TEST_F(KilledZlibWriter, AppendKeepsTheOldRowsAtARandomMoment) {
  Write(m_onDisk.Name(), kOld);
  const std::string old = m_onDisk.Bytes();
  KillAtRandom(
      Seeds(20), [&] { m_onDisk.SetBytes(old); }, [&] { Append(m_onDisk.Name(), kOld, kNew); },
      [&] { ExpectOldRows(); });
}

}  // namespace
}  // namespace zlib_files_test
