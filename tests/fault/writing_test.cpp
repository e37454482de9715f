// Writing and appending with system calls that fail, the n-th and perhaps all behind it, n counting up until all goes
// well: an error with its number and the system's reason, or a file that is whole. Success is never told of a bad file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace {

enum Call { kOpen, kClose, kWrite, kAppend, kRead, kStatus };

// The system's calls, of which the n-th of one kind fails, and with `persistent` all behind it.
class FailingCalls {
 public:
  FailingCalls(Call call, int n, int reason, bool persistent) : m_before(PresentFileCalls()) {
    s_real = m_before;
    s_call = call;
    s_n = n;
    s_count = 0;
    s_reason = reason;
    s_persistent = persistent;
    PresentFileCalls() = {
        [](const char* name, int flags, mode_t mode) { return Fails(kOpen) ? -1 : s_real.open(name, flags, mode); },
        // The system closes a file all the same.
        [](int file) {
          const int answer = s_real.close(file);
          return Fails(kClose) ? -1 : answer;
        },
        [](int file, void* to, std::size_t size, off_t at) -> ssize_t {
          return Fails(kRead) ? -1 : s_real.pread(file, to, size, at);
        },
        [](int file, const void* from, std::size_t size, off_t at) -> ssize_t {
          return Fails(kWrite) ? -1 : s_real.pwrite(file, from, size, at);
        },
        [](int file, const void* from, std::size_t size) -> ssize_t {
          return Fails(kAppend) ? -1 : s_real.write(file, from, size);
        },
        [](int file, struct stat* answer) { return Fails(kStatus) ? -1 : s_real.fstat(file, answer); },
        m_before.fadvise};
  }
  ~FailingCalls() { PresentFileCalls() = m_before; }

  bool Struck() const { return s_count >= s_n; }

 private:
  static bool Fails(Call call) {
    if (call != s_call) return false;
    ++s_count;
    if (s_persistent ? s_count < s_n : s_count != s_n) return false;
    errno = s_reason;
    return true;
  }

  inline static FileCalls s_real;
  inline static Call s_call;
  inline static int s_n;
  inline static int s_count;
  inline static int s_reason;
  inline static bool s_persistent;
  FileCalls m_before;
};

struct Fault {
  std::string name;
  Call call;
  int reason;
  bool persistent;
  bool compress;
};

std::vector<Fault> AllFaults() {
  std::vector<Fault> faults;
  for (const auto& [name, call] : std::vector<std::pair<std::string, Call>>{{"Open", kOpen},
                                                                            {"Close", kClose},
                                                                            {"Write", kWrite},
                                                                            {"Append", kAppend},
                                                                            {"Read", kRead},
                                                                            {"Status", kStatus}})
    for (const int reason : {EIO, ENOSPC})
      for (const bool persistent : {false, true})
        for (const bool compress : {false, true})
          faults.push_back({name + (reason == EIO ? "Eio" : "Enospc") + (persistent ? "Always" : "Once") +
                                (compress ? "Coded" : "Plain"),
                            call, reason, persistent, compress});
  return faults;
}

class FaultyWriting : public testing::TestWithParam<Fault> {
 protected:
  static constexpr int kColumns = 64;
  static constexpr int kRows = 700;  // of 512 bytes: more than the stream holds

  static std::vector<OBS> Row(int number) {
    std::vector<OBS> cells;
    for (int column = 0; column < kColumns; ++column) cells.push_back(NumberCell(number + column * 0.125));
    return cells;
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
    EXPECT_THAT(error.Text(), testing::HasSubstr(std::strerror(GetParam().reason)));
  }

  // Success has been told, so the file has all rows.
  void ExpectWhole() {
    const SystemFileDataSource file(m_onDisk.Name(), "", false);
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    int row = 0;
    for (; cases->Next() != 0; ++row) ASSERT_EQ(Row(row), PresentCells(*cases));
    EXPECT_EQ(m_rows, row);
    EXPECT_EQ(m_rows, file.RowCount());
  }

  const TempFile m_onDisk{""};
  int m_rows = 0;
};
INSTANTIATE_TEST_SUITE_P(Calls, FaultyWriting, testing::ValuesIn(AllFaults()), kRowName);

