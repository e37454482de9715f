#include "Columns/files/NewFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Columns/files/FileFailure.h"
#include "tests/support/AnotherUser.h"
#include "tests/support/TempFile.h"

namespace NewFile_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NewFile : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "NewFile_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(name.data()));
    m_folder = name;
  }
  void TearDown() override { std::filesystem::remove_all(m_folder); }

  std::string Path(const char* name) const { return m_folder / name; }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  static void Write(const dstext::NewFile& file, const char* text) {
    ASSERT_EQ(static_cast<ssize_t>(std::string_view(text).size()),
              write(file.Descriptor(), text, std::string_view(text).size()));
  }
  std::string Contents(const char* name) const {
    std::ifstream file(Path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::filesystem::path m_folder;
};

TEST_F(NewFile, GetsItsNameAtFinish) {
  dstext::NewFile file(Path("a"));
  Write(file, "text");
  file.Finish();
  EXPECT_THAT(Names(), ElementsAre("a"));
  EXPECT_EQ("text", Contents("a"));
}

TEST_F(NewFile, LeavesNothingWithoutFinish) {
  Write(dstext::NewFile(Path("a")), "text");
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(NewFile, ReplacesAnOldFileAtFinish) {
  std::ofstream(Path("a")) << "old";
  dstext::NewFile file(Path("a"));
  Write(file, "new");
  EXPECT_EQ("old", Contents("a"));
  file.Finish();
  EXPECT_EQ("new", Contents("a"));
  EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(NewFile, ReplacesAFileThatAppearedMeanwhile) {
  dstext::NewFile file(Path("a"));
  Write(file, "new");
  std::ofstream(Path("a")) << "another";
  file.Finish();
  EXPECT_EQ("new", Contents("a"));
  EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(NewFile, CanBeWrittenThroughItsPath) {
  dstext::NewFile file(Path("a"));
  std::ofstream(file.Path()) << "by others";
  file.Finish();
  EXPECT_EQ("by others", Contents("a"));
}

TEST_F(NewFile, KeepsASymbolicLink) {
  std::ofstream(Path("a")) << "old";
  std::filesystem::create_symlink("a", Path("link"));
  dstext::NewFile file(Path("link"));
  Write(file, "new");
  file.Finish();
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_EQ("new", Contents("a"));
}

// No file can be created in /proc.
TEST_F(NewFile, ThrowsWhenItCannotBeCreated) { EXPECT_THROW(dstext::NewFile("/proc/none"), dstext::FileFailure); }

TEST(UnwritableOutput, IsRefusedWithItsReason) {
  const TempFile file("contents");
  const auto refusal = [](const std::string& path) {
    try {
      dstext::RefuseUnwritableOutput(path);
    } catch (const dstext::FileFailure& failure) {
      EXPECT_EQ(path, failure.File());
      return std::string(failure.what());
    }
    return std::string();
  };
  EXPECT_EQ("", refusal(file.Name()));
  EXPECT_EQ("", refusal(file.Directory() + "/none"));
  EXPECT_EQ("", refusal(file.Directory() + "/none/none"));
  EXPECT_EQ("the output is not a regular file (Is a directory)", refusal(file.Directory()));
  EXPECT_EQ("the output is not a regular file", refusal("/dev/null"));
  std::filesystem::permissions(file.Name(), std::filesystem::perms::owner_read);
  GiveAway({file.Name(), file.Directory()});
  EXPECT_EXIT(
      WorkAsNobody([&] { EXPECT_EQ("the output may not be written (Permission denied)", refusal(file.Name())); }),
      testing::ExitedWithCode(0), "");
}

TEST_F(NewFile, RefusesToReplaceTheInput) {
  std::ofstream(Path("a")) << "text";
  std::filesystem::create_hard_link(Path("a"), Path("b"));
  EXPECT_THROW(dstext::RefuseToReplaceInput(Path("a"), Path("b")), dstext::FileFailure);
  EXPECT_NO_THROW(dstext::RefuseToReplaceInput(Path("a"), Path("c")));
}

}  // namespace
}  // namespace NewFile_test
