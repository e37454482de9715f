#include "storage/CompressedStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/FaultyStream.h"
#include "tests/support/RowName.h"

namespace CompressedStream_test {
namespace {

using testing::HasSubstr;

OBS Number(double number) { return OBS{std::bit_cast<std::uint64_t>(number)}; }
constexpr OBS kBlanks{0x2020202020202020};
constexpr OBS kMissing{0xFFEFFFFFFFFFFFFF};

OBS TextCell(const char* eightBytes) {
  OBS cell;
  std::memcpy(&cell, eightBytes, sizeof(cell));
  return cell;
}

std::string BytesOf(const std::vector<OBS>& cells) {
  std::string bytes(cells.size() * sizeof(OBS), '\0');
  if (!cells.empty()) std::memcpy(bytes.data(), cells.data(), bytes.size());
  return bytes;
}

// Returns the bytes written for the cells.
std::string Written(const std::vector<OBS>& cells) {
  FaultyStream stream("");
  WriteCompressed(stream, cells.data(), static_cast<long>(cells.size()));
  return stream.Bytes();
}

std::vector<OBS> Numbers(int count) {
  std::vector<OBS> cells;
  for (int i = 0; i < count; ++i) cells.push_back(Number(i));
  return cells;
}

std::vector<OBS> Literals(int count) {
  std::vector<OBS> cells;
  for (int i = 0; i < count; ++i) cells.push_back(Number(i + 0.5));
  return cells;
}

std::vector<OBS> Joined(std::vector<OBS> cells, const std::vector<OBS>& more) {
  cells.insert(cells.end(), more.begin(), more.end());
  return cells;
}

// ---- Codes ----

TEST(Compression1, CompressedReturnsTheCodeOfACell) {
  EXPECT_EQ(100, Compression1::Compressed(Number(0.0)));
  EXPECT_EQ(253, Compression1::Compressed(Number(-0.0)));
  EXPECT_EQ(251, Compression1::Compressed(Number(151.0)));
  EXPECT_EQ(253, Compression1::Compressed(Number(152.0)));
  EXPECT_EQ(1, Compression1::Compressed(Number(-99.0)));
  EXPECT_EQ(253, Compression1::Compressed(Number(-100.0)));
  EXPECT_EQ(253, Compression1::Compressed(Number(1.5)));
  EXPECT_EQ(254, Compression1::Compressed(kBlanks));
  EXPECT_EQ(255, Compression1::Compressed(kMissing));
}

TEST(Compression1, DecompressReturnsTheCellOfACode) {
  for (int code = 0; code < 254; ++code) {
    OBS cell{};
    Compression1::Decompress(static_cast<unsigned char>(code), cell);
    EXPECT_EQ(Number(code - 100), cell) << code;
  }
  OBS cell{};
  Compression1::Decompress(254, cell);
  EXPECT_EQ(kBlanks, cell);
  Compression1::Decompress(255, cell);
  EXPECT_EQ(kMissing, cell);
}

TEST(Compression1, SysmisIsTheSystemMissingValue) { EXPECT_EQ(kMissing, Compression1::sysmis); }

// ---- Writing ----

TEST(WriteCompressed, WritesCodesBeforeLiterals) {
  EXPECT_EQ("\x21\x65\xFE" + BytesOf({TextCell("abcdefgh")}), Written({Number(1), kBlanks, TextCell("abcdefgh")}));
}

TEST(WriteCompressed, StartsABlockForACodeAfterALiteral) {
  EXPECT_EQ("\x11\x65" + BytesOf({Number(0.5)}) + "\x20\x66\xFF",
            Written({Number(1), Number(0.5), Number(2), kMissing}));
}

TEST(WriteCompressed, StartsABlockForThe16thLiteral) {
  const auto cells = Literals(16);
  EXPECT_EQ("\x0F" + BytesOf(Literals(15)) + "\x01" + BytesOf({cells[15]}), Written(cells));
}

TEST(WriteCompressed, StartsABlockForThe16thCode) {
  std::string codes;
  for (int i = 0; i < 15; ++i) codes += static_cast<char>(100 + i);
  EXPECT_EQ("\xF0" + codes + "\x10" + "\x73", Written(Numbers(16)));
}

TEST(WriteCompressed, FillsABlockWith15CodesAnd15Literals) {
  const std::string full = Written(Joined(Numbers(15), Literals(15)));
  EXPECT_EQ('\xFF', full[0]);
  EXPECT_EQ(1u + 15 + 15 * 8, full.size());
}

TEST(WriteCompressed, WritesAnEmptyBlockForNoCells) { EXPECT_EQ(std::string(1, '\0'), Written({})); }

TEST(WriteCompressed, EndsTheLastBlockAtEachCall) {
  FaultyStream stream("");
  for (const double number : {1.0, 2.0}) {
    const OBS cell = Number(number);
    WriteCompressed(stream, &cell, 1);
  }
  EXPECT_EQ("\x10\x65\x10\x66", stream.Bytes());
}

TEST(WriteCompressed, ThrowsWhenTheStreamTakesLess) {
  const auto cells = Joined(Literals(20), Joined(Numbers(20), Literals(500)));
  for (const auto fault : {FaultyStream::kFails, FaultyStream::kShortens, FaultyStream::kStops}) {
    bool struck = true;
    for (int n = 1; struck; ++n) {
      FaultyStream stream("", fault, n);
      bool thrown = false;
      try {
        WriteCompressed(stream, cells.data(), static_cast<long>(cells.size()));
      } catch (const CompressedStreamError& error) {
        thrown = true;
        EXPECT_EQ(ENOSPC, error.Error());
      }
      struck = stream.Struck();
      EXPECT_EQ(struck, thrown) << "operation " << n;
    }
  }
}

// ---- Reading ----

struct Run {
  const char* name;
  std::vector<OBS> cells;
};

class CompressedStreamRuns : public testing::TestWithParam<Run> {};

TEST_P(CompressedStreamRuns, ReadReturnsTheCellsWritten) {
  const auto& cells = GetParam().cells;
  FaultyStream stream(Written(cells));
  std::vector<OBS> read(cells.size() + 1, OBS{42});
  EXPECT_TRUE(ReadCompressed(stream, read.data(), static_cast<long>(cells.size())));
  EXPECT_EQ(Joined(cells, {OBS{42}}), read);
  EXPECT_EQ(static_cast<long>(stream.Bytes().size()), stream.Tell());
}

TEST_P(CompressedStreamRuns, DecodeReturnsTheCellsWritten) {
  const auto& cells = GetParam().cells;
  for (const std::string& behind : {std::string(), std::string(200, 'x')}) {
    FaultyStream stream(Written(cells) + behind);
    std::vector<OBS> read(cells.size() + 1, OBS{42});
    EXPECT_TRUE(DecodeCompressed(stream, read.data(), static_cast<long>(cells.size())));
    EXPECT_EQ(Joined(cells, {OBS{42}}), read);
    EXPECT_EQ(static_cast<long>(stream.Bytes().size() - behind.size()), stream.Tell());
  }
}

TEST_P(CompressedStreamRuns, SkipMovesToTheEndOfTheRun) {
  const auto& cells = GetParam().cells;
  FaultyStream stream(Written(cells) + "behind");
  EXPECT_TRUE(SkipCompressed(stream, static_cast<long>(cells.size())));
  EXPECT_EQ(static_cast<long>(stream.Bytes().size()) - 6, stream.Tell());
}

TEST_P(CompressedStreamRuns, CopyKeepsEveryByte) {
  const auto& cells = GetParam().cells;
  FaultyStream from(Written(cells) + "behind"), to("");
  EXPECT_TRUE(CopyPrecompressed(from, to, static_cast<long>(cells.size())));
  EXPECT_EQ(Written(cells), to.Bytes());
}

INSTANTIATE_TEST_SUITE_P(
    Runs, CompressedStreamRuns,
    testing::Values(Run{"OneCode", Numbers(1)}, Run{"OneLiteral", Literals(1)}, Run{"FullBlockOfCodes", Numbers(15)},
                    Run{"FullBlockOfLiterals", Literals(15)}, Run{"FullBlock", Joined(Numbers(15), Literals(15))},
                    Run{"OneMoreThanAFullBlock", Joined(Numbers(15), Literals(16))}, Run{"ManyCodes", Numbers(100)},
                    Run{"ManyLiterals", Literals(100)}, Run{"LiteralsThenCodes", Joined(Literals(40), Numbers(40))},
                    Run{"SpecialCells", {kMissing, kBlanks, Number(-0.0), OBS{0}, TextCell("abcdefgh"), OBS{1}}}),
    kRowName);

TEST(ReadCompressed, DoesNotTouchTheStreamForNoCells) {
  FaultyStream stream("");
  errno = EIO;
  EXPECT_TRUE(ReadCompressed(stream, nullptr, 0));
  EXPECT_TRUE(DecodeCompressed(stream, nullptr, 0));
  EXPECT_TRUE(SkipCompressed(stream, 0));
  FaultyStream to("");
  EXPECT_TRUE(CopyPrecompressed(stream, to, 0));
  EXPECT_EQ(0, stream.Operations());
  EXPECT_EQ(0, to.Operations());
}

TEST(ReadCompressed, ReadsOneRunAfterAnother) {
  const auto first = Joined(Numbers(3), Literals(2)), second = Joined(Literals(4), Numbers(20));
  FaultyStream stream(Written(first) + Written(second));
  std::vector<OBS> read(5);
  EXPECT_TRUE(ReadCompressed(stream, read.data(), 5));
  EXPECT_EQ(first, read);
  read.resize(24);
  EXPECT_TRUE(ReadCompressed(stream, read.data(), 24));
  EXPECT_EQ(second, read);
  EXPECT_FALSE(ReadCompressed(stream, read.data(), 1));
}

TEST(ReadCompressed, ReadsTwoRunsAsOne) {
  FaultyStream stream(Written(Numbers(3)) + Written(Literals(2)));
  std::vector<OBS> read(5);
  EXPECT_TRUE(ReadCompressed(stream, read.data(), 5));
  EXPECT_EQ(Joined(Numbers(3), Literals(2)), read);
}

TEST(ReadCompressed, SkipsEmptyBlocks) {
  FaultyStream stream(std::string(3, '\0') + Written(Numbers(2)));
  std::vector<OBS> read(2);
  EXPECT_TRUE(ReadCompressed(stream, read.data(), 2));
  EXPECT_EQ(Numbers(2), read);
}

TEST(DecodeCompressed, DecodesOneRunAfterAnother) {
  const auto first = Joined(Numbers(3), Literals(2)), second = Joined(Literals(4), Numbers(20));
  FaultyStream stream(std::string(2, '\0') + Written(first) + Written(second));
  std::vector<OBS> read(5);
  EXPECT_TRUE(DecodeCompressed(stream, read.data(), 5));
  EXPECT_EQ(first, read);
  read.resize(24);
  EXPECT_TRUE(DecodeCompressed(stream, read.data(), 24));
  EXPECT_EQ(second, read);
  EXPECT_FALSE(DecodeCompressed(stream, read.data(), 1));
}

// All reading functions, with the same signature.
struct Reader {
  const char* name;
  bool (*read)(QUAV_FileStream& stream, long count);
};

bool DecodeAway(QUAV_FileStream& stream, long count) {
  std::vector<OBS> cells(static_cast<std::size_t>(count));
  return DecodeCompressed(stream, cells.data(), count);
}

bool SkipAway(QUAV_FileStream& stream, long count) { return SkipCompressed(stream, count); }

bool ReadAway(QUAV_FileStream& stream, long count) {
  std::vector<OBS> cells(static_cast<std::size_t>(count));
  return ReadCompressed(stream, cells.data(), count);
}

bool CopyAway(QUAV_FileStream& stream, long count) {
  FaultyStream to("");
  return CopyPrecompressed(stream, to, count);
}

class CompressedStreamReaders : public testing::TestWithParam<Reader> {};
INSTANTIATE_TEST_SUITE_P(Readers, CompressedStreamReaders,
                         testing::Values(Reader{"Read", &ReadAway}, Reader{"Skip", &SkipAway},
                                         Reader{"Copy", &CopyAway}, Reader{"Decode", &DecodeAway}),
                         kRowName);

TEST_P(CompressedStreamReaders, ReturnFalseAtACleanEnd) {
  FaultyStream stream("");
  EXPECT_FALSE(GetParam().read(stream, 1));
}

TEST_P(CompressedStreamReaders, ThrowWhenTheStreamEndsBetweenBlocks) {
  FaultyStream stream(Written(Numbers(15)));
  EXPECT_THROW(GetParam().read(stream, 16), CompressedStreamError);
}

TEST_P(CompressedStreamReaders, ThrowWhenTheStreamFailsAtTheFirstBlock) {
  FaultyStream stream(Written(Numbers(1)), FaultyStream::kFails, 1);
  try {
    GetParam().read(stream, 1);
    FAIL() << "nothing was thrown";
  } catch (const CompressedStreamError& error) {
    EXPECT_EQ(EIO, error.Error());
  }
}

TEST_P(CompressedStreamReaders, ThrowWhenTheStreamFailsAtAnyOperation) {
  const auto cells = Joined(Literals(20), Numbers(20));
  int n = 1;
  for (;; ++n) {
    FaultyStream stream(Written(cells), FaultyStream::kFails, n);
    bool thrown = false;
    try {
      EXPECT_TRUE(GetParam().read(stream, 40));
    } catch (const CompressedStreamError& error) {
      thrown = true;
      EXPECT_EQ(EIO, error.Error());
    }
    ASSERT_EQ(stream.Struck(), thrown) << "operation " << n;
    if (!thrown) break;
  }
  EXPECT_LE(2, n);
}

TEST(ReadCompressed, ThrowsForABlockTruncatedAtAnyByte) {
  const std::string whole = Written(Joined(Numbers(3), Literals(3)));
  for (std::size_t size = 1; size < whole.size(); ++size) {
    FaultyStream stream(whole.substr(0, size)), copied(whole.substr(0, size)), decoded(whole.substr(0, size));
    EXPECT_THROW(DecodeAway(decoded, 6), CompressedStreamError) << size;
    EXPECT_THROW(ReadAway(stream, 6), CompressedStreamError) << size;
    EXPECT_THROW(CopyAway(copied, 6), CompressedStreamError) << size;
  }
}

TEST(ReadCompressed, ErrorIsZeroForTruncatedData) {
  FaultyStream stream("\x10");
  errno = EACCES;
  try {
    ReadAway(stream, 1);
    FAIL() << "nothing was thrown";
  } catch (const CompressedStreamError& error) {
    EXPECT_EQ(0, error.Error());
  }
}

TEST(CopyPrecompressed, ThrowsWhenTheTargetTakesLess) {
  FaultyStream from(Written(Literals(20))), to("", FaultyStream::kShortens, 2);
  EXPECT_THROW(CopyPrecompressed(from, to, 20), CompressedStreamError);
}

class CompressedStreamReadersDeathTest : public CompressedStreamReaders {};
INSTANTIATE_TEST_SUITE_P(Readers, CompressedStreamReadersDeathTest,
                         testing::Values(Reader{"Read", &ReadAway}, Reader{"Skip", &SkipAway},
                                         Reader{"Copy", &CopyAway}, Reader{"Decode", &DecodeAway}),
                         kRowName);

TEST_P(CompressedStreamReadersDeathTest, AssertThatBlocksFitTheCount) {
  FaultyStream one(Written(Numbers(3)));
  EXPECT_DEATH(GetParam().read(one, 2), HasSubstr("assertion failed: len >= 0"));
  FaultyStream two(Written(Numbers(3)) + Written(Literals(3)));
  EXPECT_DEATH(GetParam().read(two, 5), HasSubstr("assertion failed: len >= 0"));
}

}  // namespace
}  // namespace CompressedStream_test
