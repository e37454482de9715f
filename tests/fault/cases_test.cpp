// Reads, writes and appends cases with a stream that goes wrong at its n-th operation. n counts up until the run
// succeeds. A failure throws a number or leaves a stream that is not good. No wrong cell is ever delivered.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "storage/sparsefileindex.h"
#include "systemfile/CompressedSystemFile.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileOptions.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace cases_test {
namespace {

constexpr int kCellsPerCase = 3;
constexpr char kHeader[] = "some bytes of a dictionary";
constexpr long kRow0 = sizeof(kHeader) - 1;

std::vector<FileCase> SomeCases(int count) {
  std::vector<FileCase> cases;
  for (int row = 0; row < count; ++row)
    cases.push_back({row + 0.5, static_cast<double>(row), row % 2 == 0 ? FileValue("text") : FileValue("")});
  return cases;
}

std::string StreamOf(const std::vector<FileCase>& cases) {
  return kHeader + SystemFileBuilder().CodedCases(cases).Bytes();
}

struct FaultKind {
  const char* name;
  FaultyStream::Fault fault;
  bool fails;  // true: the stream is not good; false: the data ends too early
};

class CompressedSystemFileFaults : public testing::TestWithParam<FaultKind> {};
INSTANTIATE_TEST_SUITE_P(Faults, CompressedSystemFileFaults,
                         testing::Values(FaultKind{"Fails", FaultyStream::kFails, true},
                                         FaultKind{"FailsOnce", FaultyStream::kFailsOnce, true},
                                         FaultKind{"Shortens", FaultyStream::kShortens, false},
                                         FaultKind{"Stops", FaultyStream::kStops, false}),
                         kRowName);

struct FaultyCaseFile {
  SystemFileOptions options;
  QUAV_SparseFileIndex index{1};
  FaultyStream stream;
  CompressedSystemFile file;

