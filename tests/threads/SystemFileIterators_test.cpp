// Iterators of one system file, each on a thread of its own: in every form of the cases they deliver what a single one
// does. And threads that each have sources of their own, which they write, append to and read.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/SystemFileDataSource.h"
#include "storage/sparsefileindex.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/TempFile.h"
#include "tests/threads/StreamOnDisk.h"

namespace SystemFileIterators_test {
namespace {

constexpr int kThreads = 4;

// Runs the work on so many threads at once, with the number of each.
template <class Work>
void OnThreads(int count, Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

// ---- One source ----

struct Form {
  const char* name;
  int compression;
  bool encrypted;
};

constexpr int kTextWidth = 300;  // in segments in the file
constexpr long long kRows = 4000;

// The cells of a row: its number, a number that is a literal in some rows only, and a very long string.
std::vector<OBS> RowCells(long long row) {
  const double fraction = row % 3 == 0 ? 0.25 : 0.0;
  std::string text = "row " + std::to_string(row);
  if (row % 5 == 0) text.resize(kTextWidth, static_cast<char>('a' + row % 26));
  return CellsOf(FileCase{static_cast<double>(row), static_cast<double>(row % 100) + fraction,
                          FileText(text, static_cast<std::size_t>(kTextWidth))});
}

void AddVariables(SystemFileDataSource& source) {
  source.MakeVariable(0, nullptr).SetName("Row");
  source.MakeVariable(0, nullptr).SetName("Number");
  source.MakeVariable(kTextWidth, nullptr).SetName("VeryLongText");
}

class IteratorsOfAFile : public testing::TestWithParam<Form> {
 protected:
  IteratorsOfAFile() {
    SystemFileDataSource source;
    AddVariables(source);
    source.SetFileSpec(m_file.Name().c_str());
    if (GetParam().encrypted) source.SetPassword(ExtNameStr(std::string("secret")));
    source.SetCompressionLevel(GetParam().compression);
    for (long long row = 0; row < kRows; ++row) source.AddRow(RowCells(row).data());
    source.Close();
  }

  SystemFileDataSource Opened() const {
    return SystemFileDataSource(m_file.Name(), GetParam().encrypted ? "secret" : "", false);
  }

  const CheapKeys m_cheap;
  const TempFile m_file{""};
};

INSTANTIATE_TEST_SUITE_P(Forms, IteratorsOfAFile,
                         testing::Values(Form{"Uncompressed", 0, false}, Form{"ByteCodes", 1, false},
                                         Form{"ZlibBlocks", 2, false}, Form{"UncompressedEncrypted", 0, true},
                                         Form{"ByteCodesEncrypted", 1, true}),
                         kRowName);

// Returns the first row that is not delivered as it was written; -1 when all are.
long long FirstWrongRow(const QUAV_DataSource& source, const std::vector<long long>& rows) {
  const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
  for (const long long row : rows) {
    iterator->Seek(row);
    if (!iterator->Next() || PresentCells(*iterator) != RowCells(row)) return row;
  }
  return -1;
}

TEST_P(IteratorsOfAFile, DeliverAllCasesToEachThread) {
  const auto source = Opened();
  std::vector<long long> counts(kThreads);
  OnThreads(kThreads, [&](int thread) {
    const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
    long long& row = counts[static_cast<std::size_t>(thread)];
    while (iterator->Next() && PresentCells(*iterator) == RowCells(row)) ++row;
  });
  EXPECT_EQ(std::vector<long long>(kThreads, kRows), counts);
  EXPECT_EQ(kRows, source.RowCount());
}

TEST_P(IteratorsOfAFile, SeekAtRandomOnEachThread) {
  const auto source = Opened();
  std::vector<long long> wrong(kThreads, -2);
  OnThreads(kThreads, [&](int thread) {
    std::mt19937 engine(static_cast<unsigned>(thread));
    std::vector<long long> rows;
    for (int i = 0; i < 60; ++i) {
      const auto row = static_cast<long long>(engine() % kRows);
      for (long long next = row; next < std::min(row + static_cast<long long>(engine() % 8) + 1, kRows); ++next)
        rows.push_back(next);
    }
    wrong[static_cast<std::size_t>(thread)] = FirstWrongRow(source, rows);
  });
  EXPECT_EQ(std::vector<long long>(kThreads, -1), wrong);
}

// Some walk forward and fill the index, others look rows up in it.
TEST_P(IteratorsOfAFile, WalkAndSeekAtOnce) {
  const auto source = Opened();
  std::vector<long long> wrong(kThreads, -2);
  OnThreads(kThreads, [&](int thread) {
    std::vector<long long> rows;
    for (long long row = 0; row < kRows; row += thread % 2 == 0 ? 1 : 17)
      rows.push_back(thread % 2 == 0 ? row : kRows - 1 - row);
    wrong[static_cast<std::size_t>(thread)] = FirstWrongRow(source, rows);
  });
  EXPECT_EQ(std::vector<long long>(kThreads, -1), wrong);
}

TEST_P(IteratorsOfAFile, LearnTheNumberOfCasesOnAnyThread) {
  auto source = Opened();
  source.RowCount(-1);
  OnThreads(kThreads, [&](int thread) {
    const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
    iterator->Seek(kRows - 1 - thread);
    while (iterator->Next()) {
    }
  });
  EXPECT_EQ(kRows, source.RowCount());
}

TEST_P(IteratorsOfAFile, OfASourceThatWasWrittenAreMadeOnAnyThread) {
  const TempFile file("");
  SystemFileDataSource source;
  AddVariables(source);
  source.SetFileSpec(file.Name().c_str());
  if (GetParam().encrypted) source.SetPassword(ExtNameStr(std::string("secret")));
  source.SetCompressionLevel(GetParam().compression);
  for (long long row = 0; row < 10; ++row) source.AddRow(RowCells(row).data());
  source.Close();
  std::vector<long long> wrong(kThreads, -2);
  OnThreads(kThreads, [&](int thread) {
    wrong[static_cast<std::size_t>(thread)] = FirstWrongRow(source, {thread, 9, 0});
  });
  EXPECT_EQ(std::vector<long long>(kThreads, -1), wrong);
}

// ---- The index by itself ----

TEST(HandlesOfAnIndex, FindWhatAnyThreadHasPassed) {
  constexpr long kPositions = 40'000;
  constexpr long kBytesPerRow = 300;
  QUAV_SparseFileIndex index(1);
  index.KeepEdges(100'000);
  std::atomic<int> wrong = 0;
  OnThreads(kThreads, [&](int thread) {
    QUAV_SparseFileIndex mine = index;
    for (long row = 0; row < kPositions; row += 1 + thread) {
      mine.Add(row, row * kBytesPerRow);
      if (row % 64 != 0) continue;
      long long foundRow = -1;
      long position = -1;
      mine.GetPos(row / 2, foundRow, position);
      if (foundRow > row / 2 || position != foundRow * kBytesPerRow) ++wrong;
    }
  });
  EXPECT_EQ(0, wrong);
  long long row = 0;
  long position = 0;
  index.GetPos(kPositions, row, position);
  EXPECT_GT(position, (kPositions - 1) * kBytesPerRow - 100'000);
}

// ---- Sources of their own ----

// Writes a file with labels, which the process keeps in one place.
void WriteFile(const std::string& name, int compression, const std::string& password, int rows) {
  SystemFileDataSource source;
  AddVariables(source);
  source.GetVariable(0).SetLabel("the row", 7);
  source.GetVariable(1).SetLabel("a number", 8);
  QUAV_ValueLabelMap labels(0);
  labels.AddPair(1.0, "one");
  source.GetVariable(1).SetValueLabels(labels);
  source.SetLabel("a file");
  source.SetTimestamp();
  source.SetFileSpec(name.c_str());
  if (!password.empty()) source.SetPassword(ExtNameStr(password));
  source.SetCompressionLevel(compression);
  for (int row = 0; row < rows; ++row) source.AddRow(RowCells(row).data());
  source.Close();
}

TEST(SourcesOnSeveralThreads, AreWrittenAppendedToAndRead) {
  const CheapKeys cheap;
  std::vector<std::unique_ptr<TempFile>> files;
  for (int i = 0; i < kThreads; ++i) files.push_back(std::make_unique<TempFile>(""));
  std::atomic<int> wrong = 0;
  OnThreads(kThreads, [&](int thread) {
    const std::string name = files[static_cast<std::size_t>(thread)]->Name();
    for (int round = 0; round < 12; ++round) {
      const std::string password = round % 4 == 3 ? "secret" : "";
      WriteFile(name, round % 3, password, 20);
      {
        SystemFileDataSource source(name, password, false);
        if (!SystemFileDataSource::IsOpen(name.c_str())) ++wrong;
        source.AddRow(RowCells(20).data());
        source.Close();
      }
      const std::unique_ptr<QUAV_DataSource, LineDeleter> source(
          SystemFileDataSource::GetSystemFile(name, password, false, nullptr));
      const QUAV_Variable& number = source->GetVariable(1);
      if (source->RowCount() != 21 || number.GetLabel() == std::string("the row")) ++wrong;
      std::vector<long long> rows;
      for (long long row = 20; row >= 0; --row) rows.push_back(row);
      if (FirstWrongRow(*source, rows) != -1) ++wrong;
    }
  });
  EXPECT_EQ(0, wrong);
}

TEST(SourcesOnSeveralThreads, GetVariablesOfDifferentIdentities) {
  std::vector<std::vector<unsigned>> numbers(kThreads);
  OnThreads(kThreads, [&](int thread) {
    for (int i = 0; i < 1000; ++i) numbers[static_cast<std::size_t>(thread)].push_back(QUAV_Variable(0).GetID().number);
  });
  std::vector<unsigned> all;
  for (const auto& some : numbers) all.insert(all.end(), some.begin(), some.end());
  std::ranges::sort(all);
  EXPECT_EQ(all.end(), std::ranges::adjacent_find(all));
}

TEST(SourcesOnSeveralThreads, RegisterValueLabels) {
  std::atomic<int> wrong = 0;
  OnThreads(kThreads, [&](int) {
    for (int i = 0; i < 200; ++i) {
      const QUAV_VLImplPointer body(new QUAV_VLMapImpl(0));
      const QUAV_VLMapID id = QUAV_VLMapRegistry::Add(body, {});
      if (QUAV_VLMapRegistry::GetID(body) != id || QUAV_VLMapRegistry::GetMap(id) != body) ++wrong;
      if (i % 20 == 0) QUAV_VLMapRegistry::CollectGarbage();
    }
  });
  QUAV_VLMapRegistry::CollectGarbage();
  EXPECT_EQ(0, wrong);
}

}  // namespace
}  // namespace SystemFileIterators_test