TEST_P(FaultyWriting, IsReportedOrWhole) {
  for (int n = 1;; ++n) {
    SCOPED_TRACE("call " + std::to_string(n));
    m_rows = 0;
    bool struck = false;
    const auto error = ErrorOf([&] {
      const Fault& fault = GetParam();
      const FailingCalls calls(fault.call, n, fault.reason, fault.persistent);
      SystemFileDataSource file;
      for (int column = 0; column < kColumns; ++column)
        file.MakeVariable(0, nullptr).SetName(("V" + std::to_string(column)).c_str());
      file.SetCompression(fault.compress);
      file.SetFileSpec(m_onDisk.Name().c_str());
      struct NoteWhetherItStruck {
        const FailingCalls& calls;
        bool& struck;
        ~NoteWhetherItStruck() { struck = calls.Struck(); }
      } note{calls, struck};
      file.CommitDictionary();
      WriteRows(file);
      file.Close();
    });
    if (error) {
      EXPECT_TRUE(struck);
      ExpectReported(*error);
    } else {
      // What fails in the telling of the count is no failure: the rows are there, and a reader counts them.
      const SystemFileDataSource file(m_onDisk.Name(), "", false);
      EXPECT_EQ(static_cast<std::size_t>(m_rows), AllCells(file).size());
      if (!struck) {
        ExpectWhole();
        break;
      }
    }
  }
}

TEST_P(FaultyWriting, OfAppendedRowsIsReportedOrWhole) {
  const Fault& fault = GetParam();
  for (int n = 1;; ++n) {
    SCOPED_TRACE("call " + std::to_string(n));
    m_rows = 0;
    {
      SystemFileDataSource file;
      for (int column = 0; column < kColumns; ++column)
        file.MakeVariable(0, nullptr).SetName(("V" + std::to_string(column)).c_str());
      file.SetCompression(fault.compress);
      file.SetFileSpec(m_onDisk.Name().c_str());
      file.CommitDictionary();
      file.AddRow(Row(m_rows++).data());
    }
    bool struck = false;
    const auto error = ErrorOf([&] {
      SystemFileDataSource file(m_onDisk.Name(), "", false);
      const FailingCalls calls(fault.call, n, fault.reason, fault.persistent);
      struct NoteWhetherItStruck {
        const FailingCalls& calls;
        bool& struck;
        ~NoteWhetherItStruck() { struck = calls.Struck(); }
      } note{calls, struck};
      WriteRows(file);
      file.Close();
    });
    if (error) {
      EXPECT_TRUE(struck);
      ExpectReported(*error);
    } else {
      const SystemFileDataSource file(m_onDisk.Name(), "", false);
      EXPECT_EQ(static_cast<std::size_t>(m_rows), AllCells(file).size());
      if (!struck) break;
    }
  }
}

// ---- What the writer's own rules say ----

TEST(FailedWriting, OfARowIsNotCountedAndFailsAgain) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("A");
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  const OBS row = NumberCell(1.5);
  int rows = 0;
  {
    const FailingCalls calls(kWrite, 1, ENOSPC, true);
    std::optional<QuavServerError> error;
    while (!(error = ErrorOf([&] { file.AddRow(&row); }))) ++rows;
    EXPECT_EQ(1202, error->Number());
    EXPECT_EQ(1202, ErrorOf([&] { file.AddRow(&row); })->Number());
  }
  EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
  EXPECT_FALSE(ErrorOf([&] { file.Close(); })) << "it is closed";
}

TEST(FailedWriting, OfTheDictionaryIsSeenByTheFirstRow) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  const std::string longLabel(300'000, 'x');  // more than the stream holds
  file.MakeVariable(0, nullptr).SetName("A");
  file.GetVariable(0).SetLabel(longLabel.c_str());
  file.SetFileSpec(onDisk.Name().c_str());
  {
    const FailingCalls calls(kWrite, 1, EIO, false);
    EXPECT_FALSE(ErrorOf([&] { file.CommitDictionary(); }));
  }
  const OBS row = NumberCell(1.5);
  EXPECT_EQ(1202, ErrorOf([&] { file.AddRow(&row); })->Number());
  EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
}

TEST(FailedWriting, OfTheDictionaryIsSeenByCloseWithoutARow) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("A");
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  const FailingCalls calls(kWrite, 1, EIO, true);
  EXPECT_EQ(1202, ErrorOf([&] { file.Close(); })->Number());
}

TEST(FailedWriting, OfTheCountLeavesTheFileAsItWas) {
  const TempFile onDisk("");
  {
    SystemFileDataSource file;
    file.MakeVariable(0, nullptr).SetName("A");
    file.SetFileSpec(onDisk.Name().c_str());
    file.CommitDictionary();
    const OBS row = NumberCell(1.5);
    file.AddRow(&row);
    const FailingCalls calls(kOpen, 1, EACCES, true);
    EXPECT_FALSE(ErrorOf([&] { file.Close(); }));
  }
  const SystemFileDataSource file(onDisk.Name(), "", false);
  EXPECT_EQ(-1, file.RowCount());
  EXPECT_EQ(1u, AllCells(file).size());
  EXPECT_EQ(1, file.RowCount());
}

}  // namespace
