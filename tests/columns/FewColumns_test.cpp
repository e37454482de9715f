// Few columns of a system file, whose other cells are not decoded.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/columns/CodedFile.h"

namespace FewColumns_test {
namespace {

TEST(FewColumns, HaveTheCellsOfTheRows) {
  for (const int literals : {0, 10, 50, 100}) {
    const TempFile file(FileBytes(1500, literals, 7));
    const SystemFileDataSource source(file.Name(), "", false);
    for (const auto& columns : std::vector<std::vector<int>>{{0}, {29, 3}, {7, 7, 0}, {31}, {30, 1}, {}}) {
      for (const long long first : {0, 1, 777, 1499}) {
        ColumnReaderOptions options;
        options.columns = columns;
        options.firstRow = first;
        options.rowsPerBatch = 400;
        ColumnReader reader(source, options);
        ASSERT_EQ(RowsOfIterator(source, options), RowsOfBatches(reader, options)) << literals << ' ' << first;
      }
    }
  }
}

TEST(FewColumns, OfAFileCutAtAnyByteComeBeforeItsFault) {
  const std::string bytes = FileBytes(300, 20, 3);
  const std::vector<int> columns = {2, 28};
  ColumnReaderOptions options;
  options.columns = columns;
  options.rowsPerBatch = 50;
  // Near the end the cut changes from byte to byte; before, it moves by a prime.
  for (std::size_t cut = 0; cut < bytes.size() - 6000; cut += cut < 300 ? 1 : 991) {
    const TempFile file(bytes.substr(0, bytes.size() - cut));
    const SystemFileDataSource source(file.Name(), "", false);
    ASSERT_EQ(ByRows(source, columns), ByBatches(source, options)) << cut;
  }
}

TEST(FewColumns, LearnTheNumberOfCases) {
  const TempFile file(FileBytes(100, 20, 3));
  const SystemFileDataSource source(file.Name(), "", false);
  ColumnReaderOptions options;
  options.columns = std::vector<int>{5};
  EXPECT_EQ(100u, ByBatches(source, options).first.size());
  EXPECT_EQ(100, source.RowCount());
}

TEST(FewColumns, OfEveryCompressionAreTheSame) {
  const TempFile coded(FileBytes(2000, 30, 11));
  const SystemFileDataSource source(coded.Name(), "", false);
  ColumnReaderOptions options;
  options.columns = std::vector<int>{28, 3, 30};
  const Outcome expected = ByBatches(source, options);
  EXPECT_EQ(2000u, expected.first.size());
  for (const int level : {0, 1, 2}) {
    const TempFile file("");
    SystemFileDataSource written;
    written.CopyDictionary(source);
    written.SetCompressionLevel(level);
    written.SetFileSpec(file.Name().c_str());
    written.CommitDictionary();
    const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
    while (cases->Next() != 0) written.AddRow(cases->GetObsPointer(0));
    written.Close();
    const SystemFileDataSource read(file.Name(), "", false);
    EXPECT_EQ(expected, ByBatches(read, options)) << level;
  }
}

}  // namespace
}  // namespace FewColumns_test
