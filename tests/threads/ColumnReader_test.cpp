// Readers of columns that decode on several threads give what one thread gives.

#include "datasrc/ColumnReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Columns/dictionary/FileOpening.h"
#include "tests/columns/People.h"
#include "tests/columns/RandomFiles.h"
#include "tests/threads/StreamOnDisk.h"

namespace ColumnReader_test {
namespace {

// The batches with their rows, and the number of the error that ended them.
struct Batches {
  std::vector<long long> firstRows;
  Outcome outcome;

  bool operator==(const Batches&) const = default;
};

Batches Read(const QUAV_DataSource& source, ColumnReaderOptions options, int threads) {
  options.threads = threads;
  Batches batches;
  ColumnReader reader(source, options);
  const auto error = ErrorOf([&] {
    while (const auto batch = reader.Next()) {
      batches.firstRows.push_back(batch->firstRow);
      for (long long row = 0; row < batch->rows; ++row) {
        BatchRow& values = batches.outcome.rows.emplace_back();
        for (const BatchColumn& column : batch->columns) values.push_back(ValueIn(column, row));
      }
    }
  });
  if (!error) {
    EXPECT_EQ(nullptr, reader.Next()) << "the end is the end";
    return batches;
  }
  batches.outcome.error = error->Number();
  const auto again = ErrorOf([&] { reader.Next(); });
  EXPECT_TRUE(again && again->Number() == error->Number()) << "a fault stays";
  return batches;
}

// The text of the error, too: it has the system's reason.
std::string TextOfFault(const QUAV_DataSource& source, int threads) {
  ColumnReader reader(source, {.rowsPerBatch = 16, .threads = threads});
  const auto error = ErrorOf([&] {
    while (reader.Next()) {
    }
  });
  return error ? error->Text() : "no error";
}

void ExpectSameOnThreads(const std::string& bytes, const ColumnReaderOptions& options) {
  const TempFile file(bytes);
  const SystemFileDataSource alone(file.Name(), "", false);
  const Batches expected = Read(alone, options, 1);
  for (const int threads : {2, 3}) {
    const SystemFileDataSource source(file.Name(), "", false);
    ASSERT_EQ(expected, Read(source, options, threads));
    ASSERT_EQ(alone.RowCount(), source.RowCount());
    // Once more, with what the source has learned.
    ASSERT_EQ(expected, Read(source, options, threads));
  }
}

TEST(ColumnReaderOnThreads, GivesTheBatchesOfOneThread) {
  unsigned int seed = 0;
  for (const int compression : {0, 1, 2}) {
    for (const std::endian order : {std::endian::little, std::endian::big}) {
      for (const int cases : {0, 1, 63, 64, 65, 700}) {
        SCOPED_TRACE(testing::Message() << compression << ' ' << (order == std::endian::big) << ' ' << cases);
        const std::string bytes =
            FileBytes({.compression = compression, .order = order, .numbers = 6, .cases = cases}, ++seed);
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.rowsPerBatch = 64}));
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {}));
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.columns = {{5}}, .rowsPerBatch = 7}));
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.columns = {{6, 0}}, .firstRow = 33, .rowsPerBatch = 10}));
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.columns = {std::vector<int>()}, .rowsPerBatch = 100}));
      }
    }
  }
}

TEST(ColumnReaderOnThreads, TakesARangeOfRows) {
  for (const int compression : {0, 1, 2}) {
    const std::string bytes = FileBytes({.compression = compression, .cases = 200});
    for (const long long first : {0, 1, 100, 199, 200, 201, 100000})
      for (const long long rows : {0, 1, 32, 33, 100, 100000})
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.firstRow = first, .rows = rows, .rowsPerBatch = 32}))
            << compression << ' ' << first << ' ' << rows;
  }
}

