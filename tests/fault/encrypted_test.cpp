// Encrypted files with system calls that fail, the n-th and perhaps all behind it, n counting up until all goes well:
// an error with a number, or a file that is whole. What stood in a file before it was opened to be appended to is lost
// only by a failure of the writing itself, and that is told.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "datasrc/CryptFile.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/SpoolDirectories.h"

namespace {

enum Call { kOpen, kClose, kWrite, kRead, kStatus, kTruncate };

struct Fault {
  std::string name = {};
  Call call = kWrite;
  bool persistent = false;
  bool compress = false;
};

// The system's calls, of which the n-th of one kind fails with EIO, and a persistent fault all behind it.
class FailingCalls {
 public:
  FailingCalls(const Fault& fault, int n) : m_before(PresentFileCalls()) {
    s_real = m_before;
    s_fault = fault;
    s_n = n;
    s_count = 0;
    PresentFileCalls() = {
        [](const char* name, int flags, mode_t mode) { return Fails(kOpen) ? -1 : s_real.open(name, flags, mode); },
        // The system closes a file all the same.
        [](int file) {
          const int answer = s_real.close(file);
          return Fails(kClose) ? -1 : answer;
        },
        m_before.unlink,
        [](int file, void* to, std::size_t size, off_t at) -> ssize_t {
          return Fails(kRead) ? -1 : s_real.pread(file, to, size, at);
        },
        [](int file, const void* from, std::size_t size, off_t at) -> ssize_t {
          return Fails(kWrite) ? -1 : s_real.pwrite(file, from, size, at);
        },
        m_before.write, [](int file, struct stat* answer) { return Fails(kStatus) ? -1 : s_real.fstat(file, answer); },
        [](int file, off_t length) { return Fails(kTruncate) ? -1 : s_real.ftruncate(file, length); },
        m_before.fadvise};
  }
  ~FailingCalls() { PresentFileCalls() = m_before; }

  // Whether the n-th call of the last object was reached.
  static bool Struck() { return s_count >= s_n; }

 private:
  static bool Fails(Call call) {
    if (call != s_fault.call) return false;
    ++s_count;
    if (s_fault.persistent ? s_count < s_n : s_count != s_n) return false;
    errno = EIO;
    return true;
  }

  inline static FileCalls s_real;
  inline static Fault s_fault;
  inline static int s_n;
  inline static int s_count;
  FileCalls m_before;
};

std::vector<Fault> AllFaults() {
  std::vector<Fault> faults;
  for (const auto& [name, call] : std::vector<std::pair<std::string, Call>>{
           {"Open", kOpen}, {"Close", kClose}, {"Write", kWrite}, {"Read", kRead}, {"Status", kStatus}})
    for (const bool persistent : {false, true})
      for (const bool compress : {false, true})
        faults.push_back(
            {name + (persistent ? "Always" : "Once") + (compress ? "Coded" : "Plain"), call, persistent, compress});
  return faults;
}

class FaultyEncryption : public testing::TestWithParam<Fault> {
 protected:
  static constexpr int kColumns = 64;
  static constexpr int kRows = 700;  // of 512 bytes: more than a stream holds

  static std::vector<OBS> Row(int number) {
    std::vector<OBS> cells;
    for (int column = 0; column < kColumns; ++column) cells.push_back(NumberCell(number + column * 0.125));
    return cells;
  }

  void Commit(SystemFileDataSource& file) const {
    for (int column = 0; column < kColumns; ++column)
      file.MakeVariable(0, nullptr).SetName(("V" + std::to_string(column)).c_str());
    file.SetCompression(GetParam().compress);
    file.SetPassword(ExtNameStr("swordfish"));
    file.SetFileSpec(m_onDisk.Name().c_str());
    file.CommitDictionary();
  }

  static void WriteRows(SystemFileDataSource& file, int from) {
    for (int row = from; row < from + kRows; ++row) file.AddRow(Row(row).data());
  }

  void ExpectReported(const QuavServerError& error) const {
    EXPECT_THAT(error.Number(), testing::AnyOf(1201, 1202, 1205, 1213));
    EXPECT_EQ(m_onDisk.Name(), error.File());
  }

