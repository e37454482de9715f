// Tests how ReadSystemFileDictionary reads the document record.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Reading.h"

namespace DocumentRecord_test {
namespace {

SystemFileBuilder WithHeader(std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("A");
  return file;
}

std::string Line(const std::string& text) { return text + std::string(80 - text.size(), ' '); }

std::string Documents(const ReadDictionary& read) { return QUAV_DataSource::Extension(read.source, 0).Elements(); }

class DocumentRecordInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, DocumentRecordInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(DocumentRecordInEitherOrder, StoresLinesUnchangedAsExtension0) {
  const ReadDictionary read(WithHeader(GetParam()).Documents({"first line", "second line"}).End().Bytes());
  const QUAV_DataSource::Extension extension(read.source, 0);
  EXPECT_EQ(1, extension.ElementSize());
  EXPECT_EQ(160, extension.Length());
  EXPECT_EQ(Line("first line") + Line("second line"), extension.Elements());
}

TEST(DocumentRecord, IsNotedAsFound) {
  EXPECT_TRUE(ReadDictionary(WithHeader().Documents({"a"}).End().Bytes()).options.extensionsFound[0]);
  EXPECT_FALSE(ReadDictionary(WithHeader().End().Bytes()).options.extensionsFound[0]);
}

TEST(DocumentRecord, IsNotedAsFoundWithoutLines) {
  const ReadDictionary read(WithHeader().Documents({}).End().Bytes());
  EXPECT_TRUE(read.options.extensionsFound[0]);
  EXPECT_EQ("", Documents(read));
}

TEST(DocumentRecord, NegativeCountGivesNoLines) {
  const ReadDictionary read(WithHeader().I32(6).I32(-1).End().Bytes());
  EXPECT_TRUE(read.options.extensionsFound[0]);
  EXPECT_EQ("", Documents(read));
}

TEST(DocumentRecord, KeepsAnyBytes) {
  const std::string line = Line(std::string("\0\t\xFF\n\0", 5));
  const ReadDictionary read(WithHeader().I32(6).I32(1).Raw(line).End().Bytes());
  EXPECT_EQ(line, Documents(read));
}

TEST(DocumentRecord, ExcessiveLineCountFailsAtTheNextRecord) {
  for (const std::int32_t count : {2, 1000, 0x7FFFFFFF}) {
    const auto file = WithHeader().I32(6).I32(count).Text("the only line", 80);
    EXPECT_THAT(FaultOf(file.Bytes()), IsFault(1205, "len == sizeof(recType)")) << count;
  }
}

TEST(DocumentRecord, TruncatedLinesFailAtTheNextRecord) {
  const std::string before = WithHeader().Bytes();
  const std::string whole = WithHeader().Documents({"first line", "second line"}).Bytes();
  for (std::size_t size = before.size() + 4; size <= whole.size(); ++size)
    ASSERT_THAT(FaultOf(whole.substr(0, size)), IsFault(1205, "len == sizeof(recType)")) << size << " bytes";
}

}  // namespace
}  // namespace DocumentRecord_test
