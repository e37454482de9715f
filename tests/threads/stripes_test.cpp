// Temp files with compression switched on, and the store of cases on such a file: stripes over one, two and three
// directories, on streams that have threads.

#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "StreamOnDisk.h"
#include "datasrc/QUAV_TempFile.h"
#include "datasrc/Settings.h"
#include "datasrc/TempFileDataStore.h"
#include "datasrc/ZCompressed_FileStream.h"
#include "storage/sortTemp/SortMeeting.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/SpoolDirectories.h"

namespace stripes_test {
namespace {

constexpr std::size_t kStripe = QUAV_TempFile::kStripeSize;
constexpr std::size_t kMegabyte = 1024UL * 1024;

// Switches compression on, and off again at the end.
class Compression {
 public:
  Compression() { setOption(1); }
  Compression(const Compression&) = delete;
  Compression& operator=(const Compression&) = delete;
  ~Compression() { setOption(0); }
};

std::size_t SizeOnDisk(const QUAV_TempFile& file) {
  std::size_t size = 0;
  for (const std::string& name : StripeNames(file.Name())) size += std::filesystem::file_size(OpenFileIn(name));
  return size;
}

struct KindRow {
  std::string name;
  const char* prefix;
  std::size_t directories;
  unsigned long footprint;  // of one file
};

class CompressedTempFile : public testing::TestWithParam<KindRow> {
 protected:
  static QUAV_TempFile NewFile(bool encrypt = true) { return QUAV_TempFile(GetParam().prefix, encrypt); }

