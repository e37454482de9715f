#include "datasrc/DataFreeDataSource.h"

#include <gtest/gtest.h>

namespace DataFreeDataSource_test {
namespace {

TEST(DataFreeDataSource, HasAnEmptyUnchangedDictionary) {
  const DataFreeDataSource source;
  EXPECT_EQ(0u, source.ColumnCount());
  EXPECT_EQ(nullptr, source.GetParentSource());
  EXPECT_FALSE(source.IsDirty());
  EXPECT_EQ(-1, source.RowCount());
}

TEST(DataFreeDataSourceDeathTest, MakeIteratorAsserts) {
  const DataFreeDataSource source;
  EXPECT_DEATH(source.MakeIterator(nullptr), "assertion failed: 0\n");
}

}  // namespace
}  // namespace DataFreeDataSource_test
