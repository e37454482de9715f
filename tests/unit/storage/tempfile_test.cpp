#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "Platform/stream/FileCalls.h"
#include "datasrc/QUAV_TempFile.h"
#include "datasrc/Settings.h"
#include "storage/CompressedStream.h"
#include "tests/support/Reading.h"
#include "tests/support/SpoolDirectories.h"

namespace tempfile_test {
namespace {

constexpr std::size_t kStripe = 65536;

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i ^ i >> 8 ^ i >> 16) & 0xff);
  return bytes;
}

std::string Read(QUAV_TempFile& file, unsigned long count) {
  std::string bytes(count, '\0');
  bytes.resize(file.Read(bytes.data(), count));
  return bytes;
}

unsigned long Write(QUAV_TempFile& file, const std::string& bytes) { return file.Write(bytes.data(), bytes.size()); }

std::string ReadAll(QUAV_TempFile& file) {
  file.Seek(0, kSeekFromStart);
  return Read(file, 100 * kStripe);
}

// Returns the stripes of one of n files, as they must be on disk.
std::string StripesOf(const std::string& bytes, std::size_t file, std::size_t n) {
  std::string stripes;
  for (std::size_t start = file * kStripe; start < bytes.size(); start += n * kStripe)
    stripes += bytes.substr(start, kStripe);
  return stripes;
}

class TempFileTest : public testing::TestWithParam<std::size_t> {
 protected:
  std::vector<std::string> OnDisk(QUAV_TempFile& file) const {
    EXPECT_EQ(0, file.Flush());
    std::vector<std::string> files;
    for (const std::string& name : StripeNames(file.Name())) files.push_back(BytesOnDisk(name));
    return files;
  }

  const std::size_t n = GetParam();
  const SpoolDirectories m_directories{n};
};

// ---- Bytes on disk ----

TEST_P(TempFileTest, WritesStripesToTheFilesInTurn) {
  const std::string bytes = Pattern(7 * kStripe + 1234);
  QUAV_TempFile file("cache", false);
  EXPECT_EQ(bytes.size(), Write(file, bytes));
  const std::vector<std::string> files = OnDisk(file);
  ASSERT_EQ(n, files.size());
  for (std::size_t i = 0; i < n; ++i) EXPECT_TRUE(files[i] == StripesOf(bytes, i, n)) << "file " << i;
}

TEST_P(TempFileTest, StripesDoNotDependOnTheSizeOfTheWrites) {
  const std::string bytes = Pattern(3 * kStripe + 77);
  for (const std::size_t piece : {std::size_t{1000}, kStripe - 1, kStripe, kStripe + 1}) {
    QUAV_TempFile file("cache", false);
    for (std::size_t at = 0; at < bytes.size(); at += piece) Write(file, bytes.substr(at, piece));
    const std::vector<std::string> files = OnDisk(file);
    for (std::size_t i = 0; i < n; ++i) EXPECT_TRUE(files[i] == StripesOf(bytes, i, n)) << "pieces of " << piece;
    EXPECT_TRUE(ReadAll(file) == bytes);
  }
}

TEST_P(TempFileTest, ReadsFromAnyPosition) {
  const std::string bytes = Pattern(5 * kStripe);
  QUAV_TempFile file("cache", true);
  Write(file, bytes);
  for (const std::size_t at : {std::size_t{0}, kStripe - 3, kStripe, 2 * kStripe + 1, 4 * kStripe + 100}) {
    file.Seek(static_cast<long>(at), kSeekFromStart);
    EXPECT_TRUE(Read(file, kStripe + 10) == bytes.substr(at, kStripe + 10)) << at;
  }
}

