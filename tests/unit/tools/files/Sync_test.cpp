// What is on the disk, and when, while a file is made. The program has its own fsync, which notes the calls.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Columns/files/FileFailure.h"
#include "Columns/files/LockedFile.h"
#include "Columns/files/NewFile.h"
#include "tools/files/Output.h"

namespace Sync_test {
namespace {

struct Call {
  struct stat synced;    // what was synced
  std::string contents;  // of the final name at that time
};

std::filesystem::path finalName;
std::vector<Call> calls;
int callThatFails = -1;

std::string Contents() {
  std::ifstream file(finalName);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

extern "C" int fsync(int descriptor) {
  if (!finalName.empty()) {
    Call call{{}, Contents()};
    fstat(descriptor, &call.synced);
    calls.push_back(call);
    if (static_cast<int>(calls.size()) - 1 == callThatFails) {
      errno = EIO;
      return -1;
    }
  }
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace {

class Sync : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "Sync_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(name.data()));
    m_folder = name;
    finalName = m_folder / "a";
    std::ofstream(finalName) << "old";
    calls.clear();
    callThatFails = -1;
  }
  void TearDown() override {
    finalName.clear();
    std::filesystem::remove_all(m_folder);
  }
  void Make(const dstext::NewFileOptions& options = {}) const {
    tool::Output output(finalName, options);
    output.Text() += "new";
    output.Finish();
  }
  // Tests that a file of 3 bytes was synced while the name had the old contents, and the folder after that.
  static void ExpectFileThenFolder(const std::string& before) {
    ASSERT_EQ(2U, calls.size());
    EXPECT_TRUE(S_ISREG(calls[0].synced.st_mode));
    EXPECT_EQ(3, calls[0].synced.st_size);
    EXPECT_EQ(before, calls[0].contents);
    EXPECT_TRUE(S_ISDIR(calls[1].synced.st_mode));
    EXPECT_EQ("new", calls[1].contents);
  }

  std::filesystem::path m_folder;
};

TEST_F(Sync, WritesAReplacementToTheDiskBeforeItsName) {
  Make();
  ExpectFileThenFolder("old");
}

TEST_F(Sync, WritesANewFileToTheDiskBeforeItsName) {
  std::filesystem::remove(finalName);
  Make();
  ExpectFileThenFolder("");
}

TEST_F(Sync, IsOmittedOnRequest) {
  Make({.sync = false});
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ("new", Contents());
}

TEST_F(Sync, FailureOfTheFileKeepsTheOldOne) {
  callThatFails = 0;
  EXPECT_THROW(Make(), dstext::FileFailure);
  EXPECT_EQ("old", Contents());
}

TEST_F(Sync, FailureOfTheFolderIsReported) {
  callThatFails = 1;
  EXPECT_THROW(Make(), dstext::FileFailure);
}

TEST_F(Sync, OfALockedFileWritesItsContents) {
  const dstext::LockedFile file(finalName);
  file.Sync();
  ASSERT_EQ(1U, calls.size());
  struct stat status {};
  ASSERT_EQ(0, stat(finalName.c_str(), &status));
  EXPECT_EQ(status.st_ino, calls[0].synced.st_ino);
  callThatFails = 1;
  EXPECT_THROW(file.Sync(), dstext::FileFailure);
}

TEST_F(Sync, ChangeOfALockedFileKeepsIt) {
  const dstext::LockedFile file(finalName);
  EXPECT_NO_THROW(file.RefuseChange());
  std::ofstream(finalName, std::ios::app) << "er";
  EXPECT_THROW(file.RefuseChange(), dstext::FileFailure);
  EXPECT_THROW(Make({.old = &file}), dstext::FileFailure);
  EXPECT_EQ("older", Contents());
}

}  // namespace
}  // namespace Sync_test
