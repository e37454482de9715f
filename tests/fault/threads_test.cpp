// The system cannot start a thread: code that needs its own threads reports the system's reason, or works without them.
//
// Each test runs in its own process, whose user may not start more threads.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <thread>

#include "datasrc/QUAV_TempFile.h"
#include "datasrc/Settings.h"
#include "datasrc/TempFileDataStore.h"
#include "tests/support/AnotherUser.h"
#include "tests/support/Reading.h"
#include "tests/support/SpoolDirectories.h"

namespace threads_test {
namespace {

// No thread can start as long as the object lives.
class NoThreads {
 public:
  NoThreads() {
    getrlimit(RLIMIT_NPROC, &m_before);
    const rlimit none{0, m_before.rlim_max};
    setrlimit(RLIMIT_NPROC, &none);
    EXPECT_THROW(std::thread([] {}).join(), std::system_error);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;
  ~NoThreads() { setrlimit(RLIMIT_NPROC, &m_before); }

 private:
  rlimit m_before{};
};

class WithoutThreadsDeathTest : public testing::Test {
 protected:
  WithoutThreadsDeathTest() {
    setOption(1);
    GiveAway({m_directories.Root(), m_directories.Root() + "/0", m_onDisk.Directory(), m_onDisk.Name()});
  }
  ~WithoutThreadsDeathTest() override { setOption(0); }

  const SpoolDirectories m_directories{1};
  const TempFile m_onDisk{""};
};

constexpr int kRows = 200'000;  // about ten zlib blocks

void Fill(IndependentDataStore& store) {
  for (int row = 0; row < kRows; ++row) {
    const OBS cell = NumberCell(row + 0.5);
    store.AddRow(&cell);
  }
  store.Close();
}

void ExpectRefused(int number, const std::optional<QuavServerError>& error) {
  ASSERT_TRUE(error);
  EXPECT_EQ(number, error->Number());
  EXPECT_THAT(error->what(), testing::HasSubstr(std::strerror(EAGAIN)));
}

void ExpectWhole(QUAV_InputCaseIterator& cases) {
  int row = 0;
  for (; cases.Next() != 0; ++row) ASSERT_EQ(row + 0.5, cases.GetNumericValue(0));
  EXPECT_EQ(kRows, row);
}

TEST_F(WithoutThreadsDeathTest, CompressedStoreRejectsRows) {
  const auto work = [] {
    const NoThreads noThreads;
    TempFileDataStore store(nullptr);
    store.MakeVariable(0, nullptr).SetName("A");
    ExpectRefused(1002, ErrorOf([&] { Fill(store); }));
  };
  EXPECT_EXIT(WorkAsNobody(work), testing::ExitedWithCode(0), "");
}

TEST_F(WithoutThreadsDeathTest, CompressedStoreIsReadOnceThreadsAreAvailable) {
  const auto work = [] {
    TempFileDataStore store(nullptr);
    store.MakeVariable(0, nullptr).SetName("A");
    Fill(store);
    const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
    {
      const NoThreads noThreads;
      ExpectRefused(1003, ErrorOf([&] { cases->Next(); }));
      EXPECT_EQ(0, cases->Tell());
    }
    ExpectWhole(*cases);
  };
  EXPECT_EXIT(WorkAsNobody(work), testing::ExitedWithCode(0), "");
}

TEST_F(WithoutThreadsDeathTest, SortFileIsNotCreated) {
  const auto work = [this] {
    const NoThreads noThreads;
    ExpectRefused(1001, ErrorOf([] { const QUAV_TempFile file("sort"); }));
    EXPECT_TRUE(m_directories.AreEmpty());
  };
  EXPECT_EXIT(WorkAsNobody(work), testing::ExitedWithCode(0), "");
}

TEST_F(WithoutThreadsDeathTest, ZlibFileIsStillWrittenAndRead) {
  const auto work = [this] {
    const NoThreads noThreads;
    SystemFileDataSource written;
    written.MakeVariable(0, nullptr).SetName("A");
    written.SetCompressionLevel(2);
    written.SetFileSpec(m_onDisk.Name().c_str());
    written.CommitDictionary();
    Fill(written);
    const SystemFileDataSource file(m_onDisk.Name(), "", false);
    ExpectWhole(*std::unique_ptr<QUAV_InputCaseIterator>(file.MakeIterator(nullptr)));
  };
  EXPECT_EXIT(WorkAsNobody(work), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace threads_test
