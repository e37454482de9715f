// Encrypted files with failing system calls: the n-th call fails, and in some tests all calls after it. n counts up
// until the run succeeds. The result is an error with a number or a complete file. The contents that a file had
// before an append are lost only when the writing itself fails, and that failure is reported.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "datasrc/CryptFile.h"
#include "tests/support/DiskOfSize.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/Seeds.h"
#include "tests/support/SpoolDirectories.h"

namespace encrypted_test {
namespace {

struct Fault {
  std::string name = {};
  CallFault fault = {};
  bool compress = false;
};

std::vector<Fault> AllFaults() {
  std::vector<Fault> faults;
  for (const auto& [name, call] : std::vector<std::pair<std::string, Call>>{{"Open", Call::open},
                                                                            {"Close", Call::close},
                                                                            {"Write", Call::write},
                                                                            {"Read", Call::read},
                                                                            {"Status", Call::status}})
    for (const bool persistent : {false, true})
      for (const bool compress : {false, true})
        faults.push_back({name + (persistent ? "Always" : "Once") + (compress ? "Coded" : "Plain"),
                          {call, EIO, persistent},
                          compress});
  return faults;
}

class EncryptedSystemFileFaults : public testing::TestWithParam<Fault> {
 protected:
  static constexpr int kColumns = 64;
  static constexpr int kRows = 700;  // of 512 bytes: more than the buffer of a stream holds

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

  // Runs the work with a failing n-th call, for each n until no call fails. After a success the file has `rows` rows.
  template <class Work>
  void TryEachCall(int rows, Work work) {
    for (int n = 1;; n += kPlaceStep) {
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

  // Stores at the end whether the fault struck.
  class Calls : public FailingCalls {
   public:
    Calls(int n, bool& struck) : FailingCalls(GetParam().fault, n), m_struck(struck) {}
    ~Calls() { m_struck = Struck(); }

   private:
    bool& m_struck;
  };

  const CheapKeys m_cheapKeys;
  const SpoolDirectories m_spool{1};
  const TempFile m_onDisk{""};
};
INSTANTIATE_TEST_SUITE_P(Calls, EncryptedSystemFileFaults, testing::ValuesIn(AllFaults()), kRowName);

TEST_P(EncryptedSystemFileFaults, WritesEverythingOrReportsTheFailure) {
  TryEachCall(kRows, [this](int n, bool& struck) {
    const Calls calls(n, struck);
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file, 0);
    file.Close();
  });
}

TEST_P(EncryptedSystemFileFaults, AppendsEverythingOrReportsTheFailure) {
  {
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file, 0);
  }
  const std::string before = m_onDisk.Bytes();
  TryEachCall(2 * kRows, [&](int n, bool& struck) {
    m_onDisk.SetBytes(before);
    SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
    const Calls calls(n, struck);
    WriteRows(file, kRows);
    file.Close();
  });
}

TEST_P(EncryptedSystemFileFaults, ReadsEverythingOrReportsTheFailure) {
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

// ---- The file after a failure ----

class EncryptedSystemFile : public testing::Test {
 protected:
  EncryptedSystemFile() {
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

// The temp directory has no space for the plain copy: nothing is written to the file, and it does not change.
TEST_F(EncryptedSystemFile, FailedPlainCopyKeepsTheFile) {
  const std::string before = m_onDisk.Bytes();
  SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
  const OBS row = NumberCell(2.5);
  file.AddRow(&row);
  {
    const FailingCalls calls({.call = Call::write, .persistent = true}, 1);
    EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
  }
  EXPECT_EQ(before, m_onDisk.Bytes());
  EXPECT_FALSE(ErrorOf([&] { file.Close(); })) << "the file is closed";
}

// The new contents would be longer than the old ones by 80 bytes, and that does not fit.
TEST_F(EncryptedSystemFile, FullDiskKeepsTheFile) {
  constexpr int kNewRows = 10;
  const std::string before = m_onDisk.Bytes();
  for (const off_t room : {0, 1, 8, 79}) {
    SCOPED_TRACE(testing::Message() << room << " bytes of room");
    SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
    const OBS row = NumberCell(2.5);
    for (int n = 0; n < kNewRows; ++n) file.AddRow(&row);
    {
      const DiskOfSize disk(static_cast<off_t>(before.size()) + room);
      const auto error = ErrorOf([&] { file.Close(); });
      ASSERT_TRUE(error);
      EXPECT_EQ(1202, error->Number());
      EXPECT_THAT(error->Text(), testing::HasSubstr(std::strerror(ENOSPC)));
    }
    ASSERT_EQ(before, m_onDisk.Bytes());
  }
  SystemFileDataSource file(m_onDisk.Name(), "swordfish", false);
  const OBS row = NumberCell(2.5);
  for (int n = 0; n < kNewRows; ++n) file.AddRow(&row);
  const DiskOfSize disk(static_cast<off_t>(before.size()) + kNewRows * 8);
  file.Close();
  EXPECT_EQ(before.size() + kNewRows * 8, m_onDisk.Bytes().size());
}

// The last step truncates the file at its new end.
TEST_F(EncryptedSystemFile, FailedTruncationIsReported) {
  m_onDisk.SetBytes(m_onDisk.Bytes());
  CryptFile file;
  ASSERT_TRUE(file.open(ExtNameStr(m_onDisk.Name()), ExtNameStr("swordfish"), ExtNameStr("rb+")));
  ASSERT_TRUE(file.decrypted().Open((m_spool.Root() + "/0/short").c_str(), "w+bTD"));
  const FailingCalls calls({.call = Call::truncate}, 1);
  EXPECT_FALSE(file.endWrite());
  EXPECT_EQ(EIO, errno);
}

}  // namespace
}  // namespace encrypted_test