  void ExpectRows(int rows) const {
    const SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    int row = 0;
    for (; cases->Next() != 0; ++row) ASSERT_EQ(Row(row), PresentCells(*cases));
    EXPECT_EQ(rows, row);
  }

  // Runs the work with the n-th call failing, for each n until there is none. `rows` are there when it goes well.
  template <class Work>
  void TryEachCall(int rows, Work work) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      bool struck = false;
      const auto error = ErrorOf([&] { work(n, struck); });
      if (error) {
        EXPECT_TRUE(struck);
        ExpectReported(*error);
        continue;
      }
      ExpectRows(rows);
      if (!struck) break;
    }
  }

  // Notes at the end of the calls whether the fault was met.
  class Calls : public FailingCalls {
   public:
    Calls(int n, bool& struck) : FailingCalls(GetParam(), n), m_struck(struck) {}
    ~Calls() { m_struck = Struck(); }

   private:
    bool& m_struck;
  };

  const CheapKeys m_cheapKeys;
  const SpoolDirectories m_spool{1};
  const TempFile m_onDisk{""};
};
INSTANTIATE_TEST_SUITE_P(Calls, FaultyEncryption, testing::ValuesIn(AllFaults()), kRowName);

TEST_P(FaultyEncryption, OfAFileIsReportedOrWhole) {
  TryEachCall(kRows, [this](int n, bool& struck) {
    const Calls calls(n, struck);
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file, 0);
    file.Close();
  });
}

TEST_P(FaultyEncryption, OfAppendedRowsIsReportedOrWhole) {
  TryEachCall(2 * kRows, [this](int n, bool& struck) {
    {
      SystemFileDataSource file;
      Commit(file);
      WriteRows(file, 0);
    }
    SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
    const Calls calls(n, struck);
    WriteRows(file, kRows);
    file.Close();
  });
}

TEST_P(FaultyEncryption, OfReadingIsReportedOrWhole) {
  {
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file, 0);
  }
  const std::string bytes = m_onDisk.Bytes();
  TryEachCall(kRows, [this](int n, bool& struck) {
    const Calls calls(n, struck);
    const SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
    EXPECT_EQ(static_cast<std::size_t>(kRows), AllCells(file).size());
  });
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

// ---- What a failure leaves ----

class FailedEncryption : public testing::Test {
 protected:
  FailedEncryption() {
    SystemFileDataSource file;
    file.MakeVariable(0, nullptr).SetName("A");
    file.SetPassword(ExtNameStr("swordfish"));
    file.SetFileSpec(m_onDisk.Name().c_str());
    const OBS row = NumberCell(1.5);
    file.AddRow(&row);
    file.Close();
  }

  const CheapKeys m_cheapKeys;
  const SpoolDirectories m_spool{1};
  const TempFile m_onDisk{""};
};

// A temp directory without room for the plain copy: nothing goes to the file, and it stands as it was.
TEST_F(FailedEncryption, OfTheCopyLeavesTheFileAsItWas) {
  const std::string before = m_onDisk.Bytes();
  SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
  const OBS row = NumberCell(2.5);
  file.AddRow(&row);
  {
    const FailingCalls calls({.call = kWrite, .persistent = true}, 1);
    EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
  }
  EXPECT_EQ(before, m_onDisk.Bytes());
  EXPECT_FALSE(ErrorOf([&] { file.Close(); })) << "it is closed";
}

// Cutting off what was behind the end is the last step.
TEST_F(FailedEncryption, OfTheCutIsTold) {
  m_onDisk.SetBytes(m_onDisk.Bytes());
  CryptFile file;
  ASSERT_TRUE(file.open(ExtNameStr(m_onDisk.Name()), ExtNameStr("swordfish"), ExtNameStr("rb+")));
  ASSERT_TRUE(file.decrypted().Open((m_spool.Root() + "/0/short").c_str(), "w+bTD"));
  const FailingCalls calls({.call = kTruncate}, 1);
  EXPECT_FALSE(file.endWrite());
  EXPECT_EQ(EIO, errno);
}

}  // namespace
