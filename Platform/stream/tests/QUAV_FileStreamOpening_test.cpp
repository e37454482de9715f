// Modes, opening and closing, names.

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/tests/StreamTesting.h"

namespace QUAV_FileStreamOpening_test {
namespace {

constexpr std::size_t kBuffer = QUAV_FileStream::kBufferSize;

// ---- Modes ----

struct ModeRow {
  const char* name;
  const char* letters;
  bool opensMissing;
  bool reads;
  bool writes;
  const char* afterOpen;   // the contents of a file that held "abc"
  const char* afterWrite;  // the same after "Z" was written at position 0
};

void PrintTo(const ModeRow& row, std::ostream* out) { *out << row.letters; }

class FileStreamMode : public StreamTest, public testing::WithParamInterface<ModeRow> {};

TEST_P(FileStreamMode, OpensAnExistingFile) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  EXPECT_NE(0, stream.Open(path.c_str(), GetParam().letters));
  EXPECT_TRUE(stream.IsOpen());
  EXPECT_TRUE(stream.Good());
  EXPECT_EQ(0, stream.Tell());
  EXPECT_EQ(GetParam().afterOpen, Contents(path));
}

TEST_P(FileStreamMode, MakesAMissingFileOrFails) {
  QUAV_FileStream stream;
  errno = 0;
  EXPECT_EQ(GetParam().opensMissing, stream.Open(Path("file").c_str(), GetParam().letters) != 0);
  EXPECT_EQ(GetParam().opensMissing ? 0 : ENOENT, errno);
  EXPECT_EQ(GetParam().opensMissing, stream.IsOpen());
  EXPECT_EQ(GetParam().opensMissing, stream.Good());
  EXPECT_EQ(GetParam().opensMissing ? 0 : ENOENT, stream.Error());
}

TEST_P(FileStreamMode, FailsInAMissingFolder) {
  QUAV_FileStream stream;
  EXPECT_EQ(0, stream.Open(Path("none/file").c_str(), GetParam().letters));
  EXPECT_EQ(ENOENT, errno);
}

TEST_P(FileStreamMode, FailsOnAFolder) {
  QUAV_FileStream stream;
  EXPECT_EQ(0, stream.Open(Path("").c_str(), GetParam().letters));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(stream.IsOpen());
}

TEST_P(FileStreamMode, ReadsOrFails) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), GetParam().letters);
  errno = 0;
  EXPECT_EQ(GetParam().reads ? GetParam().afterOpen : "", Read(stream, 3));
  EXPECT_EQ(GetParam().reads, stream.Good());
  EXPECT_EQ(GetParam().reads ? 0 : EBADF, errno);
}

TEST_P(FileStreamMode, WritesOrFails) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), GetParam().letters);
  errno = 0;
  EXPECT_EQ(GetParam().writes ? 1U : 0U, Write(stream, "Z"));
  EXPECT_EQ(GetParam().writes, stream.Good());
  EXPECT_EQ(GetParam().writes ? 0 : EBADF, errno);
  EXPECT_EQ(GetParam().writes ? 0 : -1, stream.Close());
  EXPECT_EQ(GetParam().afterWrite, Contents(path));
}

constexpr ModeRow kModes[] = {
    {"r", "r", false, true, false, "abc", "abc"},
    {"rb", "rb", false, true, false, "abc", "abc"},
    {"rPlusB", "r+b", false, true, true, "abc", "Zbc"},
    {"rbPlus", "rb+", false, true, true, "abc", "Zbc"},
    {"w", "w", true, false, true, "", "Z"},
    {"wb", "wb", true, false, true, "", "Z"},
    {"wPlusB", "w+b", true, true, true, "", "Z"},
    {"wbPlus", "wb+", true, true, true, "", "Z"},
    {"a", "a", true, false, true, "abc", "abcZ"},
    {"ab", "ab", true, false, true, "abc", "abcZ"},
    {"aPlusB", "a+b", true, true, true, "abc", "abcZ"},
    {"abPlus", "ab+", true, true, true, "abc", "abcZ"},
};