TEST(ColumnReaderOnThreads, HasNoRowsAtTheLargestNumbersOfRows) {
  constexpr long long kLargest = std::numeric_limits<long long>::max();
  for (const int compression : {0, 1, 2}) {
    const std::string bytes = FileBytes({.compression = compression, .cases = 200});
    for (const long long first : {kLargest, kLargest - 1, kLargest - 32})
      for (const auto& columns : {std::optional<std::vector<int>>(), {{1}}})
        ASSERT_NO_FATAL_FAILURE(
            ExpectSameOnThreads(bytes, {.columns = columns, .firstRow = first, .rowsPerBatch = 32}));
  }
}

TEST(ColumnReaderOnThreads, ReadsWideCases) {
  for (const int compression : {0, 1, 2})
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(
        FileBytes({.compression = compression, .numbers = 2500, .cases = 20, .blockSize = 4000}), {.rowsPerBatch = 3}));
}

TEST(ColumnReaderOnThreads, ReadsOddGroups) {
  for (unsigned int seed = 0; seed < 6; ++seed) {
    const std::string bytes = FileOfOddGroups(4 * static_cast<int>(100 + 150 * seed), seed);
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.rowsPerBatch = 20})) << seed;
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.columns = {{2}}, .rowsPerBatch = 20})) << seed;
  }
}

TEST(ColumnReaderOnThreads, ReadsMoreThanAPieceOfTheFile) {
  for (const int compression : {1, 2}) {
    const std::string bytes =
        FileBytes({.compression = compression, .numbers = 60, .cases = 3000, .blockSize = 128 * 1024, .count = 3000});
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.columns = {{3, 59}}, .rowsPerBatch = 500}));
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.columns = {{60}}, .rowsPerBatch = 2000}));
  }
}

// The bytes of so many rows are several pieces of the file, or few of them, so that what was read ahead is right, too short,
// too long or from the wrong place.
TEST(ColumnReaderOnThreads, ReadsStretchesOfVeryDifferentLengths) {
  constexpr int kRows = 1000;
  std::mt19937 random(1);
  std::vector<FileCase> rows;
  for (const unsigned int literals : {100U, 100U, 100U, 5U, 5U, 100U, 70U, 100U, 0U, 100U}) {
    for (int row = 0; row < kRows; ++row) {
      FileCase& cells = rows.emplace_back();
      for (int i = 0; i < 40; ++i) {
        const auto number = static_cast<double>(random() % 100);
        cells.emplace_back(random() % 100 < literals ? number + 0.5 : number);
      }
      cells.emplace_back(FileText("text", 8));
    }
  }
  const std::string bytes = Dictionary({.numbers = 40, .textWidth = 8}).CodedCases(rows).Bytes();
  for (const std::size_t cut : {0UL, 9UL, 300'000UL})
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes.substr(0, bytes.size() - cut), {.rowsPerBatch = kRows})) << cut;
  ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.firstRow = 1500, .rows = 7000, .rowsPerBatch = kRows}));
}

TEST(ColumnReaderOnThreads, ReadsEverySample) {
  int files = 0;
  for (const char* folder : {"", "found"}) {
    for (const auto& entry : std::filesystem::directory_iterator(std::string(SAMPLES_DIR "/") + folder)) {
      if (entry.path().extension() != ".quav") continue;
      dstext::SourceLine source;
      const auto error =
          ErrorOf([&] { source = dstext::OpenInPresentEncoding(entry.path().string(), ExtNameStr(), nullptr); });
      if (error) continue;
      ++files;
      const ColumnReaderOptions options = {.rowsPerBatch = 10};
      ASSERT_EQ(Read(*source, options, 1), Read(*source, options, 2)) << entry.path();
    }
  }
  EXPECT_GT(files, 15);
}

TEST(ColumnReaderOnThreads, GivesTheRowsBeforeAFault) {
  for (const int compression : {0, 1, 2}) {
    const std::string bytes = FileBytes({.compression = compression, .cases = 200});
    for (const std::size_t cut : {1UL, 8UL, 9UL, 100UL, 1001UL, 3000UL})
      ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes.substr(0, bytes.size() - cut), {.rowsPerBatch = 16}))
          << compression << ' ' << cut;
  }
}

