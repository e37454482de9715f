#include "Platform/tempdirs/QuavTempDirs.h"

#include <gmock/gmock.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <latch>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Platform/messages/ThrowError.h"

namespace QuavTempDirs_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

struct Collector : ErrorMonitor {
  void Warning(const Message& message) override {
    numbers.push_back(message.number);
    texts.push_back(message.text);
  }
  std::vector<int> numbers;
  std::vector<std::string> texts;
};

// Makes three directories, and restores the list and the variable.
class QuavTempDirsTest : public testing::Test {
 protected:
  QuavTempDirsTest() {
    std::string pattern = testing::TempDir() + "tempdirs-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the test");
    m_folder = pattern;
    for (const char* name : {"a", "b", "c"}) std::filesystem::create_directory(m_folder / name);
    if (const char* value = std::getenv("TMPDIR")) m_variable = value;
  }
  ~QuavTempDirsTest() override {
    SetVariable(m_variable.c_str());
    QuavTempDirs::Instance().SetFromEnvironment(nullptr);
    std::filesystem::remove_all(m_folder);
  }

  std::string Path(const std::string& name) const { return (m_folder / name).string(); }

  static void SetVariable(const char* value) {
    if (*value == '\0')
      unsetenv("TMPDIR");
    else
      setenv("TMPDIR", value, 1);
  }

  static std::vector<std::string> List() {
    std::vector<std::string> list;
    for (std::size_t i = 0; i < QuavTempDirs::Instance().Size(); ++i)
      list.push_back(QuavTempDirs::Instance().Directory(i));
    return list;
  }

  // Returns the number of the error that Set throws, 0 for none.
  static int ErrorOfSet(const std::vector<std::string>& directories) {
    try {
      QuavTempDirs::Instance().Set(directories, nullptr);
    } catch (const QuavServerError& error) {
      return error.Number();
    }
    return 0;
  }

  Collector m_monitor;

 private:
  std::filesystem::path m_folder;
  std::string m_variable;
};

using QuavTempDirsDeathTest = QuavTempDirsTest;

std::string TempName(const char* prefix) {
  std::array<char, kTempNameRoom> buffer;
  EXPECT_EQ(buffer.data(), FormTempName(prefix, buffer.data()));
  return buffer.data();
}

// ---- The list ----

TEST_F(QuavTempDirsTest, TakesTheDirectoriesOfTheCaller) {
  QuavTempDirs::Instance().Set({Path("a"), Path("b")}, &m_monitor);
  EXPECT_EQ(2U, QuavTempDirs::Instance().Size());
  EXPECT_THAT(List(), ElementsAre(Path("a"), Path("b")));
  EXPECT_TRUE(m_monitor.numbers.empty());
}

TEST_F(QuavTempDirsTest, TakesTheDirectoryOfTheEnvironment) {
  SetVariable(Path("b").c_str());
  QuavTempDirs::Instance().SetFromEnvironment(nullptr);
  EXPECT_THAT(List(), ElementsAre(Path("b")));
}

TEST_F(QuavTempDirsTest, TakesTheListOfTheEnvironment) {
  SetVariable((Path("b") + "::" + Path("a") + ":").c_str());
  QuavTempDirs::Instance().SetFromEnvironment(nullptr);
  EXPECT_THAT(List(), ElementsAre(Path("b"), Path("a")));
}

TEST_F(QuavTempDirsTest, TakesADirectoryWhoseNameHasAColon) {
  std::filesystem::create_directory(Path("a:b"));
  SetVariable(Path("a:b").c_str());
  QuavTempDirs::Instance().SetFromEnvironment(nullptr);
  EXPECT_THAT(List(), ElementsAre(Path("a:b")));
}

TEST_F(QuavTempDirsTest, UsesTheSystemsWhenTheVariableIsEmpty) {
  SetVariable("");
  QuavTempDirs::Instance().SetFromEnvironment(nullptr);
  EXPECT_THAT(List(), ElementsAre("/tmp"));
}