  FaultyCaseFile(const std::string& bytes, FaultyStream::Fault fault, int n)
      : stream(bytes, fault, n), file(Options(options), stream, index, kRow0) {}
  static const SystemFileOptions& Options(SystemFileOptions& options) {
    options.layout = SystemFileLayout(kCellsPerCase);
    return options;
  }
};

// What the file delivers for the rows, one after the other, until it ends or throws.
struct Delivery {
  std::vector<std::vector<OBS>> cells;
  std::optional<SystemFileException> fault;
  bool struck = false;
};

Delivery Read(const std::string& bytes, const std::vector<long long>& rows, FaultyStream::Fault fault, int n) {
  Delivery delivery;
  FaultyCaseFile coded(bytes, fault, n);
  try {
    for (const long long row : rows) {
      std::vector<OBS> cells(kCellsPerCase);
      coded.file.Seek(row);
      if (coded.file.Read(cells.data(), nullptr) == 0) break;
      delivery.cells.push_back(cells);
    }
  } catch (const SystemFileException& thrown) {
    delivery.fault = thrown;
  }
  delivery.struck = coded.stream.Struck();
  return delivery;
}

void ExpectNoWrongCell(const FaultKind& kind, const std::vector<FileCase>& cases, const std::vector<long long>& rows) {
  int n = 1;
  for (bool struck = true; struck; ++n) {
    SCOPED_TRACE("operation " + std::to_string(n));
    const Delivery delivery = Read(StreamOf(cases), rows, kind.fault, n);
    struck = delivery.struck;
    for (std::size_t i = 0; i < delivery.cells.size(); ++i)
      EXPECT_EQ(CellsOf(cases[static_cast<std::size_t>(rows[i])]), delivery.cells[i]) << "row " << rows[i];
    if (delivery.fault) {
      EXPECT_TRUE(struck);
      EXPECT_EQ(1205, delivery.fault->Number());
      EXPECT_EQ(kind.fails, delivery.fault->System()) << delivery.fault->Expression();
      if (kind.fails) {
        EXPECT_EQ(EIO, delivery.fault->Errno());
      }
    } else if (!struck || kind.fails) {
      // A failure is never taken for the end of the data: without an exception all rows are there.
      EXPECT_EQ(rows.size(), delivery.cells.size());
    }
  }
  EXPECT_LT(3, n);
}

TEST_P(CompressedSystemFileFaults, SequentialReadDeliversNoWrongCell) {
  std::vector<long long> rows;
  for (long long row = 0; row < 40; ++row) rows.push_back(row);
  ExpectNoWrongCell(GetParam(), SomeCases(40), rows);
}

TEST_P(CompressedSystemFileFaults, ReadInAnyOrderDeliversNoWrongCell) {
  ExpectNoWrongCell(GetParam(), SomeCases(40), {17, 16, 3, 39, 0, 1, 20, 19, 39, 38, 5});
}

TEST(CompressedSystemFile, ReadsCorrectlyAfterTheStreamIsCleared) {
  const auto cases = SomeCases(40);
  for (int n = 2; n < 60; ++n) {
    SCOPED_TRACE("operation " + std::to_string(n));
    FaultyCaseFile coded(StreamOf(cases), FaultyStream::kFailsOnce, n);
    std::vector<OBS> cells(kCellsPerCase);
    try {
      while (coded.file.Read(cells.data(), nullptr) != 0) continue;
    } catch (const SystemFileException&) {
      coded.stream.Clear();
    }
    for (const long long row : {12, 3, 39, 0}) {
      coded.file.Seek(row);
      try {
        ASSERT_EQ(kCellsPerCase, coded.file.Read(cells.data(), nullptr));
      } catch (const SystemFileException&) {
        coded.stream.Clear();
        coded.file.Seek(row);
        ASSERT_EQ(kCellsPerCase, coded.file.Read(cells.data(), nullptr));
      }
      EXPECT_EQ(CellsOf(cases[static_cast<std::size_t>(row)]), cells) << "row " << row;
    }
  }
}

// ---- Writing ----

TEST_P(CompressedSystemFileFaults, WritesEverythingOrReportsTheFailure) {
  const auto cases = SomeCases(40);
  for (int n = 1;; ++n) {
    SCOPED_TRACE("operation " + std::to_string(n));
    FaultyCaseFile coded(kHeader, GetParam().fault, n);
    bool thrown = false;
    try {
      for (const FileCase& values : cases) coded.file.Write(CellsOf(values).data());
      coded.file.Flush();
    } catch (const SystemFileException& fault) {
      thrown = true;
      EXPECT_TRUE(fault.System());
    }
    if (!thrown && coded.stream.Good()) {
      EXPECT_EQ(StreamOf(cases), coded.stream.Bytes());
    }
    if (!coded.stream.Struck()) break;
  }
}

TEST(CompressedSystemFile, WritesUpToTheFailure) {
  const auto cases = SomeCases(40);
  for (int n = 2;; ++n) {
    FaultyCaseFile coded(kHeader, FaultyStream::kFails, n);
    try {
      for (const FileCase& values : cases) coded.file.Write(CellsOf(values).data());
      coded.file.Flush();
    } catch (const SystemFileException&) {
    }
    EXPECT_TRUE(StreamOf(cases).starts_with(coded.stream.Bytes())) << "operation " << n;
    if (!coded.stream.Struck()) break;
  }
}

// ---- Appending ----

// An append to data that ends too early starts where the data ends. These tests use only failures.
class CompressedSystemFileAppendFaults : public testing::TestWithParam<FaultKind> {};
INSTANTIATE_TEST_SUITE_P(Faults, CompressedSystemFileAppendFaults,
                         testing::Values(FaultKind{"Fails", FaultyStream::kFails, true},
                                         FaultKind{"FailsOnce", FaultyStream::kFailsOnce, true}),
                         kRowName);

TEST_P(CompressedSystemFileAppendFaults, AppendsEverythingOrReportsTheFailure) {
  const auto all = SomeCases(40);
  for (const bool reopen : {false, true}) {
    for (const std::size_t before : {0u, 1u, 10u, 11u, 12u, 13u}) {
      for (int n = 1;; ++n) {
        SCOPED_TRACE("operation " + std::to_string(n) + " after " + std::to_string(before) + " cases");
        FaultyCaseFile coded(StreamOf({all.begin(), all.begin() + static_cast<long>(before)}), GetParam().fault, n);
        bool thrown = false;
        try {
          coded.file.BeginAppend(static_cast<long long>(before), reopen);
          for (std::size_t row = before; row < all.size(); ++row) coded.file.Write(CellsOf(all[row]).data());
          coded.file.Flush();
        } catch (const SystemFileException& fault) {
          thrown = true;
          EXPECT_THAT(fault.Number(), testing::AnyOf(1201, 1202, 1205)) << fault.Expression();
          EXPECT_TRUE(fault.System()) << fault.Expression();
        }
        if (!thrown && coded.stream.Good()) {
          EXPECT_EQ(StreamOf(all), coded.stream.Bytes());
        }
        if (!coded.stream.Struck()) break;
      }
    }
  }
}

// ---- Failing system calls, through a data source ----

// Replaces the system's pread: the n-th call from now on fails.
class FaultyRead {
 public:
  explicit FaultyRead(int n) : m_before(PresentFileCalls()) {
    s_real = m_before.pread;
    s_left = n;
    PresentFileCalls().pread = [](int descriptor, void* buffer, std::size_t size, off_t offset) -> ssize_t {
      if (--s_left != 0) return s_real(descriptor, buffer, size, offset);
      errno = EIO;
      return -1;
    };
  }
  ~FaultyRead() { PresentFileCalls() = m_before; }