// An enciphered byte may equal the plain one by chance, but not in each of many files, which have different key streams.
TEST_P(TempFileTest, EncryptsEveryByteWithTheFlag) {
  const std::string bytes(3 * kStripe, 'x');
  std::vector<std::string> plain;  // in each stripe file: an 'x' where the byte was plain in every temp file so far
  for (std::size_t i = 0; i < n; ++i) plain.push_back(StripesOf(bytes, i, n));
  for (int count = 0; count < 16; ++count) {
    QUAV_TempFile file("cache", true);
    Write(file, bytes);
    const std::vector<std::string> files = OnDisk(file);
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_EQ(plain[i].size(), files[i].size());
      std::ranges::transform(plain[i], files[i], plain[i].begin(),
                             [](char before, char now) { return now == 'x' ? before : '.'; });
    }
    EXPECT_TRUE(ReadAll(file) == bytes);
  }
  for (std::size_t i = 0; i < n; ++i) EXPECT_EQ(std::string::npos, plain[i].find('x')) << "file " << i;
}

TEST_P(TempFileTest, FilesArePlainByDefault) {
  QUAV_TempFile file("cache");
  Write(file, "plain text");
  EXPECT_EQ("plain text", OnDisk(file).at(0));
}

// Control byte, codes, literals: the form of stored cases on disk.
TEST_P(TempFileTest, StoresTheCellsOfACaseInTheirForm) {
  QUAV_TempFile file("cache", false);
  const std::vector<OBS> cells = {NumberCell(1), kSystemMissingCell, kBlankCell, NumberCell(0.5), NumberCell(-99)};
  WriteCompressed(file, cells.data(), static_cast<long>(cells.size()));
  EXPECT_EQ(std::string("\x31\x65\xff\xfe\0\0\0\0\0\0\xe0\x3f\x10\x01", 14), OnDisk(file).at(0));
}

TEST_P(TempFileTest, FilesHaveNoNameThatOthersCanOpen) {
  const QUAV_TempFile file("cache", true);
  EXPECT_TRUE(m_directories.AreEmpty());
}

TEST_P(TempFileTest, NameJoinsTheFileNamesWithCommas) {
  const QUAV_TempFile file("cache", true);
  std::vector<std::string> directories;
  for (const std::string& name : StripeNames(file.Name())) {
    EXPECT_TRUE(std::filesystem::path(name).filename().string().starts_with("cache-"));
    directories.push_back(std::filesystem::path(name).parent_path().string());
  }
  std::ranges::sort(directories);
  EXPECT_EQ(n, directories.size());
  EXPECT_EQ(directories.end(), std::ranges::adjacent_find(directories));
  EXPECT_EQ(file.Name(), file.Name());
}

// ---- Positions and ends ----

TEST_P(TempFileTest, ReadAcrossTheEndReturnsTheRestAndSetsEndOfFile) {
  QUAV_TempFile file("cache", true);
  Write(file, Pattern(kStripe + 100));
  file.Seek(static_cast<long>(kStripe) - 10, kSeekFromStart);
  EXPECT_EQ(0, file.EndOfFile());
  EXPECT_EQ(110u, Read(file, 5000).size());
  EXPECT_NE(0, file.EndOfFile());
  EXPECT_EQ(static_cast<long>(kStripe) + 100, file.Tell());
}

TEST_P(TempFileTest, EndOfFileNeedsAReadPastTheEnd) {
  QUAV_TempFile file("cache", true);
  Write(file, "abc");
  file.Seek(0, kSeekFromStart);
  EXPECT_EQ("abc", Read(file, 3));
  EXPECT_EQ(0, file.EndOfFile());
  Read(file, 1);
  EXPECT_NE(0, file.EndOfFile());
  file.Seek(0, kSeekFromPresent);
  EXPECT_EQ(0, file.EndOfFile());
}

TEST_P(TempFileTest, ReadsNothingPastTheEnd) {
  QUAV_TempFile file("cache", true);
  Write(file, "abc");
  EXPECT_EQ(0, file.Seek(1'000'000, kSeekFromStart));
  EXPECT_EQ(1'000'000, file.Tell());
  EXPECT_EQ("", Read(file, 10));
  EXPECT_NE(0, file.EndOfFile());
}