TEST_F(QuavTempDirsTest, KeepsRelativeNamesWhenTheProcessChangesItsFolder) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(Path(""));
  QuavTempDirs::Instance().Set({"a"}, nullptr);
  std::filesystem::current_path(before);
  EXPECT_THAT(List(), ElementsAre(Path("a")));
}

TEST_F(QuavTempDirsTest, WarnsOfUnusableDirectoriesAndLeavesThemOut) {
  std::ofstream(Path("file")) << "no directory";
  const std::string tooLong = Path(std::string(200, 'x'));
  std::filesystem::create_directory(tooLong);
  const std::vector<std::string> bad = {Path("none"), Path("file"), tooLong, "/proc"};
  QuavTempDirs::Instance().Set({Path("none"), Path("a"), Path("file"), tooLong, "/proc", Path("c")}, &m_monitor);
  EXPECT_THAT(List(), ElementsAre(Path("a"), Path("c")));
  EXPECT_THAT(m_monitor.numbers, ElementsAre(1004, 1004, 1004, 1004));
  for (std::size_t i = 0; i < bad.size(); ++i) EXPECT_THAT(m_monitor.texts.at(i), HasSubstr(bad[i]));
}

TEST_F(QuavTempDirsTest, LeavesOutSilentlyWithoutAMonitor) {
  QuavTempDirs::Instance().Set({Path("none"), Path("a")}, nullptr);
  EXPECT_THAT(List(), ElementsAre(Path("a")));
}

TEST_F(QuavTempDirsTest, TestFileIsRemoved) {
  QuavTempDirs::Instance().Set({Path("a")}, nullptr);
  EXPECT_TRUE(std::filesystem::is_empty(Path("a")));
}

TEST_F(QuavTempDirsTest, ThrowsWhenNoDirectoryIsUsable) {
  try {
    QuavTempDirs::Instance().Set({Path("none"), Path("nor this")}, &m_monitor);
    FAIL() << "nothing was thrown";
  } catch (const QuavServerError& error) {
    EXPECT_EQ(1001, error.Number());
    EXPECT_EQ(Path("none") + ":" + Path("nor this"), error.File());
    EXPECT_THAT(error.Text(), HasSubstr("No such file or directory"));
  }
  EXPECT_EQ(2U, m_monitor.numbers.size());
  EXPECT_EQ(0U, QuavTempDirs::Instance().Size());
}

TEST_F(QuavTempDirsTest, ThrowsForAnEmptyList) { EXPECT_EQ(1001, ErrorOfSet({})); }

TEST_F(QuavTempDirsTest, CanBeSetAgainAfterAFailure) {
  EXPECT_EQ(1001, ErrorOfSet({Path("none")}));
  EXPECT_EQ(0, ErrorOfSet({Path("a")}));
  EXPECT_THAT(List(), ElementsAre(Path("a")));
}

TEST_F(QuavTempDirsDeathTest, DirectoryPastTheLastAsserts) {
  QuavTempDirs::Instance().Set({Path("a")}, nullptr);
  EXPECT_DEATH(QuavTempDirs::Instance().Directory(1), "index < m_directories.size");
}

TEST_F(QuavTempDirsDeathTest, NextOfAnEmptyListAsserts) {
  ErrorOfSet({});
  EXPECT_DEATH(TempName("cache"), "!m_directories.empty");
}

// Runs in its own process, which has not used the list yet.
int FirstUse(const std::string& broken, const std::string& good) {
  setenv("TMPDIR", broken.c_str(), 1);
  int thrown = 0;
  try {
    TempName("cache");
  } catch (const QuavServerError& error) {
    thrown = error.Number();
  }
  setenv("TMPDIR", good.c_str(), 1);
  return thrown == 1001 && TempName("cache").starts_with(good) ? 0 : 1;
}

TEST_F(QuavTempDirsDeathTest, TriesTheEnvironmentAgainAfterAFailure) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(_exit(FirstUse("/no/such/directory", "/tmp")), testing::ExitedWithCode(0), "");
}

