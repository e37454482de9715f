#include "datasrc/ColumnReader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "tests/columns/BatchesAgainstRows.h"
#include "tests/columns/People.h"
#include "tests/support/MemorySource.h"
#include "tests/support/SystemFileBuilder.h"
#include "tests/support/TempFile.h"

using testing::ElementsAre;

namespace ColumnReader_test {
namespace {

const double kMissing = QUAV_DataSource::SystemMissing();

TEST(ColumnReader, GivesNumbersAndTextsOfABatch) {
  const MemorySource source = People();
  ColumnReader reader(source);
  EXPECT_THAT(reader.Columns(), ElementsAre(0, 1));
  const auto batch = reader.Next();
  ASSERT_NE(nullptr, batch);
  EXPECT_EQ(0, batch->firstRow);
  ASSERT_EQ(3, batch->rows);
  const BatchColumn& age = batch->columns[0];
  EXPECT_EQ(BatchColumn::Kind::number, age.kind);
  EXPECT_EQ(1, age.missing);
  EXPECT_EQ(0b101, age.validity[0]);
  EXPECT_EQ(31.0, age.numbers[0]);
  EXPECT_TRUE(std::signbit(age.numbers[2]));
  const BatchColumn& name = batch->columns[1];
  EXPECT_EQ(BatchColumn::Kind::text, name.kind);
  EXPECT_EQ(nullptr, name.validity);
  EXPECT_THAT(std::vector<int>(name.offsets, name.offsets + 4), ElementsAre(0, 3, 3, 17));
  EXPECT_EQ("AnnZoë of Ávila", std::string_view(name.text, 17));
  EXPECT_EQ(nullptr, reader.Next());
}

TEST(ColumnReader, BuffersBeginAtAMultipleOf64Bytes) {
  const MemorySource source = People(1000);
  ColumnReader reader(source);
  const auto batch = reader.Next();
  for (const BatchColumn& column : batch->columns)
    for (const void* buffer :
         std::initializer_list<const void*>{column.validity, column.numbers, column.offsets, column.text})
      EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(buffer) % 64);
}

TEST(ColumnReader, TakesColumnsInAnyOrderAndMoreThanOnce) {
  const MemorySource source = People(10);
  for (const std::vector<int>& columns : {std::vector{1, 0}, {1}, {0, 0, 1, 0}, {}})
    ExpectSameRows(source, {.columns = columns});
}

TEST(ColumnReader, TakesARangeOfRows) {
  const MemorySource source = People(10);
  for (const long long first : {0, 1, 9, 10, 11, 1000})
    for (const long long rows : {0, 1, 9, 10, 1000}) ExpectSameRows(source, {.firstRow = first, .rows = rows});
}

TEST(ColumnReader, FillsBatchesOnBothSidesOfABlock) {
  const MemorySource source = People(2060);
  for (const int rows : {1, 7, 8, 9, 63, 1023, 1024, 1025, 2047, 2048, 2049, 2059, 2060, 2061, 65536})
    ExpectSameRows(source, {.rowsPerBatch = rows});
}

TEST(ColumnReader, BatchesWithoutALimitTakeMemoryAsRowsCome) {
  const MemorySource source = People(5000);
  ExpectSameRows(source, {.rowsPerBatch = std::numeric_limits<int>::max()});
}

TEST(ColumnReader, ReadsNoCaseOfAnEmptySource) {
  const MemorySource source = People(0);
  EXPECT_EQ(nullptr, ColumnReader(source).Next());
}

TEST(ColumnReader, UserMissingValuesStayUnlessTheyAreDropped) {
  MemorySource source;
  source.AddNumber("ONE");
  source.AddNumber("RANGE");
  source.AddText("SHORT", 5);
  source.AddText("WIDE", 9);
  const double nine = 9, low = 1, high = 2;
  source.GetVariable(0).SetMissingValues(&nine, nullptr, nullptr);
  source.GetVariable(1).SetMissingRange(&low, &high, &nine);
  source.GetVariable(2).SetMissingValues("no", nullptr, nullptr);
  source.GetVariable(3).SetMissingValues("none", nullptr, nullptr);
  for (const double number : {0.0, 1.0, 2.0, 2.5, 9.0, kMissing})
    for (const char* text : {"no", "nob", "none", ""}) source.AddCase({number, number, text, text});
  ExpectSameRows(source, {});
  ExpectSameRows(source, {.dropUserMissing = true});
  ColumnReader reader(source, {.dropUserMissing = true});
  const auto batch = reader.Next();
  EXPECT_EQ(8, batch->columns[0].missing);
  EXPECT_EQ(16, batch->columns[1].missing);
  EXPECT_EQ(6, batch->columns[2].missing);
  EXPECT_EQ(6, batch->columns[3].missing);
}

TEST(ColumnReader, BytesThatAreNoTextBecomeTheReplacementCharacter) {
  MemorySource source;
  source.AddText("TEXT", 8);
  source.AddText("FULL", 3);
  source.AddCase(
      {"a\xFF"
       "b",
       "\xFF\xFF\xFF"});
  ColumnReader reader(source);
  const auto batch = reader.Next();
  EXPECT_EQ("a\uFFFDb", batch->columns[0].Text(0));
  EXPECT_EQ("\uFFFD\uFFFD\uFFFD", batch->columns[1].Text(0));
}

TEST(ColumnReader, ConvertsTextOfTheGivenEncoding) {
  MemorySource source;
  source.AddText("TEXT", 4);
  for (const char* field : {"\xE9t\xE9     ", "abc     "}) {
    OBS cell;
    std::copy_n(field, sizeof cell, CellText(&cell));
    source.AddCells({cell});
  }
  ColumnReader reader(source, {.encoding = "windows-1252"});
  const auto batch = reader.Next();
  EXPECT_EQ("été", batch->columns[0].Text(0));
  EXPECT_EQ("abc", batch->columns[0].Text(1));
}

TEST(ColumnReader, BytesAfterTheFieldAreNoText) {
  MemorySource source;
  source.AddText("TEXT", 3);
  source.AddCells({OBS{0x4847464544434241}});
  ColumnReader reader(source);
  EXPECT_EQ("ABC", reader.Next()->columns[0].Text(0));
}

TEST(ColumnReader, WideBatchesHaveLongOffsets) {
  MemorySource source;
  source.AddText("TEXT", 32767);
  source.AddNumber("NUMBER");
  source.AddCase({"abc", 1.0});
  // Three bytes of UTF-8 may come of each byte of the field.
  const int most = (std::int64_t{1} << 31) / (3 * 32768);
  EXPECT_EQ(BatchColumn::Kind::text, ColumnReader(source, {.rowsPerBatch = most}).KindOf(0));
  ColumnReader reader(source, {.rowsPerBatch = most + 1});
  EXPECT_EQ(BatchColumn::Kind::long_text, reader.KindOf(0));
  EXPECT_EQ(BatchColumn::Kind::number, reader.KindOf(1));
  const auto batch = reader.Next();
  EXPECT_EQ("abc", batch->columns[0].Text(0));
  EXPECT_EQ(nullptr, batch->columns[0].offsets);
}

TEST(ColumnReader, UsualBatchesHaveUpTo65536RowsOf768KiB) {
  for (const auto& [cells, rows] : std::initializer_list<std::pair<int, int>>{{1, 65536}, {2, 49152}, {5, 19656}}) {
    MemorySource source;
    source.AddText("TEXT", cells * 8);
    for (int row = 0; row <= rows; ++row) source.AddCells(std::vector<OBS>(source.GetObsAreaSize(), kBlankCell));
    ColumnReader reader(source);
    EXPECT_EQ(rows, reader.Next()->rows);
    EXPECT_EQ(1, reader.Next()->rows);
  }
}

TEST(ColumnReader, UsualBatchesOfWideCasesHave128RowsOfUpTo16MiB) {
  MemorySource source;
  source.AddText("TEXT", 32767);  // 32 KiB of cells
  for (int row = 0; row < 129; ++row) source.AddCase({"x"});
  for (const auto& [columns, rows] : std::initializer_list<std::pair<std::size_t, int>>{
           {1, 128}, {4, 128}, {5, 96}, {64, 8}, {65, 7}, {512, 1}, {600, 1}}) {
    ColumnReader reader(source, {.columns = std::vector<int>(columns, 0)});
    EXPECT_EQ(rows, reader.Next()->rows) << columns << " columns";
  }
}

TEST(ColumnReader, ABatchOutlivesItsReader) {
  const MemorySource source = People();
  std::shared_ptr<const ColumnBatch> batch;
  {
    ColumnReader reader(source);
    batch = reader.Next();
  }
  EXPECT_EQ("Zoë of Ávila", batch->columns[1].Text(2));
}

TEST(ColumnReader, UsesTheBuffersOfADroppedBatchAgain) {
  const MemorySource source = People(30);
  ColumnReader reader(source, {.rowsPerBatch = 10});
  auto batch = reader.Next();
  const double* const numbers = batch->columns[0].numbers;
  batch.reset();
  batch = reader.Next();
  EXPECT_EQ(numbers, batch->columns[0].numbers);
  const auto third = reader.Next();
  EXPECT_NE(numbers, third->columns[0].numbers) << "the batch before is still held";
}

// Variables after other records have no cells, and the iterator returns empty cases forever.
TEST(ColumnReader, CasesWithoutCellsAreNone) {
  for (const int compression : {0, 1}) {
    for (const bool hasVariable : {false, true}) {
      SystemFileBuilder builder;
      builder.Header({.compression = compression}).Extension(200, 1, 1, "x");
      if (hasVariable) builder.Number("A");
      const TempFile file(builder.End().Raw(std::string(64, 'x')).Bytes());
      const SystemFileDataSource source(file.Name(), "", false);
      EXPECT_EQ(nullptr, ColumnReader(source).Next());
      const UTF8DataSource view(source, "windows-1252", nullptr);
      EXPECT_EQ(nullptr, ColumnReader(view).Next());
    }
  }
}

TEST(ColumnReaderDeathTest, RefusesColumnsThatDoNotExist) {
  const MemorySource source = People();
  for (const int column : {-1, 2})
    EXPECT_DEATH(ColumnReader(source, {.columns = std::vector{column}}), "0 <= column < ColumnCount");
}

TEST(ColumnReaderDeathTest, RefusesNegativeNumbers) {
  const MemorySource source = People();
  EXPECT_DEATH(ColumnReader(source, {.firstRow = -1}), "no number is negative");
  EXPECT_DEATH(ColumnReader(source, {.rows = -1}), "no number is negative");
  EXPECT_DEATH(ColumnReader(source, {.rowsPerBatch = -1}), "no number is negative");
}

}  // namespace
}  // namespace ColumnReader_test