TEST(ColumnReaderOnThreads, GivesTheRowsBeforeADamagedBlock) {
  const Shape shape = {.compression = 2, .cases = 500};
  std::string bytes = FileBytes(shape);
  const std::size_t begin = Dictionary(shape).Size();
  bytes[begin + (bytes.size() - begin) / 2] ^= 0x55;
  ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(bytes, {.rowsPerBatch = 16}));
  const TempFile file(bytes);
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_NE("no error", TextOfFault(source, 1));
  EXPECT_EQ(TextOfFault(source, 1), TextOfFault(source, 2));
}

TEST(ColumnReaderOnThreads, EndsWithTheCountedCasesOfBlocksWithoutTheirTable) {
  for (const std::int32_t count : {-1, 0, 50, 200, 300})
    ASSERT_NO_FATAL_FAILURE(ExpectSameOnThreads(
        FileBytes({.compression = 2, .cases = 200, .count = count, .hasTable = false}), {.rowsPerBatch = 16}))
        << count;
}

TEST(ColumnReaderOnThreads, EndsEarly) {
  for (const int compression : {0, 1, 2}) {
    const TempFile file(FileBytes({.compression = compression, .cases = 1000}));
    const SystemFileDataSource source(file.Name(), "", false);
    for (const int count : {0, 1, 5}) {
      std::vector<std::shared_ptr<const ColumnBatch>> held;
      {
        ColumnReader reader(source, {.rowsPerBatch = 10, .threads = 3});
        for (int i = 0; i < count; ++i) held.push_back(reader.Next());
      }
      for (int i = 0; i < count; ++i) EXPECT_EQ(10 * i, held[static_cast<std::size_t>(i)]->firstRow);
    }
  }
}

TEST(ColumnReaderOnThreads, OfOneFileReadSideBySide) {
  for (const int compression : {0, 1, 2}) {
    const TempFile file(FileBytes({.compression = compression, .cases = 1000}));
    const SystemFileDataSource source(file.Name(), "", false);
    const Batches expected = Read(source, {.rowsPerBatch = 50}, 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
      threads.emplace_back([&] { EXPECT_EQ(expected, Read(source, {.rowsPerBatch = 50}, 2)); });
    for (std::thread& thread : threads) thread.join();
  }
}

TEST(ColumnReaderOnThreads, BatchesMayBeDroppedOnAnotherThread) {
  const TempFile file(FileBytes({.cases = 1000}));
  const SystemFileDataSource source(file.Name(), "", false);
  ColumnReader reader(source, {.rowsPerBatch = 20, .threads = 2});
  std::vector<std::thread> threads;
  while (auto batch = reader.Next()) threads.emplace_back([held = std::move(batch)]() mutable { held.reset(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(50u, threads.size());
}

TEST(ColumnReaderOnThreads, StartsNoneForOne) {
  for (const int compression : {0, 1, 2}) {
    const TempFile file(FileBytes({.compression = compression, .cases = 3000, .blockSize = 512}));
    const SystemFileDataSource source(file.Name(), "", false);
    const std::size_t before = Threads();
    ColumnReader reader(source, {.rowsPerBatch = 1000});
    reader.Next();
    EXPECT_TRUE(HasThreads(before)) << compression;
    ColumnReader onThreads(source, {.rowsPerBatch = 100, .threads = 2});
    onThreads.Next();
    EXPECT_LT(before, Threads()) << compression;
  }
}

TEST(ColumnReaderOnThreads, ReadsOtherSourcesOnOne) {
  const MemorySource source = People(100);
  const std::size_t before = Threads();
  ColumnReader reader(source, {.rowsPerBatch = 10, .threads = 4});
  reader.Next();
  EXPECT_TRUE(HasThreads(before));
  EXPECT_EQ(Read(source, {.rowsPerBatch = 9}, 1), Read(source, {.rowsPerBatch = 9}, 4));
}

TEST(ColumnReaderOnThreadsDeathTest, RefusesNone) {
  const MemorySource source = People();
  EXPECT_DEATH(ColumnReader(source, {.threads = 0}), "threads >= 1");
}

}  // namespace
}  // namespace ColumnReader_test