// Runs in its own process, which has not used the list yet.
int FirstUseByManyThreads() {
  constexpr int kThreads = 8;
  setenv("TMPDIR", "/tmp", 1);
  std::latch start(kThreads);
  std::atomic<int> names = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      if (TempName("cache").starts_with("/tmp/cache-") && QuavTempDirs::Instance().Size() == 1) ++names;
    });
  }
  for (std::thread& thread : threads) thread.join();
  return names == kThreads ? 0 : 1;
}

TEST_F(QuavTempDirsDeathTest, FirstUseByManyThreadsMakesTheListOnce) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(_exit(FirstUseByManyThreads()), testing::ExitedWithCode(0), "");
}

// ---- Names ----

TEST_F(QuavTempDirsTest, NamesUseTheDirectoriesInTurn) {
  QuavTempDirs::Instance().Set({Path("a"), Path("b"), Path("c")}, nullptr);
  std::set<std::string> directories;
  const std::string first = TempName("cache");
  for (int i = 0; i < 2; ++i) directories.insert(std::filesystem::path(TempName("cache")).parent_path());
  EXPECT_EQ(2U, directories.size());
  EXPECT_FALSE(directories.contains(std::filesystem::path(first).parent_path()));
  EXPECT_EQ(std::filesystem::path(first).parent_path(), std::filesystem::path(TempName("cache")).parent_path());
}

TEST_F(QuavTempDirsTest, NamesBeginWithThePrefix) {
  const std::string name = std::filesystem::path(TempName("decrypt")).filename();
  EXPECT_THAT(name, StartsWith("decrypt-" + std::to_string(getpid()) + "-"));
}

// Returns the number of the error that a name with a prefix of this size throws, 0 for none.
int ErrorOfPrefix(const std::string& directory, std::size_t size) {
  const std::string prefix(size, 'p');
  try {
    const std::string name = TempName(prefix.c_str());
    EXPECT_LT(name.size(), kTempNameRoom);
    EXPECT_THAT(name, StartsWith(directory + "/" + prefix + "-"));
  } catch (const QuavServerError& error) {
    EXPECT_THAT(error.Text(), HasSubstr("too long"));
    EXPECT_EQ(prefix, error.File());
    return error.Number();
  }
  return 0;
}

TEST_F(QuavTempDirsTest, NamesHaveTheWholePrefixOrAreRefused) {
  QuavTempDirs::Instance().Set({Path("a")}, nullptr);
  int refused = 0;
  for (std::size_t size = 0; size <= 300; ++size) {
    const int error = ErrorOfPrefix(Path("a"), size);
    EXPECT_TRUE(error == (refused > 0 ? 1001 : error)) << "a longer prefix fits where a shorter one does not";
    refused += error == 1001 ? 1 : 0;
  }
  EXPECT_GT(refused, 300 - static_cast<int>(kTempNameRoom));
  EXPECT_LT(refused, 200);
}

TEST_F(QuavTempDirsTest, PrefixesOf32BytesFitInEveryUsableDirectory) {
  std::string longest;
  for (std::size_t size = 1; size < 255; ++size) {
    const std::string directory = Path(std::string(size, 'd'));
    std::filesystem::create_directory(directory);
    if (ErrorOfSet({directory}) == 0) longest = directory;
  }
  QuavTempDirs::Instance().Set({longest}, nullptr);
  EXPECT_EQ(0, ErrorOfPrefix(longest, 32));
  EXPECT_EQ(1001, ErrorOfPrefix(longest, 64));
}

TEST_F(QuavTempDirsTest, NamesAreUniqueOnAllThreads) {
  std::vector<std::vector<std::string>> names(4);
  std::vector<std::thread> threads;
  for (auto& some : names) {
    threads.emplace_back([&some] {
      for (int i = 0; i < 1000; ++i) some.push_back(TempName("cache"));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> all;
  for (const auto& some : names) all.insert(some.begin(), some.end());
  EXPECT_EQ(4000U, all.size());
}

}  // namespace
}  // namespace QuavTempDirs_test