INSTANTIATE_TEST_SUITE_P(Modes, FileStreamMode, testing::ValuesIn(kModes),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(FileStream, RefusesInvalidModes) {
  const std::string path = Make("file", "abc");
  for (const char* letters : {"", "b", "+", "x", "rx", "r+bTD"}) {
    QUAV_FileStream stream;
    errno = 0;
    EXPECT_EQ(0, stream.Open(path.c_str(), letters)) << letters;
    EXPECT_EQ(EINVAL, errno) << letters;
    EXPECT_FALSE(stream.IsOpen()) << letters;
    EXPECT_EQ("abc", Contents(path)) << letters;
  }
  QUAV_FileStream stream;
  EXPECT_EQ(0, stream.Open(path.c_str(), nullptr));
  EXPECT_EQ(EINVAL, errno);
}

// ---- Opening, names, closing ----

TEST_F(FileStream, OpensWithEachOverload) {
  const std::string path = Make("file", "abc");
  const ExtNameStr name(path);
  QUAV_FileStream stream;
  EXPECT_NE(0, stream.Open(path.c_str(), "rb"));
  EXPECT_EQ("abc", Read(stream, 4));
  EXPECT_NE(0, stream.Open(name, "rb"));
  EXPECT_EQ("abc", Read(stream, 4));
  EXPECT_NE(0, stream.Open(path.c_str(), "password", "rb"));
  EXPECT_EQ("abc", Read(stream, 4));
  EXPECT_NE(0, stream.Open(name, ExtNameStr("password"), "rb"));
  EXPECT_EQ("abc", Read(stream, 4));
}

TEST_F(FileStream, ReportsAMissingFileInEachOverload) {
  const std::string path = Path("none");
  QUAV_FileStream stream;
  EXPECT_EQ(0, stream.Open(path.c_str(), "rb"));
  EXPECT_EQ(0, stream.Open(ExtNameStr(path), "rb"));
  EXPECT_EQ(0, stream.Open(path.c_str(), "password", "rb"));
  EXPECT_EQ(0, stream.Open(ExtNameStr(path), ExtNameStr("password"), "rb"));
  EXPECT_EQ(ENOENT, stream.Error());
}

TEST_F(FileStream, IsClosedAtFirst) {
  QUAV_FileStream stream;
  EXPECT_FALSE(stream.IsOpen());
  EXPECT_TRUE(stream.Good());
  EXPECT_EQ(0, stream.Error());
  EXPECT_EQ(0, stream.Tell());
  EXPECT_EQ(0, stream.EndOfFile());
  EXPECT_STREQ("", stream.Name());
  EXPECT_EQ(0U, stream.Footprint());
  EXPECT_EQ(0, stream.Flush());
  EXPECT_EQ(0, stream.Close());
  stream.EnableMultiThreadReading();
  stream.DisableMultiThreadReading();
  EXPECT_TRUE(stream.Good());
}

struct ClosedRow {
  const char* name;
  std::function<bool(QUAV_FileStream&)> fails;
};

void PrintTo(const ClosedRow& row, std::ostream* out) { *out << row.name; }

class ClosedFileStream : public testing::TestWithParam<ClosedRow> {};

TEST_P(ClosedFileStream, FailsWithEBADF) {
  QUAV_FileStream stream;
  errno = 0;
  EXPECT_TRUE(GetParam().fails(stream));
  EXPECT_EQ(EBADF, errno);
  EXPECT_EQ(EBADF, stream.Error());
  EXPECT_FALSE(stream.Good());
}

INSTANTIATE_TEST_SUITE_P(
    Operations, ClosedFileStream,
    testing::Values(ClosedRow{"Read", [](QUAV_FileStream& stream) { return Read(stream, 1).empty(); }},
                    ClosedRow{"Write", [](QUAV_FileStream& stream) { return Write(stream, "a") == 0; }},
                    ClosedRow{"Peek", [](QUAV_FileStream& stream) { return stream.Peek(1).Size() == 0; }},
                    ClosedRow{"Seek", [](QUAV_FileStream& stream) { return stream.Seek(0, kSeekFromStart) == -1; }},
                    ClosedRow{"SeekFromEnd",
                              [](QUAV_FileStream& stream) { return stream.Seek(0, kSeekFromEnd) == -1; }},
                    ClosedRow{"Length", [](QUAV_FileStream& stream) { return stream.Length() == -1; }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(FileStream, TransfersOfZeroBytesSucceed) {
  QUAV_FileStream closed;
  EXPECT_EQ(0U, closed.Read(nullptr, 0));
  EXPECT_EQ(0U, closed.Write(nullptr, 0));
  EXPECT_TRUE(closed.Good());
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  EXPECT_EQ(0U, stream.Read(nullptr, 0));
  EXPECT_EQ(0U, stream.Write(nullptr, 0));
  EXPECT_TRUE(stream.Good());
  EXPECT_EQ(0, stream.EndOfFile());
}

TEST_F(FileStream, KeepsItsNameAfterCloseAndAfterAFailedOpen) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  EXPECT_EQ(path, stream.Name());
  EXPECT_EQ(ExtNameStr(path), stream.GetNameStr());
  stream.Close();
  EXPECT_EQ(path, stream.Name());
  stream.Open(Path("none").c_str(), "rb");
  EXPECT_EQ(Path("none"), stream.Name());
}

TEST_F(FileStream, ReopensByItsOwnName) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  EXPECT_NE(0, stream.Open(stream.Name(), "rb"));
  EXPECT_EQ("abc", Read(stream, 4));
  EXPECT_NE(0, stream.Open(stream.GetNameStr(), ExtNameStr(), "rb+"));
  EXPECT_EQ("abc", Read(stream, 4));
}

TEST_F(FileStream, OpenClosesThePreviousFile) {
  const std::size_t before = OpenDescriptors();
  QUAV_FileStream stream;
  stream.Open(Path("first").c_str(), "wb");
  Write(stream, "abc");
  EXPECT_NE(0, stream.Open(Path("second").c_str(), "wb"));
  EXPECT_EQ("abc", Contents(Path("first")));
  EXPECT_EQ(before + 1, OpenDescriptors());
  EXPECT_EQ(0, stream.Tell());
  EXPECT_EQ(0, stream.Open(Path("none").c_str(), "rb"));
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(FileStream, OpenForgetsFailureAndEnd) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(Path("none").c_str(), "rb");
  EXPECT_FALSE(stream.Good());
  stream.Open(path.c_str(), "rb");
  EXPECT_TRUE(stream.Good());
  Read(stream, 4);
  EXPECT_NE(0, stream.EndOfFile());
  stream.Open(path.c_str(), "rb");
  EXPECT_EQ(0, stream.EndOfFile());
}

TEST_F(FileStream, MayBeClosedTwice) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  Write(stream, "abc");
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ("abc", Contents(Path("file")));
  EXPECT_FALSE(stream.IsOpen());
  EXPECT_EQ(0, stream.Close());
}

TEST_F(FileStream, ClosesThroughAConstReference) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  Write(stream, "abc");
  EXPECT_EQ(0, std::as_const(stream).Close());
  EXPECT_FALSE(stream.IsOpen());
  EXPECT_EQ("abc", Contents(Path("file")));
}

TEST_F(FileStream, DestructorWritesAndCloses) {
  const std::size_t before = OpenDescriptors();
  {
    QUAV_FileStream stream;
    stream.Open(Path("file").c_str(), "wb");
    Write(stream, "abc");
  }
  EXPECT_EQ("abc", Contents(Path("file")));
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(FileStream, AllocatesItsBufferOnceAtFirstUse) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "r+b");
  EXPECT_EQ(0U, stream.Footprint());
  const QUAV_FileStream::Window first = stream.Peek(1);
  const unsigned long taken = stream.Footprint();
  EXPECT_EQ(kBuffer + QUAV_FileStream::kMaxPeek, taken);
  stream.Open(Path("file").c_str(), "r+b");
  EXPECT_EQ(first.begin, stream.Peek(1).begin);
  Write(stream, "Z");
  EXPECT_EQ(taken, stream.Footprint());
}

}  // namespace
}  // namespace QUAV_FileStreamOpening_test