 private:
  const Watchdog m_watchdog;
  const SpoolDirectories m_directories{GetParam().directories};
  const Compression m_on;
};

TEST_P(CompressedTempFile, ReadsBackWhatWasWritten) {
  const std::string bytes = Lines(9 * kMegabyte + 1234);
  QUAV_TempFile file = NewFile();
  EXPECT_EQ(bytes.size(), Write(file, bytes, 3000));
  EXPECT_NE(0, file.Flush());
  EXPECT_EQ(static_cast<long>(bytes.size()), file.Tell());
  QUAV_TempFile copy(file);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
  EXPECT_EQ(0, copy.EndOfFile());
  EXPECT_EQ("", Read(copy, 1));
  EXPECT_NE(0, copy.EndOfFile());
  EXPECT_TRUE(copy.Good());
}

TEST_P(CompressedTempFile, AcceptsARequestOfAnySize) {
  const std::string bytes = Lines(9 * kMegabyte);
  QUAV_TempFile file = NewFile();
  EXPECT_EQ(10, Write(file, bytes.substr(0, 10)));
  EXPECT_EQ(bytes.size() - 10, file.Write(bytes.data() + 10, bytes.size() - 10));
  file.Flush();
  QUAV_TempFile copy(file);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
}

TEST_P(CompressedTempFile, IsSmallerOnDisk) {
  QUAV_TempFile file = NewFile();
  Write(file, Lines(4 * kMegabyte));
  file.Flush();
  const QUAV_TempFile copy(file);
  EXPECT_LT(SizeOnDisk(file), kMegabyte);
}

TEST_P(CompressedTempFile, ReadsFromAnyPosition) {
  const std::string bytes = Lines(5 * kStripe + 77);
  QUAV_TempFile file = NewFile(false);
  Write(file, bytes);
  file.Flush();
  QUAV_TempFile copy(file);
  for (const std::size_t at : {4 * kStripe + 100, kStripe - 3, kStripe, std::size_t{0}, 2 * kStripe + 1})
    EXPECT_TRUE(SameBytes(bytes.substr(at, kStripe + 10), ReadAt(copy, at, kStripe + 10))) << at;
}

TEST_P(CompressedTempFile, WindowIsACopy) {
  const std::string bytes = Lines(3 * kStripe);
  QUAV_TempFile file = NewFile();
  Write(file, bytes);
  file.Flush();
  QUAV_TempFile copy(file);
  copy.Seek(0, kSeekFromStart);
  std::string found;
  for (QUAV_TempFile::Window window = copy.Peek(10); window.Size() > 0; window = copy.Peek(10)) {
    for (const std::byte* byte = window.begin; byte != window.end; ++byte) found += static_cast<char>(*byte);
    copy.Skip(window.Size());
  }
  EXPECT_TRUE(SameBytes(bytes, found));
  EXPECT_NE(0, copy.EndOfFile());
}

TEST_P(CompressedTempFile, CopiesReadInTurnFromDifferentPositions) {
  const std::string bytes = Lines(2 * kMegabyte);
  QUAV_TempFile file = NewFile();
  Write(file, bytes);
  file.Flush();
  std::list<QUAV_TempFile> copies;
  for (std::size_t i = 0; i < 4; ++i) copies.emplace_back(file);
  for (std::size_t round = 0; round < 3; ++round) {
    std::size_t at = round * 1000;
    for (QUAV_TempFile& copy : copies) {
      EXPECT_TRUE(SameBytes(bytes.substr(at, 5000), ReadAt(copy, at, 5000))) << at;
      at += kMegabyte / 2;
    }
  }
}

TEST_P(CompressedTempFile, FootprintCountsAllFiles) {
  EXPECT_EQ(GetParam().footprint * GetParam().directories, NewFile().Footprint());
}

TEST_P(CompressedTempFile, LeavesNoThreadAndNoFile) {
  const std::size_t threads = Threads();
  const std::size_t descriptors = OpenDescriptors();
  {
    QUAV_TempFile file = NewFile();
    Write(file, Lines(kMegabyte));
    QUAV_TempFile copy(file);
    ReadAt(copy, 0, kMegabyte / 2);
  }
  EXPECT_TRUE(HasThreads(threads));
  EXPECT_EQ(descriptors, OpenDescriptors());
}

// Bytes that reached the files without a fault cannot be taken back.
TEST_P(CompressedTempFile, RefusesWritesAfterAFailedWrite) {
  const FaultyDisk disk({.write = 1, .error = ENOSPC, .lasting = true});
  QUAV_TempFile file = NewFile();
  const std::string bytes = Noise(kMegabyte);
  while (file.Good()) Write(file, bytes, kStripe / 4);
  for (const long position : {0L, 100L, file.Tell()}) {
    file.Clear();
    file.Seek(position, kSeekFromStart);
    errno = 0;
    EXPECT_EQ(0, Write(file, "x"));
    EXPECT_EQ(ENOSPC, errno);
  }
}

TEST_P(CompressedTempFile, Throws1001WhenAFileCannotBeOpened) {
  const std::size_t threads = Threads();
  const std::size_t descriptors = OpenDescriptors();
  for (int n = 1; n <= static_cast<int>(GetParam().directories); ++n) {
    const FaultyDisk disk({.open = n, .error = EMFILE});
    EXPECT_EQ(1001, ErrorOf([] { NewFile(); })->Number()) << n;
    EXPECT_TRUE(HasThreads(threads));
    EXPECT_EQ(descriptors, OpenDescriptors());
  }
}

std::vector<KindRow> KindRows() {
  std::vector<KindRow> rows;
  for (std::size_t n = 1; n <= 3; ++n) {
    rows.push_back({"cacheOver" + std::to_string(n), "cache", n, 0x7FF800});
    rows.push_back({"sortOver" + std::to_string(n), "sort", n, 0x3FF040});
  }
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Kinds, CompressedTempFile, testing::ValuesIn(KindRows()), kRowName);

// ---- Random scripts ----

// A compressed temp file that is written once and then read by copies in turn, compared with a string. Sizes and places
// are on both sides of what the stream counts in: a padded block, a page, a stripe, a round of stripes, a window, and a
// block of each kind, over all files.
class CompressedTempFileScript {
 public:
  CompressedTempFileScript(unsigned seed, const char* prefix, std::size_t directories)
      : m_random(seed), m_directories(directories), m_file(prefix, Below(2) == 0) {}

  void Run() {
    static const std::string stock = Lines(8 * kMegabyte) + Noise(8 * kMegabyte);
    const std::size_t whole = Near(m_blocks[Below(2)] * m_directories, 2);
    const std::string bytes = stock.substr(Below(stock.size() - std::min(whole, stock.size()) + 1), whole);
    WriteAll(bytes);
    std::list<QUAV_TempFile> copies;
    for (std::size_t i = 0; i < 3; ++i) copies.emplace_back(m_file);
    for (int step = 0; step < 25 && !testing::Test::HasFailure(); ++step) {
      const std::size_t place = std::min(Place(), bytes.size());
      const std::size_t size = Size();
      QUAV_TempFile& copy = *std::next(copies.begin(), static_cast<long>(Below(copies.size())));
      EXPECT_TRUE(SameBytes(bytes.substr(place, size), ReadAt(copy, place, size))) << place;
      EXPECT_EQ(place + size > bytes.size(), copy.EndOfFile() != 0) << place;
      EXPECT_TRUE(copy.Good());
    }
  }

 private:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }
  std::size_t Near(std::size_t unit, std::size_t most) { return (1 + Below(most)) * unit - 3 + Below(7); }

