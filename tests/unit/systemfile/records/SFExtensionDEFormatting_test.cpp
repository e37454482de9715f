// Record 24: the formatting of the data editor.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionDEFormatting_test {
namespace {

constexpr int kSubtype = 24;

std::string FileWith(const std::string& text, int unitSize = 1, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("A");
  return file.Extension(kSubtype, unitSize, static_cast<int>(text.size()) / unitSize, text).End().Bytes();
}

std::string TextOf(const QUAV_DataSource& source) { return source.GetDEFormattingInfo().GetInfo(); }

// ---- Reading ----

TEST(SFExtensionDEFormatting, KeepsTheTextUnchanged) {
  for (const std::string& text : {std::string("ab"), std::string("any \0 bytes \xFF ", 13), std::string(100000, 'x')})
    EXPECT_EQ(text, TextOf(ReadDictionary(FileWith(text)).source));
}

TEST(SFExtensionDEFormatting, IgnoresTheByteOrder) {
  EXPECT_EQ("abcd", TextOf(ReadDictionary(FileWith("abcd", 1, kReversedOrder)).source));
}

TEST(SFExtensionDEFormatting, IgnoresATextOfOneByte) {
  const ReadDictionary read(FileWith("x"));
  EXPECT_EQ("", TextOf(read.source));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

TEST(SFExtensionDEFormatting, LaterRecordReplacesTheText) {
  SystemFileBuilder file;
  file.Header().Number("A").Extension(kSubtype, 1, 5, "first").Extension(kSubtype, 1, 6, "second");
  EXPECT_EQ("second", TextOf(ReadDictionary(file.Extension(kSubtype, 1, 1, "x").End().Bytes()).source));
}

TEST(SFExtensionDEFormatting, IsNotInTheExtensionStore) {
  EXPECT_FALSE(ReadDictionary(FileWith("text")).source.HasExtension(kSubtype));
  EXPECT_FALSE(ReadDictionary(FileWith("x")).source.HasExtension(kSubtype));
}

TEST(SFExtensionDEFormatting, OtherUnitSizeThrows1204) {
  for (const int unitSize : {2, 4, 8})
    EXPECT_THAT(FaultOf(FileWith("12345678", unitSize)), IsFault(1204, "rec.UnitSize() == sizeof(char)")) << unitSize;
}

TEST(SFExtensionDEFormatting, NegativeLengthThrows1204) {
  EXPECT_THAT(FaultOfNegativeLength(kSubtype), IsFault(1204, "rec.NUnits() >= 0"));
}

TEST(SFExtensionDEFormatting, EmptyRecordGivesNoText) {
  SystemFileDataSource source;
  SystemFileOptions options;
  SystemFileExtensionRecord record;
  record.UnitSize(1);
  SystemFileExtensionHandler::Read(kSubtype, source, options, record);
  EXPECT_EQ("", TextOf(source));
}

// ---- Writing ----

// What the handler writes for a dictionary.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

MemorySource SourceWith(const std::string& text) {
  MemorySource source;
  DataEditorFormattingInfo info;
  info.SetInfo(text);
  source.SetDEFormattingInfo(info);
  return source;
}

TEST(SFExtensionDEFormatting, WritesTheText) {
  for (const std::string& text : {std::string("x"), std::string("any \0 bytes \xFF ", 13)}) {
    const Writing writing(SourceWith(text));
    EXPECT_EQ(1, writing.record.UnitSize());
    EXPECT_EQ(text, writing.Contents());
  }
}

TEST(SFExtensionDEFormatting, NoTextGivesNoRecord) {
  const Writing writing(SourceWith(""));
  EXPECT_EQ(0, writing.record.NUnits());
  EXPECT_EQ(nullptr, writing.record.Contents());
}

TEST(SFExtensionDEFormatting, ReadsBackTheWrittenText) {
  const std::string contents = Writing(SourceWith("the formatting")).Contents();
  EXPECT_EQ("the formatting", TextOf(ReadDictionary(FileWith(contents)).source));
}

TEST(SFExtensionDEFormatting, DoesNotWriteBackATextOfOneByte) {
  const ReadDictionary read(FileWith("x"));
  EXPECT_EQ(0, Writing(read.source).record.NUnits());
}

}  // namespace
}  // namespace SFExtensionDEFormatting_test