  bool Struck() const { return s_left <= 0; }

 private:
  inline static decltype(FileCalls::pread) s_real;
  inline static int s_left;
  FileCalls m_before;
};

TEST(SystemFileIterator, ReportsAReadFailureWithTheSystemError) {
  const int rows = 60'000;  // several buffers
  const auto cases = SomeCases(rows);
  for (const std::int32_t compression : {0, 1}) {
    SystemFileBuilder builder;
    builder.Header({.compression = compression}).Number("A").Number("B").String("S", 8).End();
    const TempFile file((compression == 0 ? builder.Cases(cases) : builder.CodedCases(cases)).Bytes());
    int errors = 0;
    for (int n = 1;; ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      const SystemFileDataSource source(file.Name(), "", false);
      const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
      const FaultyRead faulty(n);
      int row = 0;
      const auto error = ErrorOf([&] {
        for (; iterator->Next(); ++row) ASSERT_EQ(row + 0.5, iterator->GetNumericValue(0));
      });
      if (!error) {
        EXPECT_EQ(rows, row);
        EXPECT_EQ(rows, source.RowCount());
        EXPECT_FALSE(faulty.Struck());
        break;
      }
      ++errors;
      EXPECT_EQ(1205, error->Number());
      EXPECT_EQ(file.Name(), error->File());
      EXPECT_THAT(error->Text(), testing::HasSubstr(std::strerror(EIO)));
      EXPECT_EQ(-1, source.RowCount());
    }
    EXPECT_LT(3, errors);
  }
}

TEST(SystemFileIterator, DeliversTheRightRowOrNoneAfterAReadFailure) {
  const int rows = 60'000;
  const auto cases = SomeCases(rows);
  for (const std::int32_t compression : {0, 1}) {
    SystemFileBuilder builder;
    builder.Header({.compression = compression}).Number("A").Number("B").String("S", 8).End();
    const TempFile file((compression == 0 ? builder.Cases(cases) : builder.CodedCases(cases)).Bytes());
    for (int n = 2; n <= 4; ++n) {
      const SystemFileDataSource source(file.Name(), "", false);
      const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
      const FaultyRead faulty(n);
      EXPECT_TRUE(ErrorOf([&] {
        while (iterator->Next()) continue;
      }));
      const long long failed = iterator->Tell();
      // From here on the file works again.
      for (const long long row : {failed, failed + 1, failed - 1, failed, 0LL, failed + 1}) {
        SCOPED_TRACE("row " + std::to_string(row) + " after " + std::to_string(failed) + " failed, compression " +
                     std::to_string(compression));
        iterator->Seek(row);
        // The fault may have struck in the read that finds the end.
        if (row >= rows) {
          EXPECT_FALSE(iterator->Next());
          continue;
        }
        ASSERT_TRUE(iterator->Next());
        EXPECT_EQ(static_cast<double>(row) + 0.5, iterator->GetNumericValue(0));
      }
      EXPECT_EQ(failed < rows ? -1 : rows, source.RowCount());
    }
  }
}

}  // namespace
}  // namespace cases_test