  std::size_t Size() {
    const std::size_t units[] = {16, 4096, kStripe, m_directories * kStripe, QUAV_FileStream::kMaxPeek};
    return Below(8) == 0 ? Near(m_blocks[Below(2)], 1) : Near(units[Below(std::size(units))], 3);
  }
  std::size_t Place() { return Below(2) == 0 ? Near(m_blocks[Below(2)] * m_directories, 2) : Size(); }

  void WriteAll(const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const std::string piece = bytes.substr(done, Size());
      ASSERT_EQ(piece.size(), m_file.Write(piece.data(), piece.size()));
      done += piece.size();
      if (Below(20) == 0) m_file.Flush();
    }
    m_file.Flush();
    EXPECT_EQ(static_cast<long>(bytes.size()), m_file.Length());
  }

  const std::size_t m_blocks[2] = {ZCompressed_FileStream::kBufferSize, kSortBlockSize};
  std::mt19937 m_random;
  const std::size_t m_directories;
  QUAV_TempFile m_file;
};

TEST(CompressedTempFileScripts, AgreeWithAString) {
  SpoolDirectories spool(1);
  const Compression on;
  for (unsigned seed = 1; seed <= RandomScripts() && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Watchdog watchdog;
    const std::size_t directories = 1 + seed % 3;
    spool.Use(directories);
    CompressedTempFileScript(seed, seed % 2 == 0 ? "cache" : "sort", directories).Run();
  }
}

// ---- Sorting ----

TEST(CompressedMergeFile, ManyCopiesReadOnTheirOwnThreads) {
  const Watchdog watchdog;
  const SpoolDirectories directories(2);
  const Compression on;
  const std::string bytes = Lines(20 * kMegabyte);
  QUAV_TempFile file("merge", true);
  Write(file, bytes);
  std::list<QUAV_TempFile> copies;
  for (std::size_t i = 0; i < 4; ++i) copies.emplace_back(file);
  std::vector<std::thread> threads;
  std::size_t at = 0;
  for (QUAV_TempFile& copy : copies) {
    threads.emplace_back([&copy, &bytes, at] {
      EXPECT_TRUE(SameBytes(bytes.substr(at, 6 * kMegabyte), ReadAt(copy, at, 6 * kMegabyte)));
    });
    at += 5 * kMegabyte - 3;
  }
  for (std::thread& thread : threads) thread.join();
}

// ---- The store of cases ----

class CompressedTempFileDataStore : public testing::TestWithParam<std::size_t> {
 protected:
  // Enough columns that a case crosses stripes and differs from its neighbours.
  static constexpr int kColumns = 500;
  // More rows than a buffer of one file holds.
  static constexpr int kRows = 2500;

  static std::vector<OBS> Case(int row) {
    std::vector<OBS> cells;
    for (int column = 0; column < kColumns; ++column) cells.push_back(NumberCell(row * 1.25 + column / 7.0));
    return cells;
  }
  static std::unique_ptr<TempFileDataStore> NewStore() {
    auto store = std::make_unique<TempFileDataStore>(nullptr);
    for (int column = 0; column < kColumns; ++column) store->MakeVariable(0, nullptr);
    return store;
  }
  static void Add(TempFileDataStore& store, int row) { store.AddRow(Case(row).data()); }
  static void ExpectCase(QUAV_InputCaseIterator& cases, int row) {
    ASSERT_NE(0, cases.Next()) << row;
    for (const int column : {0, 1, kColumns - 1})
      ASSERT_EQ(row * 1.25 + column / 7.0, cases.GetNumericValue(column)) << row;
  }

 private:
  const Watchdog m_watchdog;
  const SpoolDirectories m_directories{GetParam()};
  const Compression m_on;
};

using Walk = std::unique_ptr<QUAV_InputCaseIterator>;

TEST_P(CompressedTempFileDataStore, ReturnsItsCasesInAnyOrder) {
  const auto store = NewStore();
  for (int row = 0; row < kRows; ++row) Add(*store, row);
  store->Close();
  const Walk cases(store->MakeIterator(nullptr));
  for (int row = 0; row < kRows; ++row) ExpectCase(*cases, row);
  EXPECT_EQ(0, cases->Next());
  for (const int row : {2000, 2001, 1999, 10, kRows - 1, 0}) {
    EXPECT_NE(0, cases->Seek(row));
    ExpectCase(*cases, row);
  }
}

