// Writes and appends with failing system calls: the n-th call fails, and in some tests all calls after it. n counts
// up until the run succeeds. The result is an error with its number and the system's reason, or a complete file. A
// run with a bad file never reports success.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/DiskOfSize.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/Seeds.h"

namespace writing_test {
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

  // The close has succeeded, so the file has all rows. Its count may still be unknown, then a reader counts the rows;
  // but it is not an old one.
  void ExpectWhole() {
    const SystemFileDataSource file(m_onDisk.Name(), "", false);
    EXPECT_THAT(file.RowCount(), testing::AnyOf(-1, m_rows));
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    int row = 0;
    for (; cases->Next() != 0; ++row) ASSERT_EQ(Row(row), PresentCells(*cases));
    EXPECT_EQ(m_rows, row);
  }

  // After a failure the file has the first rows, at least `least` of them, and all that it counts.
  void ExpectBeginning(int least) {
    int row = 0;
    long long count = -1;
    const auto error = ErrorOf([&] {
      const SystemFileDataSource file(m_onDisk.Name(), "", false);
      count = file.RowCount();
      const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
      for (; cases->Next() != 0; ++row) ASSERT_EQ(Row(row), PresentCells(*cases)) << row;
    });
    EXPECT_LE(std::max<long long>(count, least), row) << (error ? error->Text() : "");
    EXPECT_GE(m_rows, count);
  }

