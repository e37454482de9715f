// Batches of a file whose n-th read fails, and streams whose rows wait on a disk that fails. A failure reaches the
// caller, the rows before it are those of the file, and no half-made file remains.

#include <gmock/gmock.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "datasrc/ArrowImport.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/columns/CodedFile.h"
#include "tests/columns/MadeStream.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Seeds.h"
#include "tests/support/TempFile.h"

namespace columns_test {
namespace {

// ---- Reading batches ----

struct ReadingRow {
  int compression;
  int threads;
  bool persistent;
  bool few;
};

void PrintTo(const ReadingRow& row, std::ostream* out) {
  *out << "compression " << row.compression << ", " << row.threads << " threads"
       << (row.persistent ? ", persistent" : ", once") << (row.few ? ", few columns" : "");
}

std::vector<ReadingRow> ReadingRows() {
  std::vector<ReadingRow> rows;
  for (const int compression : {0, 1, 2})
    for (const int threads : {1, 2, 3})
      for (const bool persistent : {true, false})
        for (const bool few : {true, false}) rows.push_back({compression, threads, persistent, few});
  return rows;
}

// A file in zlib blocks is read in small pieces: fewer rows make enough reads.
int RowsOf(const ReadingRow& row) { return row.compression == 2 ? 1200 : 5000; }

// A thread seeks to each batch of cases that are not coded. A seek forgets a failure that the next read has healed.
bool MayHeal(const ReadingRow& row) { return row.compression == 0 && row.threads > 1 && !row.persistent; }

class ColumnReaderFaults : public testing::TestWithParam<ReadingRow> {};

// The file has many times the bytes of a request.
TEST_P(ColumnReaderFaults, RowsBeforeAFailedReadAreThoseOfTheFile) {
  const TempFile onDisk(FileBytes(RowsOf(GetParam()), 60, 1, GetParam().compression));
  const SystemFileDataSource whole(ExtNameStr(onDisk.Name()), ExtNameStr(), false);
  ColumnReaderOptions options;
  options.rowsPerBatch = 500;
  // Few are picked from byte codes, many are decoded with all others.
  if (GetParam().few)
    options.columns = {29, 3};
  else
    options.columns = {0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22};
  const Outcome expected = ByBatches(whole, options);
  ASSERT_EQ(std::nullopt, expected.second);
  ASSERT_EQ(static_cast<std::size_t>(RowsOf(GetParam())), expected.first.size());
  options.threads = GetParam().threads;
  int failures = 0;
  for (int n = 1;; n += kPlaceStep) {
    SCOPED_TRACE(n);
    ASSERT_GT(1000, n);
    const SystemFileDataSource source(ExtNameStr(onDisk.Name()), ExtNameStr(), false);
    Outcome outcome;
    bool struck = false;
    {
      const FailingCalls calls({.call = Call::read, .reason = EIO, .persistent = GetParam().persistent}, n);
      const auto error = ErrorOf([&] { outcome = ByBatches(source, options); });
      if (error) outcome.second = error->Number();
      struck = FailingCalls::Struck();
    }
    ASSERT_LE(outcome.first.size(), expected.first.size());
    for (std::size_t row = 0; row < outcome.first.size(); ++row)
      ASSERT_EQ(expected.first[row], outcome.first[row]) << row;
    if (outcome.second) {
      ASSERT_TRUE(struck);
      ++failures;
    } else {
      EXPECT_EQ(expected.first.size(), outcome.first.size()) << "a failure is said";
    }
    if (!struck) break;
  }
  EXPECT_TRUE(failures > 0 || MayHeal(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Files, ColumnReaderFaults, testing::ValuesIn(ReadingRows()));

// ---- Writing a stream ----

std::vector<MadeColumn> ManyTexts() {
  std::vector<std::string> texts;
  for (int row = 0; row < 20000; ++row) texts.push_back(std::string(static_cast<std::size_t>(row % 50), 'x'));
  return {TextColumn("text", texts)};
}

class ArrowImportFaults : public testing::TestWithParam<Call> {};

// Texts without a known width wait in a temp file.
TEST_P(ArrowImportFaults, NothingRemainsOfAFileThatFails) {
  const std::vector<MadeColumn> columns = ManyTexts();
  const TempFile onDisk("the old file");
  int failures = 0;
  for (int n = 1;; ++n) {
    SCOPED_TRACE(n);
    ASSERT_GT(1000, n);
    Arrow<ArrowArrayStream> stream = MadeStream(columns).Stream();
    bool isDone = false;
    bool struck = false;
    {
      const FailingCalls calls({.call = GetParam(), .reason = EIO, .persistent = true}, n);
      try {
        EXPECT_EQ(20000, WriteArrowStream(&stream, onDisk.Name(), {.sync = false}).rows);
        isDone = true;
      } catch (const std::exception&) {
        ++failures;
      }
      struck = FailingCalls::Struck();
    }
    EXPECT_EQ(nullptr, stream.release);
    const std::filesystem::directory_iterator entries(onDisk.Directory());
    EXPECT_EQ(1, std::distance(begin(entries), end(entries)));
    EXPECT_EQ(!isDone, onDisk.Bytes() == "the old file");
    if (isDone) {
      const SystemFileDataSource written(ExtNameStr(onDisk.Name()), ExtNameStr(), false);
      // The number of cases stays unknown when it cannot be stored; the cases are there.
      EXPECT_EQ(20000u, ByBatches(written, {}).first.size());
      onDisk.SetBytes("the old file");
    }
    if (!struck) {
      EXPECT_TRUE(isDone);
      break;
    }
  }
  EXPECT_LT(0, failures);
}

INSTANTIATE_TEST_SUITE_P(Calls, ArrowImportFaults, testing::Values(Call::open, Call::read, Call::write));

}  // namespace
}  // namespace columns_test