TEST_P(CompressedTempFileDataStore, SeveralIteratorsReadAtOnce) {
  const auto store = NewStore();
  for (int row = 0; row < kRows; ++row) Add(*store, row);
  const Walk first(store->MakeIterator(nullptr));
  const Walk second(store->MakeIterator(nullptr));
  second->Seek(2000);
  for (int row = 0; row < 10; ++row) {
    ExpectCase(*first, row);
    ExpectCase(*second, 2000 + row);
  }
}

// Each read of the disk brings one block, or a piece of an encrypted one: a step count.
TEST_P(CompressedTempFileDataStore, IteratorsByTurnsCostNoMoreThanAFewWalks) {
  const auto store = NewStore();
  for (int row = 0; row < kRows; ++row) Add(*store, row);
  store->Close();
  const FaultyDisk disk;
  {
    const Walk alone(store->MakeIterator(nullptr));
    for (int row = 0; row < kRows; ++row) ExpectCase(*alone, row);
  }
  const int forOneWalk = disk.Reads();
  const Walk first(store->MakeIterator(nullptr));
  const Walk second(store->MakeIterator(nullptr));
  second->Seek(kRows / 2);
  for (int row = 0; row < kRows / 2; ++row) {
    ExpectCase(*first, row);
    ExpectCase(*second, kRows / 2 + row);
  }
  EXPECT_LE(disk.Reads() - forOneWalk, 5 * forOneWalk);
}

// No accepted row is lost silently: either it can be read, or the store reports the fault with its file's name.
TEST_P(CompressedTempFileDataStore, ReportsAnyFailedWriteAs1002) {
  const std::size_t threads = Threads();
  const std::size_t descriptors = OpenDescriptors();
  // An encrypted block is written in many pieces.
  for (int n = 1;; n += 1 + n / 2) {
    const FaultyDisk disk({.write = n, .error = ENOSPC, .lasting = true});
    {
      const auto store = NewStore();
      const auto fault = ErrorOf([&] {
        for (int row = 0; row < kRows; ++row) Add(*store, row);
        store->Close();
      });
      EXPECT_EQ(disk.Struck(), fault.has_value()) << n;
      if (fault) {
        EXPECT_EQ(1002, fault->Number()) << n;
        EXPECT_NE(std::string::npos, std::string(fault->what()).find("cache-")) << fault->what();
        const auto again = ErrorOf([&] { Add(*store, 0), store->Close(); });
        EXPECT_EQ(1002, again ? again->Number() : 0) << n;
      }
    }
    EXPECT_TRUE(HasThreads(threads)) << n;
    EXPECT_EQ(descriptors, OpenDescriptors()) << n;
    if (!disk.Struck()) break;
  }
}

TEST_P(CompressedTempFileDataStore, ReportsReadsThatKeepFailingAs1003) {
  const auto store = NewStore();
  for (int row = 0; row < kRows; ++row) Add(*store, row);
  store->Close();
  for (int n = 1;; ++n) {
    const FaultyDisk disk({.read = n, .error = EIO, .lasting = true});
    const Walk cases(store->MakeIterator(nullptr));
    const auto fault = ErrorOf([&] {
      while (cases->Next() != 0) continue;
    });
    EXPECT_EQ(disk.Struck(), fault.has_value()) << n;
    if (!fault) break;
    EXPECT_EQ(1003, fault->Number()) << n;
    EXPECT_NE(std::string::npos, std::string(fault->what()).find("cache-")) << fault->what();
    const auto again = ErrorOf([&] { cases->Next(); });
    EXPECT_EQ(1003, again ? again->Number() : 0) << n;
  }
}

// The failed read is tried again, by the store or at the latest by the caller.
TEST_P(CompressedTempFileDataStore, ReturnsEachCaseOnceWhenOneReadFails) {
  const auto store = NewStore();
  for (int row = 0; row < kRows; ++row) Add(*store, row);
  store->Close();
  for (int n = 1;; ++n) {
    const FaultyDisk disk({.read = n, .error = EIO});
    const Walk cases(store->MakeIterator(nullptr));
    int row = 0;
    const auto walk = [&] {
      for (; cases->Next() != 0; ++row) ASSERT_EQ(row * 1.25, cases->GetNumericValue(0));
    };
    if (const auto fault = ErrorOf(walk)) {
      EXPECT_EQ(1003, fault->Number()) << n;
      walk();
    }
    EXPECT_EQ(kRows, row) << n;
    if (!disk.Struck()) break;
  }
}

INSTANTIATE_TEST_SUITE_P(Directories, CompressedTempFileDataStore, testing::Values(1, 2, 3));

}  // namespace
}  // namespace stripes_test
