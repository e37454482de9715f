#include "systemfile/FileStamp.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/TempFile.h"

namespace FileStamp_test {
namespace {

FileStamp StampOf(const std::string& name) {
  QUAV_FileStream stream;
  EXPECT_TRUE(stream.Open(name.c_str(), "rb"));
  return FileStamp::Of(stream);
}

TEST(FileStamp, MatchesTheSameFileInTheSameState) {
  for (const std::size_t size : {0UL, 1UL, 71UL, 72UL, 73UL, 1000UL}) {
    const TempFile file(std::string(size, 'x'));
    EXPECT_TRUE(StampOf(file.Name()).Matches(StampOf(file.Name()))) << size;
  }
}

TEST(FileStamp, DiffersByTheLength) {
  const TempFile file(std::string(100, 'x'));
  const FileStamp before = StampOf(file.Name());
  for (const std::size_t size : {99UL, 101UL}) {
    file.SetBytes(std::string(size, 'x'));
    EXPECT_FALSE(before.Matches(StampOf(file.Name()))) << size;
  }
}

TEST(FileStamp, DiffersByEachOfTheLast72Bytes) {
  std::string bytes(100, 'x');
  const TempFile file(bytes);
  const FileStamp before = StampOf(file.Name());
  for (std::size_t place = 0; place < bytes.size(); ++place) {
    bytes[place] = 'y';
    file.SetBytes(bytes);
    EXPECT_EQ(place < 100 - 72, before.Matches(StampOf(file.Name()))) << place;
    bytes[place] = 'x';
  }
}

TEST(FileStamp, DiffersFromThatOfACopy) {
  const TempFile file(std::string(100, 'x'));
  const std::string copy = file.Directory() + "/copy";
  std::filesystem::copy_file(file.Name(), copy);
  EXPECT_FALSE(StampOf(file.Name()).Matches(StampOf(copy)));
  std::filesystem::remove(copy);
  std::filesystem::create_hard_link(file.Name(), copy);
  EXPECT_TRUE(StampOf(file.Name()).Matches(StampOf(copy)));
}

TEST(FileStamp, OfNoFileMatchesNothing) {
  const TempFile file("bytes");
  EXPECT_FALSE(FileStamp().Matches(FileStamp()));
  EXPECT_FALSE(FileStamp().Matches(StampOf(file.Name())));
  EXPECT_FALSE(StampOf(file.Name()).Matches(FileStamp()));
  const QUAV_FileStream closed;
  EXPECT_FALSE(FileStamp::Of(closed).IsKnown());
}

TEST(FileStamp, IsUnknownForAFileThatCannotBeRead) {
  const TempFile file("bytes");
  QUAV_FileStream stream;
  ASSERT_TRUE(stream.Open(file.Name().c_str(), "ab"));
  EXPECT_FALSE(FileStamp::Of(stream).IsKnown());
}

}  // namespace
}  // namespace FileStamp_test
