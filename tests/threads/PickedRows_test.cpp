// Few columns of byte codes on several threads, in chunks whose borders come anywhere, give what one thread gives.

#include "Columns/batches/PickedRows.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Columns/batches/BatchWorkers.h"
#include "tests/columns/RandomFiles.h"
#include "tests/support/Seeds.h"

namespace PickedRows_test {
namespace {

struct Batches {
  std::vector<long long> firstRows;
  Outcome outcome;

  bool operator==(const Batches&) const = default;
};

template <class Reader>
Batches ReadAll(Reader& reader) {
  Batches batches;
  const auto error = ErrorOf([&] {
    while (const auto batch = reader.Next()) {
      batches.firstRows.push_back(batch->firstRow);
      for (long long row = 0; row < batch->rows; ++row) {
        BatchRow& values = batches.outcome.rows.emplace_back();
        for (const BatchColumn& column : batch->columns) values.push_back(ValueIn(column, row));
      }
    }
  });
  if (error) batches.outcome.error = error->Number();
  return batches;
}

std::unique_ptr<BatchWorkers> Workers(const QUAV_DataSource& source, const ColumnReaderOptions& options,
                                      std::size_t chunkSize) {
  const BatchPlan plan(source, options);
  return BatchWorkers::Make(source, plan, options.firstRow, options.rows, options.threads, chunkSize);
}

// Compares with one thread, in what is read and in what the source learns.
void ExpectSame(const TempFile& file, ColumnReaderOptions options, std::size_t chunkSize) {
  SCOPED_TRACE(testing::Message() << "chunks of " << chunkSize << ", batches of " << options.rowsPerBatch << ", rows "
                                  << options.firstRow << " + " << options.rows << ", " << options.threads
                                  << " threads, column " << (options.columns->empty() ? -1 : options.columns->front()));
  const int threads = options.threads;
  options.threads = 1;
  const SystemFileDataSource alone(file.Name(), "", false);
  ColumnReader reader(alone, options);
  const Batches expected = ReadAll(reader);

  options.threads = threads;
  const SystemFileDataSource source(file.Name(), "", false);
  const std::unique_ptr<BatchWorkers> workers = Workers(source, options, chunkSize);
  if (!workers) {
    // Only where there is no such row.
    ASSERT_LE(alone.RowCount(), options.firstRow);
    return;
  }
  const Batches found = ReadAll(*workers);
  ASSERT_EQ(expected.firstRows, found.firstRows);
  ASSERT_EQ(expected.outcome.error, found.outcome.error);
  ASSERT_EQ(expected.outcome.rows.size(), found.outcome.rows.size());
  for (std::size_t row = 0; row < found.outcome.rows.size(); ++row)
    ASSERT_EQ(expected.outcome.rows[row], found.outcome.rows[row]) << row;
  ASSERT_EQ(alone.RowCount(), source.RowCount());
}

// What chunks are too small for, is in several of them.
constexpr int kChunkSizes[] = {8, 72, 80, 200, 1000, 4096, 100000};

TEST(PickedRows, AreThoseOfOneThread) {
  for (unsigned int seed = 0; seed < Seeds(60); ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    const int numbers = 10 + below(200);
    const int cases = below(300);
    const TempFile file(FileBytes({.numbers = numbers, .textWidth = 1 + below(30), .cases = cases}, seed));
    for (int i = 0; i < 4; ++i) {
      ColumnReaderOptions options;
      options.columns = std::vector<int>();
      for (int k = below(3); k > 0; --k) options.columns->push_back(below(numbers));
      if (numbers > 60 && below(2) == 0) options.columns->push_back(numbers);
      if (below(2) == 0) options.firstRow = below(cases + 10);
      if (below(2) == 0) options.rows = below(cases + 10);
      options.rowsPerBatch = 1 + below(below(2) == 0 ? 20 : 300);
      options.threads = 1 + below(4);
      const auto chunkSize = static_cast<std::size_t>(kChunkSizes[below(std::size(kChunkSizes))]);
      ASSERT_NO_FATAL_FAILURE(ExpectSame(file, options, chunkSize));
    }
  }
}

TEST(PickedRows, OfAFileCutAtAnyByteComeBeforeItsFault) {
  const Shape shape = {.numbers = 20, .cases = 12};
  const std::string bytes = FileBytes(shape);
  for (std::size_t size = Dictionary(shape).Size(); size < bytes.size(); size += kPlaceStep) {
    const TempFile file(bytes.substr(0, size));
    ColumnReaderOptions options{.columns = {{3, 17}}, .rowsPerBatch = 5, .threads = 2};
    ASSERT_NO_FATAL_FAILURE(ExpectSame(file, options, size % 2 == 0 ? 104 : 4096)) << size;
    options.rows = 11;
    ASSERT_NO_FATAL_FAILURE(ExpectSame(file, options, 256)) << size;
  }
}

TEST(PickedRows, OfGroupsThatAreNotPlainAreThoseOfOneThread) {
  for (unsigned int seed = 0; seed < Seeds(20); ++seed) {
    const TempFile file(FileOfOddGroups(13 * static_cast<int>(20 + 40 * seed) + static_cast<int>(seed), seed, 12));
    for (const int chunkSize : kChunkSizes) {
      const auto size = static_cast<std::size_t>(chunkSize);
      ASSERT_NO_FATAL_FAILURE(ExpectSame(file, {.columns = {{12, 3}}, .rowsPerBatch = 20, .threads = 2}, size));
      ASSERT_NO_FATAL_FAILURE(
          ExpectSame(file, {.columns = {{0}}, .firstRow = 11, .rowsPerBatch = 7, .threads = 3}, size));
    }
  }
}

// Groups of literals only, nearly all of which look like codes of literals: nobody can tell where a group begins.
TEST(PickedRows, OfLiteralsThatLookLikeCodesAreThoseOfOneThread) {
  SystemFileBuilder builder = Dictionary({.numbers = 15, .textWidth = 8});
  for (int group = 0; group < 2 * 1200; ++group) {
    std::string bytes(72, '\xFD');
    if (group % 200 == 199) bytes[8 + 63] = static_cast<char>('0' + group / 200 % 10);
    builder.Raw(bytes);
  }
  const TempFile file(builder.Bytes());
  for (const int chunkSize : kChunkSizes)
    for (const int threads : {2, 3}) {
      const ColumnReaderOptions options = {.columns = {{7, 15}}, .rowsPerBatch = 60, .threads = threads};
      ASSERT_NO_FATAL_FAILURE(ExpectSame(file, options, static_cast<std::size_t>(chunkSize)));
    }
}

TEST(PickedRows, OfCasesThatAreLongerThanChunksAreThoseOfOneThread) {
  const TempFile file(FileBytes({.numbers = 3000, .cases = 25}));
  for (const int chunkSize : kChunkSizes)
    ASSERT_NO_FATAL_FAILURE(ExpectSame(file, {.columns = {{0, 1500, 2999, 3000}}, .rowsPerBatch = 4, .threads = 3},
                                       static_cast<std::size_t>(chunkSize)));
}

TEST(PickedRows, AreAsManyAsWanted) {
  const TempFile file(FileBytes({.numbers = 12, .cases = 200}));
  for (const long long first : {0, 1, 63, 64, 199, 200, 201})
    for (const long long rows : {0, 1, 63, 64, 65, 137, 200, 1000})
      ASSERT_NO_FATAL_FAILURE(
          ExpectSame(file, {.columns = {{4}}, .firstRow = first, .rows = rows, .rowsPerBatch = 32, .threads = 2}, 320));
}

// Slabs are used again while others are not read.
TEST(PickedRows, OfManySlabsAreThoseOfOneThread) {
  const TempFile file(FileBytes({.numbers = 6, .textWidth = 8, .cases = 150000}));
  for (const int rowsPerBatch : {1000, 70000, 1000000})
    ASSERT_NO_FATAL_FAILURE(ExpectSame(file, {.columns = {{2}}, .rowsPerBatch = rowsPerBatch, .threads = 3}, 8192));
}

TEST(PickedRows, MayBeLeftUnread) {
  const TempFile file(FileBytes({.numbers = 20, .cases = 5000}));
  const SystemFileDataSource source(file.Name(), "", false);
  for (const int count : {0, 1, 5}) {
    const auto workers = Workers(source, {.columns = {{4}}, .rowsPerBatch = 10, .threads = 3}, 400);
    for (int i = 0; i < count; ++i) EXPECT_EQ(10 * i, workers->Next()->firstRow);
  }
}

}  // namespace
}  // namespace PickedRows_test
