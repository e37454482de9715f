// Writes and appends with failing system calls: the n-th call fails, and in some tests all calls after it. n counts
// up until the run succeeds. The result is an error with its number and the system's reason, or a complete file. A
// run with a bad file never reports success.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/FailingCalls.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace {

struct Fault {
  std::string name = {};
  CallFault fault = {};
  int compression = 0;
};

std::vector<Fault> AllFaults() {
  std::vector<Fault> faults;
  for (const auto& [name, call] : std::vector<std::pair<std::string, Call>>{{"Open", Call::open},
                                                                            {"Close", Call::close},
                                                                            {"Write", Call::write},
                                                                            {"Append", Call::append},
                                                                            {"Read", Call::read},
                                                                            {"Status", Call::status},
                                                                            {"Truncate", Call::truncate}})
    for (const int reason : {EIO, ENOSPC})
      for (const bool persistent : {false, true})
        for (const int compression : {0, 1, 2})
          faults.push_back({name + (reason == EIO ? "Eio" : "Enospc") + (persistent ? "Always" : "Once") +
                                std::array{"Plain", "Coded", "Zlib"}[static_cast<std::size_t>(compression)],
                            {call, reason, persistent},
                            compression});
  return faults;
}

class SystemFileWritingFaults : public testing::TestWithParam<Fault> {
 protected:
  static constexpr int kColumns = 64;
  static constexpr int kRows = 700;  // of 512 bytes: more than the buffer of the stream holds

  static std::vector<OBS> Row(int number) {
    std::vector<OBS> cells;
    for (int column = 0; column < kColumns; ++column) cells.push_back(NumberCell(number + column * 0.125));
    return cells;
  }

  void Commit(SystemFileDataSource& file) {
    for (int column = 0; column < kColumns; ++column)
      file.MakeVariable(0, nullptr).SetName(("V" + std::to_string(column)).c_str());
    file.SetCompressionLevel(GetParam().compression);
    file.SetFileSpec(m_onDisk.Name().c_str());
    file.CommitDictionary();
  }

  void WriteRows(SystemFileDataSource& file) {
    for (int i = 0; i < kRows; ++i) {
      file.AddRow(Row(m_rows).data());
      ++m_rows;
    }
  }

  void ExpectReported(const QuavServerError& error) {
    EXPECT_THAT(error.Number(), testing::AnyOf(1201, 1202, 1205));
    EXPECT_EQ(m_onDisk.Name(), error.File());
    EXPECT_THAT(error.Text(), testing::HasSubstr(std::strerror(GetParam().fault.reason)));
  }

  // The run reported success, so the file has all rows. Its count may still be unknown or old: a failure to store the
  // count is no error, because a reader counts the rows.
  void ExpectWhole() {
    const SystemFileDataSource file(m_onDisk.Name(), "", false);
    EXPECT_THAT(file.RowCount(), testing::AnyOf(-1, m_rows, m_rows - kRows));
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    int row = 0;
    for (; cases->Next() != 0; ++row) ASSERT_EQ(Row(row), PresentCells(*cases));
    EXPECT_EQ(m_rows, row);
  }

  // Runs the work with a failing n-th call, for each n until no call fails.
  template <class Work>
  void TryEachCall(Work work) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      const auto error = ErrorOf([&] { work(n); });
      if (error) {
        EXPECT_TRUE(FailingCalls::Struck());
        ExpectReported(*error);
        continue;
      }
      ExpectWhole();
      if (FailingCalls::Struck()) continue;
      EXPECT_EQ(m_rows, SystemFileDataSource(m_onDisk.Name(), "", false).RowCount());
      break;
    }
  }

  const TempFile m_onDisk{""};
  int m_rows = 0;
};
INSTANTIATE_TEST_SUITE_P(Calls, SystemFileWritingFaults, testing::ValuesIn(AllFaults()), kRowName);

TEST_P(SystemFileWritingFaults, WritesEverythingOrReportsTheFailure) {
  TryEachCall([this](int n) {
    m_rows = 0;
    const FailingCalls calls(GetParam().fault, n);
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file);
    file.Close();
  });
}

TEST_P(SystemFileWritingFaults, AppendsEverythingOrReportsTheFailure) {
  TryEachCall([this](int n) {
    m_rows = 0;
    {
      SystemFileDataSource file;
      Commit(file);
      WriteRows(file);
    }
    SystemFileDataSource file(m_onDisk.Name(), "", false);
    const FailingCalls calls(GetParam().fault, n);
    WriteRows(file);
    file.Close();
  });
}

// ---- The rules of the writer ----

TEST(SystemFileWriting, FailedRowFailsAgainAndCloseReportsIt) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("A");
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  const OBS row = NumberCell(1.5);
  {
    const FailingCalls calls({.call = Call::write, .reason = ENOSPC, .persistent = true}, 1);
    std::optional<QuavServerError> error;
    while (!error) error = ErrorOf([&] { file.AddRow(&row); });
    EXPECT_EQ(1202, error->Number());
    EXPECT_EQ(1202, ErrorOf([&] { file.AddRow(&row); })->Number());
  }
  EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
  EXPECT_FALSE(ErrorOf([&] { file.Close(); })) << "the file is closed";
}

TEST(SystemFileWriting, FirstRowReportsAFailedDictionary) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  const std::string longLabel(300'000, 'x');  // more than the buffer of the stream holds
  file.MakeVariable(0, nullptr).SetName("A");
  file.GetVariable(0).SetLabel(longLabel.c_str());
  file.SetFileSpec(onDisk.Name().c_str());
  {
    const FailingCalls calls({.call = Call::write, .reason = EIO}, 1);
    EXPECT_FALSE(ErrorOf([&] { file.CommitDictionary(); }));
  }
  const OBS row = NumberCell(1.5);
  EXPECT_EQ(1202, ErrorOf([&] { file.AddRow(&row); })->Number());
  EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
}

TEST(SystemFileWriting, CloseWithoutARowReportsAFailedDictionary) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("A");
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  const FailingCalls calls({.call = Call::write, .reason = EIO, .persistent = true}, 1);
  EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
}

TEST(SystemFileWriting, FailedCountPatchKeepsTheFile) {
  const TempFile onDisk("");
  {
    SystemFileDataSource file;
    file.MakeVariable(0, nullptr).SetName("A");
    file.SetFileSpec(onDisk.Name().c_str());
    file.CommitDictionary();
    const OBS row = NumberCell(1.5);
    file.AddRow(&row);
    const FailingCalls calls({.call = Call::open, .reason = EACCES, .persistent = true}, 1);
    EXPECT_FALSE(ErrorOf([&] { file.Close(); }));
  }
  const SystemFileDataSource file(onDisk.Name(), "", false);
  EXPECT_EQ(-1, file.RowCount());
  EXPECT_EQ(1u, AllCells(file).size());
  EXPECT_EQ(1, file.RowCount());
}

}  // namespace