  // Runs the work with a failing n-th call, for each n until no call fails.
  template <class Work>
  void TryEachCall(int least, Work work) {
    for (int n = 1;; n += kPlaceStep) {
      SCOPED_TRACE("call " + std::to_string(n));
      const auto error = ErrorOf([&] { work(n); });
      if (error) {
        EXPECT_TRUE(FailingCalls::Struck());
        ExpectReported(*error);
        ExpectBeginning(least);
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
  TryEachCall(0, [this](int n) {
    m_rows = 0;
    const FailingCalls calls(GetParam().fault, n);
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file);
    file.Close();
  });
}

TEST_P(SystemFileWritingFaults, AppendsEverythingOrReportsTheFailure) {
  {
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file);
  }
  const std::string before = m_onDisk.Bytes();
  TryEachCall(kRows, [&](int n) {
    m_onDisk.SetBytes(before);
    m_rows = kRows;
    SystemFileDataSource file(m_onDisk.Name(), "", false);
    const FailingCalls calls(GetParam().fault, n);
    WriteRows(file);
    file.Close();
  });
}

// A source whose append cannot begin stays readable.
TEST_P(SystemFileWritingFaults, FailedFirstRowOfAnAppendLeavesTheSourceReadable) {
  {
    SystemFileDataSource file;
    Commit(file);
    WriteRows(file);
  }
  for (int n = 1;; ++n) {
    SCOPED_TRACE("call " + std::to_string(n));
    SystemFileDataSource file(m_onDisk.Name(), "", false);
    std::optional<QuavServerError> error;
    {
      const FailingCalls calls(GetParam().fault, n);
      error = ErrorOf([&] { file.AddRow(Row(m_rows).data()); });
    }
    if (error) ExpectReported(*error);
    // If the append had begun, it ends first, and that is reported again.
    const bool hadBegun = error && error->Number() == 1202;
    EXPECT_EQ(hadBegun, ErrorOf([&] { file.Close(); }).has_value());
    const auto rows = AllCells(file);
    EXPECT_EQ(static_cast<std::size_t>(error ? m_rows : ++m_rows), rows.size());
    for (int row = 0; row < m_rows; ++row) ASSERT_EQ(Row(row), rows[static_cast<std::size_t>(row)]);
    if (!error && !FailingCalls::Struck()) break;
  }
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

// Rows of one numeric variable, in each compression.
class FailedWritingOf : public testing::TestWithParam<int> {
 protected:
  FailedWritingOf() {
    m_file.MakeVariable(0, nullptr).SetName("A");
    m_file.SetCompressionLevel(GetParam());
    m_file.SetFileSpec(m_onDisk.Name().c_str());
  }
  static std::vector<OBS> Row(int number) { return {NumberCell(number + 0.5)}; }
  void Add(int count) {
    for (; count > 0; --count) m_file.AddRow(Row(m_rows++).data());
  }
  // Adds rows until one fails. Returns the number of the error.
  int AddUntilOneFails() {
    for (;; ++m_rows)
      if (const auto error = ErrorOf([&] { m_file.AddRow(Row(m_rows).data()); })) return error->Number();
  }
  // Expects that the file opens and has `count` rows, all that it counts.
  void ExpectRows(int count) {
    const SystemFileDataSource file(m_onDisk.Name(), "", false);
    EXPECT_EQ(count, file.RowCount());
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    for (int row = 0; row < count; ++row) {
      ASSERT_TRUE(cases->Next());
      ASSERT_EQ(Row(row), PresentCells(*cases));
    }
  }

  const TempFile m_onDisk{""};
  SystemFileDataSource m_file;
  int m_rows = 0;
};
INSTANTIATE_TEST_SUITE_P(Levels, FailedWritingOf, testing::Values(0, 1, 2));

TEST_P(FailedWritingOf, TheCountAfterAnAppendIsReported) {
  Add(3);
  m_file.Close();
  Add(2);
  {
    const FailingCalls calls({.call = Call::open, .reason = EACCES, .persistent = true}, 1);
    const auto error = ErrorOf([&] { m_file.Close(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(1202, error->Number());
    EXPECT_THAT(error->Text(), testing::HasSubstr(std::strerror(EACCES)));
  }
  EXPECT_EQ(3, SystemFileDataSource(m_onDisk.Name(), "", false).RowCount());
  EXPECT_EQ(5, m_file.RowCount());
  EXPECT_EQ(5u, AllCells(m_file).size());
}

TEST_P(FailedWritingOf, TheCountIsMadeUpForByTheNextAppend) {
  Add(3);
  m_file.Close();
  Add(2);
  {
    const FailingCalls calls({.call = Call::open, .reason = EACCES}, 1);
    EXPECT_EQ(1202, ErrorOf([&] { m_file.Close(); })->Number());
  }
  Add(1);
  m_file.Close();
  ExpectRows(6);
}

TEST_P(FailedWritingOf, ARowCountsTheRowsThatAreWhole) {
  Add(3);
  m_file.Close();
  {
    const FailingCalls calls(
        {.call = GetParam() == 0 ? Call::append : Call::write, .reason = ENOSPC, .persistent = true}, 2);
    EXPECT_EQ(1202, AddUntilOneFails());
  }
  EXPECT_EQ(1202, ErrorOf([&] { m_file.Close(); })->Number());
  const SystemFileDataSource file(m_onDisk.Name(), "", false);
  EXPECT_LT(1000, file.RowCount()) << "the first write succeeded";
  EXPECT_GE(m_rows, file.RowCount());
  EXPECT_EQ(m_file.RowCount(), file.RowCount());
  ExpectRows(static_cast<int>(file.RowCount()));
}

// The last old rows of a file of case codes are in the group that also gets the first new ones: it is written again.
TEST_P(FailedWritingOf, AnAppendToAFullDiskLosesNoOldRow) {
  Add(3);
  m_file.Close();
  const std::string before = m_onDisk.Bytes();
  for (off_t room = 0; room < 100; ++room) {
    SCOPED_TRACE(testing::Message() << room << " bytes of room");
    m_onDisk.SetBytes(before);
    SystemFileDataSource file(m_onDisk.Name(), "", false);
    {
      const DiskOfSize disk(static_cast<off_t>(before.size()) + room);
      for (int row = 3; row < 40; ++row) file.AddRow(Row(row).data());
      ASSERT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
    }
    ASSERT_LE(3, file.RowCount());
    ASSERT_NO_FATAL_FAILURE(ExpectRows(static_cast<int>(file.RowCount())));
  }
}

}  // namespace
}  // namespace writing_test