TEST_P(TempFileTest, SeeksFromEachOrigin) {
  QUAV_TempFile file("cache", true);
  Write(file, Pattern(100));
  EXPECT_EQ(0, file.Seek(-10, kSeekFromEnd));
  EXPECT_EQ(90, file.Tell());
  EXPECT_EQ(0, file.Seek(5, kSeekFromPresent));
  EXPECT_EQ(95, file.Tell());
  EXPECT_EQ(0, file.Seek(7, kSeekFromStart));
  EXPECT_EQ(7, file.Tell());
  EXPECT_EQ(100, file.Length());
}

TEST_P(TempFileTest, TransfersNothingBeforeTheStart) {
  QUAV_TempFile file("cache", true);
  Write(file, "abc");
  for (const long place : {-1L, std::numeric_limits<long>::min()}) {
    EXPECT_EQ(0, file.Seek(place, kSeekFromStart));
    EXPECT_EQ(0, file.Seek(-5, kSeekFromPresent));
    EXPECT_EQ(0u, Write(file, "x"));
    EXPECT_EQ("", Read(file, 1));
    EXPECT_EQ(0u, file.Peek(1).Size());
  }
  EXPECT_EQ("abc", ReadAll(file));
}

TEST_P(TempFileTest, TransfersNothingAtTheLargestPosition) {
  QUAV_TempFile file("cache", true);
  EXPECT_EQ(0, file.Seek(std::numeric_limits<long>::max(), kSeekFromStart));
  EXPECT_EQ(0, file.Seek(1, kSeekFromPresent));
  EXPECT_EQ("", Read(file, 10));
  // With several files, the position in one of them is valid for a stream, and the system refuses it only at the
  // flush.
  EXPECT_TRUE(Write(file, "x") == 0 || file.Flush() != 0);
  EXPECT_FALSE(file.Good());
}

TEST_P(TempFileTest, TransfersNothingForACountOfZero) {
  QUAV_TempFile file("cache", true);
  EXPECT_EQ(0u, file.Write(nullptr, 0));
  EXPECT_EQ(0u, file.Read(nullptr, 0));
  EXPECT_EQ(0, file.EndOfFile());
}

// ---- Windows ----

