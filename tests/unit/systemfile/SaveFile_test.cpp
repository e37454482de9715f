#include "datasrc/SaveFile.h"

#include <gtest/gtest.h>

#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace SaveFile_test {
namespace {

MemorySource SomeSource() {
  MemorySource source;
  source.AddNumber("Income");
  source.AddText("Name", 12);
  source.AddCase({1.0, "one"});
  source.AddCase({2.5, "two and a half"});
  source.SetLabel("the label");
  return source;
}

TEST(SaveSystemFile, WritesDictionaryAndCasesPlainOrCompressed) {
  const MemorySource source = SomeSource();
  for (const int compress : {0, 1, 7}) {
    const TempFile onDisk("");
    SaveSystemFile(onDisk.Name().c_str(), source, compress);
    const SystemFileDataSource file(onDisk.Name(), "", false);
    EXPECT_EQ(compress != 0, file.GetCompression());
    EXPECT_EQ(2, file.RowCount());
    EXPECT_STREQ("the label", file.GetLabel());
    EXPECT_STREQ("Income", file.GetVariable(0).GetName());
    EXPECT_EQ(AllCells(source), AllCells(file));
  }
}

TEST(SaveSystemFile, Throws1201WhenTheFileCannotBeCreated) {
  const MemorySource source = SomeSource();
  const auto error = ErrorOf([&] { SaveSystemFile("no such folder/file", source, 1); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1201, error->Number());
  EXPECT_EQ("no such folder/file", error->File());
}

TEST(SaveFile, WritesASystemFile) {
  const TempFile onDisk("");
  SaveFile file;
  file.CopyDictionary(SomeSource());
  file.SetFileSpec(onDisk.Name().c_str());
  const auto cells = AllCells(SomeSource());
  for (const auto& row : cells) file.AddRow(row.data());
  file.Close();
  EXPECT_EQ(cells, AllCells(SystemFileDataSource(onDisk.Name(), "", false)));
}

TEST(SaveFileDeathTest, MakeIteratorAsserts) {
  const SaveFile file;
  EXPECT_DEATH(file.MakeIterator(nullptr), "0 && \"SaveFile::MakeIterator called\"");
}

// A source that returns no iterator.
class NoIterator : public MemorySource {
 public:
  NoIterator() { AddNumber("A"); }
  QUAV_InputCaseIterator* MakeIterator(OBS*) const override { return nullptr; }
};

TEST(SaveSystemFileDeathTest, SourceWithoutAnIteratorAsserts) {
  const TempFile onDisk("");
  EXPECT_DEATH(SaveSystemFile(onDisk.Name().c_str(), NoIterator(), 0), "pIter.get\\(\\)");
}

}  // namespace
}  // namespace SaveFile_test
