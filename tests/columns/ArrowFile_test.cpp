#include "datasrc/ArrowFile.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowCases.h"
#include "datasrc/ArrowStream.h"
#include "tests/columns/ArrowStructs.h"
#include "tests/columns/MadeStream.h"
#include "tests/columns/People.h"
#include "tests/support/TempFile.h"

using testing::HasSubstr;
using testing::StartsWith;
using Stream = Arrow<ArrowArrayStream>;

namespace ArrowFile_test {
namespace {

std::string FileOf(ArrowArrayStream& stream) {
  std::string bytes;
  WriteArrowFile(&stream, [&bytes](std::string_view more) { bytes += more; });
  return bytes;
}

std::string FileOfPeople(int cases, int rowsPerBatch) {
  Stream stream;
  ExportArrowStream(std::make_shared<MemorySource>(People(cases)), {.reading = {.rowsPerBatch = rowsPerBatch}},
                    &stream);
  return FileOf(stream);
}

class ArrowFile : public testing::Test {
 protected:
  ArrowFile() { SetUTF8mode(1); }
  ~ArrowFile() override { SetUTF8mode(0); }

  std::string Path() const { return m_file.Name(); }
  void Store(const std::string& bytes) const { m_file.SetBytes(bytes); }
  Stream Open(const std::string& bytes) const {
    Store(bytes);
    Stream stream;
    OpenArrowFile(Path(), &stream);
    return stream;
  }
  // The text of the refusal; empty for a file that is read to its end.
  std::string Trouble(const std::string& bytes) const {
    Store(bytes);
    try {
      Stream stream;
      OpenArrowFile(Path(), &stream);
      ArrowCases cases(&stream);
      while (cases.Next() != nullptr) {
      }
    } catch (const ArrowFileError& error) {
      return error.what();
    } catch (const ArrowImportError& error) {
      return error.what();
    } catch (const QuavServerError& error) {
      return error.Text();
    }
    return {};
  }

 private:
  TempFile m_file{""};
};

TEST_F(ArrowFile, ComesBackBatchByBatch) {
  Stream stream = Open(FileOfPeople(5, 2));
  Arrow<ArrowSchema> schema;
  ASSERT_EQ(0, stream.get_schema(&stream, &schema));
  ASSERT_EQ(2, schema.n_children);
  EXPECT_STREQ("AGE", schema.children[0]->name);
  EXPECT_STREQ("g", schema.children[0]->format);
  EXPECT_STREQ("u", schema.children[1]->format);
  EXPECT_EQ(1, MetadataOf(schema).count(kArrowFileKey));
  EXPECT_THAT(MetadataOf(*schema.children[1]).at(kArrowVariableKey), HasSubstr("\"NAME\""));
  for (const std::int64_t rows : {2, 2, 1}) {
    Arrow<ArrowArray> array;
    ASSERT_EQ(0, stream.get_next(&stream, &array));
    ASSERT_EQ(rows, array.length);
    EXPECT_EQ(rows, array.children[0]->length);
  }
  Arrow<ArrowArray> end;
  ASSERT_EQ(0, stream.get_next(&stream, &end));
  EXPECT_EQ(nullptr, end.release);
}

TEST_F(ArrowFile, KeepsValuesAndNulls) {
  Stream stream = Open(FileOfPeople(3, 3));
  Arrow<ArrowArray> array;
  ASSERT_EQ(0, stream.get_next(&stream, &array));
  EXPECT_EQ(31.0, ValueAt<double>(*array.children[0], 0));
  EXPECT_EQ(std::nullopt, ValueAt<double>(*array.children[0], 1));
  EXPECT_EQ("Zoë of Ávila", TextAt(*array.children[1], 2));
}

TEST_F(ArrowFile, ArrayOutlivesItsStream) {
  Arrow<ArrowArray> array;
  {
    Stream stream = Open(FileOfPeople(3, 3));
    ASSERT_EQ(0, stream.get_next(&stream, &array));
  }
  EXPECT_EQ("Ann", TextAt(*array.children[1], 0));
}

TEST_F(ArrowFile, WriterRefusesOtherTypes) {
  Stream stream = MadeStream({NumberColumn<std::int8_t>("a", "c", {1})}).Stream();
  EXPECT_THROW(FileOf(stream), ArrowFileError);
  EXPECT_EQ(nullptr, stream.release);
}

TEST_F(ArrowFile, FileWithoutItsEndIsRefused) {
  const std::string whole = FileOfPeople(5, 2);
  ASSERT_EQ("", Trouble(whole));
  constexpr std::size_t kStep = 37;
  for (std::size_t size = 0; size < whole.size(); size += kStep)
    ASSERT_NE("", Trouble(whole.substr(0, size))) << "cut to " << size << " bytes";
}

// Each byte in its turn would take a minute: the test of the tool and the fuzz target go on from here.
TEST_F(ArrowFile, DamagedByteIsRefusedOrIsAnotherValue) {
  const std::string whole = FileOfPeople(5, 2);
  constexpr std::size_t kStep = 29;
  for (std::size_t place = 0; place < whole.size(); place += kStep) {
    std::string damaged = whole;
    damaged[place] = static_cast<char>(~damaged[place]);
    Trouble(damaged);  // neither crashes nor goes on forever
  }
  std::string damaged = whole;
  damaged.back() = 'x';
  EXPECT_EQ("the end of the file is missing", Trouble(damaged));
}

// An offset that is 4 bytes too small or too large leads to structs at addresses that are no multiple of 8.
TEST_F(ArrowFile, MovedOffsetIsRefusedOrHarmless) {
  const std::string whole = FileOfPeople(3, 2);
  for (std::size_t at = 0; at < whole.size(); at += 4)
    for (const int change : {-4, 4}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(bytes[at] + change);
      Trouble(bytes);
    }
  EXPECT_EQ("", Trouble(whole));
}

// All sizes of a batch that say how many rows it has.
TEST_F(ArrowFile, MoreRowsThanAllMemoryAreRefused) {
  constexpr std::int64_t kRows = 7777;
  const std::string whole = FileOfPeople(kRows, kRows);
  for (const std::int64_t most :
       {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::max() - 7}) {
    std::string bytes = whole;
    const std::string rows = BytesOf<std::int64_t>({kRows});
    for (std::size_t at = bytes.find(rows); at != bytes.npos; at = bytes.find(rows, at))
      bytes.replace(at, 8, BytesOf<std::int64_t>({most}));
    ASSERT_NE(whole, bytes);
    EXPECT_THAT(Trouble(bytes), HasSubstr("has fewer bytes than its rows take"));
  }
}

TEST_F(ArrowFile, SaysWhatIsNoArrowFile) {
  EXPECT_EQ("this is not an Arrow file", Trouble(""));
  EXPECT_EQ("this is not an Arrow file", Trouble("a,b\n1,2\n"));
  EXPECT_EQ("the end of the file is missing", Trouble("ARROW1"));
  EXPECT_THAT(Trouble("ARROW1" + std::string(2, '\0') + std::string(4, '\xFF') + "ARROW1"),
              StartsWith("the size of the footer is -1"));
}

}  // namespace
}  // namespace ArrowFile_test