TEST_P(TempFileTest, WindowCrossesStripes) {
  const std::string bytes = Pattern(4 * kStripe);
  QUAV_TempFile file("cache", true);
  Write(file, bytes);
  for (const std::size_t at : {std::size_t{0}, kStripe - 5, 2 * kStripe - 1, 3 * kStripe, 4 * kStripe - 20}) {
    for (const std::size_t wanted : {std::size_t{1}, std::size_t{20}, std::size_t{10'000}, kStripe}) {
      file.Seek(static_cast<long>(at), kSeekFromStart);
      const QUAV_FileStream::Window window = file.Peek(wanted);
      const std::string expected = bytes.substr(at, window.Size());
      EXPECT_GE(window.Size(), std::min(wanted, bytes.size() - at));
      EXPECT_TRUE(
          std::ranges::equal(expected, std::string(reinterpret_cast<const char*>(window.begin), window.Size())));
      EXPECT_EQ(static_cast<long>(at), file.Tell());
      EXPECT_EQ(at + wanted > bytes.size(), file.EndOfFile() != 0);
    }
  }
}

TEST_P(TempFileTest, ReadsOnAfterASkip) {
  const std::string bytes = Pattern(3 * kStripe);
  QUAV_TempFile file("cache", true);
  Write(file, bytes);
  file.Seek(0, kSeekFromStart);
  std::string read;
  while (read.size() < bytes.size()) {
    const std::size_t wanted = std::min<std::size_t>(777, bytes.size() - read.size());
    read.append(reinterpret_cast<const char*>(file.Peek(wanted).begin), wanted);
    file.Skip(wanted);
    if (read.size() % 3 == 0) read += Read(file, 5);
  }
  EXPECT_TRUE(read == bytes);
}

TEST_P(TempFileTest, WindowShowsTheBytesWrittenLast) {
  QUAV_TempFile file("cache", true);
  Write(file, Pattern(3 * kStripe));
  file.Seek(static_cast<long>(kStripe) - 5, kSeekFromStart);
  file.Peek(10);
  Write(file, "0123456789");
  file.Seek(-10, kSeekFromPresent);
  const QUAV_FileStream::Window window = file.Peek(10);
  EXPECT_EQ("0123456789", std::string(reinterpret_cast<const char*>(window.begin), 10));
}

// ---- Copies ----

TEST_P(TempFileTest, CopiesReadAtTheirOwnPositions) {
  const std::string bytes = Pattern(5 * kStripe);
  QUAV_TempFile file("cache", true);
  Write(file, bytes);
  QUAV_TempFile first(file);
  QUAV_TempFile second(file);
  EXPECT_EQ(file.Tell(), first.Tell());
  first.Seek(0, kSeekFromStart);
  second.Seek(-10, kSeekFromEnd);
  EXPECT_TRUE(Read(first, 2 * kStripe) == bytes.substr(0, 2 * kStripe));
  EXPECT_EQ(bytes.substr(bytes.size() - 10), Read(second, 20));
  EXPECT_EQ(static_cast<long>(bytes.size()), file.Tell());
  EXPECT_STREQ(file.Name(), first.Name());
}

TEST_P(TempFileTest, CopyOutlivesTheOriginal) {
  auto file = std::make_unique<QUAV_TempFile>("cache", true);
  Write(*file, "abc");
  QUAV_TempFile copy(*file);
  file.reset();
  EXPECT_EQ("abc", ReadAll(copy));
}

TEST_P(TempFileTest, CloseDropsTheContents) {
  QUAV_TempFile file("cache", true);
  Write(file, "abc");
  EXPECT_EQ(0, file.Close());
  EXPECT_EQ("", ReadAll(file));
  EXPECT_FALSE(file.Good());
  EXPECT_EQ(0, file.Close());
}

TEST_P(TempFileTest, FootprintIsThatOfTheFirstFileTimesTheirNumber) {
  QUAV_TempFile file("cache", true);
  EXPECT_EQ(0u, file.Footprint());
  Write(file, "abc");
  QUAV_FileStream plain;
  plain.Open((m_directories.Root() + "/plain").c_str(), "w+bTD");
  plain.Write("abc", 3);
  EXPECT_EQ(n * plain.Footprint(), file.Footprint());
}

// ---- Failures ----

TEST_P(TempFileTest, ReportsWhetherItIsOpen) {
  for (const int compressed : {0, 1}) {
    setOption(compressed);
    for (const char* prefix : {"xfrm", "cache", "sort"}) {
      QUAV_TempFile file(prefix, true);
      EXPECT_TRUE(file.IsOpen()) << prefix;
      EXPECT_TRUE(file.DataReady());
      EXPECT_EQ(0, file.Error());
      QUAV_TempFile copy(file);
      EXPECT_TRUE(copy.IsOpen()) << prefix;
      if (compressed != 0) continue;  // Close only flushes these
      EXPECT_EQ(0, file.Close());
      EXPECT_FALSE(file.IsOpen()) << prefix;
      EXPECT_FALSE(file.DataReady());
      EXPECT_EQ(0, file.Error());
      EXPECT_TRUE(copy.IsOpen()) << prefix;
    }
  }
  setOption(0);
}

TEST_P(TempFileTest, FlushesAllFilesWhenTheFirstFails) {
  QUAV_TempFile file("cache", false);
  const std::string bytes = Pattern(3 * kStripe);
  Write(file, bytes);
  const FileCalls before = PresentFileCalls();
  static int calls;
  calls = 0;
  PresentFileCalls().pwrite = [](int descriptor, const void* from, std::size_t size, off_t at) -> ssize_t {
    if (++calls > 1) return ::pwrite(descriptor, from, size, at);
    errno = ENOSPC;
    return -1;
  };
  EXPECT_NE(0, file.Flush());
  PresentFileCalls() = before;
  EXPECT_EQ(static_cast<int>(n), calls);
  EXPECT_FALSE(file.Good());
  EXPECT_NE(0, file.Flush());
  file.Clear();
  EXPECT_TRUE(file.Good());
  EXPECT_EQ(0, file.Flush());
  EXPECT_TRUE(ReadAll(file) == bytes);
}

TEST_P(TempFileTest, IsNotGoodWhenAnyFileFailed) {
  for (std::size_t failing = 1; failing <= n; ++failing) {
    QUAV_TempFile file("cache", false);
    Write(file, Pattern(3 * kStripe));
    const FileCalls before = PresentFileCalls();
    static std::size_t calls;
    calls = n - failing;
    PresentFileCalls().pwrite = [](int descriptor, const void* from, std::size_t size, off_t at) -> ssize_t {
      if (calls-- != 0) return ::pwrite(descriptor, from, size, at);
      errno = ENOSPC;
      return -1;
    };
    file.Flush();
    PresentFileCalls() = before;
    EXPECT_FALSE(file.Good()) << "the " << failing << ". file from the end";
    EXPECT_EQ(ENOSPC, file.Error());
    EXPECT_TRUE(file.IsOpen());
    file.Clear();
    EXPECT_EQ(0, file.Error());
  }
}

TEST_P(TempFileTest, ThrowsTheNameOfAFileThatCannotBeMade) {
  const std::size_t before = static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
  std::filesystem::remove_all(m_directories.Root());
  const auto error = ErrorOf([] { const QUAV_TempFile file("cache", true); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1001, error->Number());
  EXPECT_THAT(error->File(), testing::StartsWith(m_directories.Root()));
  EXPECT_THAT(error->Text(), testing::HasSubstr("No such file or directory"));
  EXPECT_EQ(before, static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                                           std::filesystem::directory_iterator())));
}

INSTANTIATE_TEST_SUITE_P(Directories, TempFileTest, testing::Values(1, 2, 3));

TEST(TempFile, WritesTheThirdStripeToTheFirstOfTwoFiles) {
  const SpoolDirectories directories(2);
  QUAV_TempFile file("cache", false);
  Write(file, std::string(kStripe, 'a') + std::string(kStripe, 'b') + std::string(10, 'c'));
  file.Flush();
  const std::vector<std::string> names = StripeNames(file.Name());
  EXPECT_TRUE(BytesOnDisk(names.at(0)) == std::string(kStripe, 'a') + std::string(10, 'c'));
  EXPECT_TRUE(BytesOnDisk(names.at(1)) == std::string(kStripe, 'b'));
}

TEST(TempFile, ReadsBackWithCompressionSwitchedOn) {
  const SpoolDirectories directories(2);
  setOption(1);
  for (const char* prefix : {"xfrm", "cache"}) {
    QUAV_TempFile file(prefix, true);
    const std::string bytes = Pattern(3 * kStripe);
    Write(file, bytes);
    file.Flush();
    QUAV_TempFile copy(file);
    EXPECT_TRUE(ReadAll(copy) == bytes) << prefix;
  }
  setOption(0);
}

TEST(TempFileDeathTest, AssertsThatATempDirectoryExists) {
  const SpoolDirectories directories(1);
  EXPECT_EQ(1001, ErrorOf([] { QuavTempDirs::Instance().Set({}, nullptr); })->Number());
  EXPECT_DEATH(QUAV_TempFile("cache", true), "assertion failed: n\n");
}

TEST(TempFileDeathTest, PeekAssertsThatTheCountFitsAWindow) {
  const SpoolDirectories directories(1);
  QUAV_TempFile file("cache", true);
  EXPECT_DEATH(file.Peek(QUAV_FileStream::kMaxPeek + 1), "wanted <= kMaxPeek");
}

}  // namespace
}  // namespace tempfile_test
