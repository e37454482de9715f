#include "systemfile/SystemFileExtensionRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "systemfile/SaveDS.h"
#include "tests/support/Reading.h"
#include "tests/support/VirtualSlot.h"

namespace SystemFileExtensionRecord_test {
namespace {

using testing::HasSubstr;

// Subtypes that no handler of the library and no other test uses.
constexpr int kSpare = 77;
constexpr int kUnknown = 76;

// A handler for tests. It is registered as long as it lives.
class ScopedHandler : public SystemFileExtensionHandler {
 public:
  explicit ScopedHandler(int subtype) : m_subtype(subtype) { Register(subtype, this); }
  ~ScopedHandler() override { Register(m_subtype, nullptr); }

  void Write(SystemFileDataSource::SaveDS&, SystemFileExtensionRecord& record) override {
    if (text.empty()) return;
    record.UnitSize(1);
    record.NUnits(static_cast<long>(text.size()));
    std::memcpy(record.ContentsBuffer(), text.data(), text.size());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    text.assign(AsText(record.Contents()), static_cast<std::size_t>(record.Size()));
    unitSize = record.UnitSize();
    sourceLabel = source.GetLabel() == nullptr ? "" : source.GetLabel();
    if (refuses) Require(false, 1204, "the test refuses it");
  }

  std::string text;
  int unitSize = 0;
  std::string sourceLabel;
  bool refuses = false;

 private:
  int m_subtype;
};

SystemFileExtensionRecord RecordOf(int unitSize, std::string_view bytes) {
  SystemFileExtensionRecord record;
  record.UnitSize(unitSize);
  record.NUnits(static_cast<long>(bytes.size()) / unitSize);
  std::memcpy(record.ContentsBuffer(), bytes.data(), bytes.size());
  return record;
}

std::string ContentsOf(const SystemFileExtensionRecord& record) {
  if (record.Contents() == nullptr) return "";
  return {AsText(record.Contents()), static_cast<std::size_t>(record.Size())};
}

// ---- The record ----

TEST(SystemFileExtensionRecord, IsEmptyByDefault) {
  const SystemFileExtensionRecord record;
  EXPECT_EQ(0, record.UnitSize());
  EXPECT_EQ(0, record.NUnits());
  EXPECT_EQ(0, record.Size());
  EXPECT_EQ(nullptr, record.Contents());
}

TEST(SystemFileExtensionRecord, AllocatesItsContentsOnce) {
  SystemFileExtensionRecord record;
  record.UnitSize(4);
  record.NUnits(3);
  EXPECT_EQ(12, record.Size());
  std::byte* buffer = record.ContentsBuffer();
  EXPECT_NE(nullptr, buffer);
  EXPECT_EQ(buffer, record.ContentsBuffer());
  EXPECT_EQ(buffer, record.Contents());
}

TEST(SystemFileExtensionRecord, ComputesItsSizeIn64Bits) {
  SystemFileExtensionRecord record;
  record.UnitSize(0x7FFFFFFF);
  record.NUnits(0x7FFFFFFF);
  EXPECT_EQ(0x7FFFFFFFLL * 0x7FFFFFFFLL, record.Size());
}

TEST(SystemFileExtensionRecordDeathTest, ChangingTheShapeOfARecordWithContentsAsserts) {
  SystemFileExtensionRecord record = RecordOf(1, "abc");
  EXPECT_DEATH(record.UnitSize(2), HasSubstr("assertion failed: m_pContents == 0"));
  EXPECT_DEATH(record.NUnits(2), HasSubstr("assertion failed: m_pContents == 0"));
}

TEST(SystemFileExtensionRecordDeathTest, ContentsWithoutAShapeAssert) {
  SystemFileExtensionRecord none;
  EXPECT_DEATH(none.ContentsBuffer(), HasSubstr("assertion failed: m_nUnits && m_unitSize"));
  SystemFileExtensionRecord noUnits;
  noUnits.UnitSize(4);
  EXPECT_DEATH(noUnits.ContentsBuffer(), HasSubstr("assertion failed: m_nUnits && m_unitSize"));
  SystemFileExtensionRecord noSize;
  noSize.NUnits(4);
  EXPECT_DEATH(noSize.ContentsBuffer(), HasSubstr("assertion failed: m_nUnits && m_unitSize"));
}

// ---- Reading ----

TEST(SystemFileExtensionHandler, ReadsTheRecordsOfItsSubtype) {
  ScopedHandler handler(kSpare);
  SystemFileDataSource source;
  source.SetLabel("the source");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSpare, source, options, RecordOf(2, "abcd"));
  EXPECT_EQ("abcd", handler.text);
  EXPECT_EQ(2, handler.unitSize);
  EXPECT_EQ("the source", handler.sourceLabel);
  EXPECT_FALSE(source.HasExtension(kSpare));
  EXPECT_TRUE(options.extensionsFound[kSpare]);
}

TEST(SystemFileExtensionHandler, IsReplacedByALaterHandlerOfItsSubtype) {
  ScopedHandler first(kSpare);
  ScopedHandler second(kSpare);
  SystemFileDataSource source;
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSpare, source, options, RecordOf(1, "abc"));
  EXPECT_EQ("", first.text);
  EXPECT_EQ("abc", second.text);
}

TEST(SystemFileExtensionHandler, RegisteringNullRemovesTheHandler) {
  ScopedHandler handler(kSpare);
  SystemFileExtensionHandler::Register(kSpare, nullptr);
  SystemFileDataSource source;
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSpare, source, options, RecordOf(1, "abc"));
  EXPECT_EQ("", handler.text);
  EXPECT_TRUE(source.HasExtension(kSpare));
}

struct UnknownSubtype {
  int subtype;
  bool found;
};

TEST(SystemFileExtensionHandler, StoresARecordWithoutAHandler) {
  const ScopedHandler handler(kSpare);
  // Subtypes inside the registry, above its end, and above the subtypes that are noted as found.
  for (const auto [subtype, found] : {UnknownSubtype{kUnknown, true}, UnknownSubtype{99, true},
                                      UnknownSubtype{100, false}, UnknownSubtype{150, false}}) {
    SystemFileDataSource source;
    SystemFileOptions options;
    SystemFileExtensionHandler::Read(subtype, source, options, RecordOf(3, "abcdef"));
    const QUAV_DataSource::Extension extension(source, subtype);
    EXPECT_EQ(3, extension.ElementSize()) << subtype;
    EXPECT_EQ(2, extension.Length()) << subtype;
    EXPECT_EQ("abcdef", extension.Elements()) << subtype;
    std::vector<bool> expected(100);
    if (found) expected[static_cast<std::size_t>(subtype)] = true;
    EXPECT_EQ(expected, options.extensionsFound) << subtype;
  }
}

TEST(SystemFileExtensionHandlerDeathTest, ReadingANegativeSubtypeAsserts) {
  SystemFileDataSource source;
  SystemFileOptions options;
  const SystemFileExtensionRecord record = RecordOf(1, "abc");
  EXPECT_DEATH(SystemFileExtensionHandler::Read(-1, source, options, record), HasSubstr("assertion failed: 0 <= type"));
}

TEST(SystemFileExtensionHandlerDeathTest, NegativeSubtypeAsserts) {
  EXPECT_DEATH(ScopedHandler(-1), HasSubstr("assertion failed: 0 <= subtype\n"));
}

TEST(SystemFileExtensionHandler, HasWriteAndReadInItsFirstSlots) {
  using Handler = SystemFileExtensionHandler;
  using Write = void (Handler::*)(SystemFileDataSource::SaveDS&, SystemFileExtensionRecord&);
  using Read = void (Handler::*)(SystemFileDataSource&, SystemFileOptions&, const SystemFileExtensionRecord&);
  EXPECT_EQ(0u, VirtualSlot(static_cast<Write>(&Handler::Write)));
  EXPECT_EQ(1u, VirtualSlot(static_cast<Read>(&Handler::Read)));
}

TEST(SystemFileExtensionHandler, FaultOfAHandlerStopsTheDictionary) {
  ScopedHandler handler(kSpare);
  handler.refuses = true;
  const std::string bytes = SystemFileBuilder().Header().Extension(kSpare, 1, 1, "x").End().Bytes();
  EXPECT_THAT(FaultOf(bytes), IsFault(1204, "the test refuses it"));
}

TEST(SystemFileExtensionHandler, FaultOfAHandlerFailsTheOpening) {
  ScopedHandler handler(kSpare);
  handler.refuses = true;
  const TempFile file(SystemFileBuilder().Header().Extension(kSpare, 1, 1, "x").End().Bytes());
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
  EXPECT_EQ(file.Name(), error->File());
}

TEST(SystemFileExtensionHandler, ReadsAFileInEitherByteOrder) {
  ScopedHandler handler(kSpare);
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    handler.text.clear();
    const ReadDictionary read(SystemFileBuilder(order).Header().Extension(kSpare, 2, 2, "abcd").End().Bytes());
    EXPECT_EQ("abcd", handler.text);
    EXPECT_EQ(2, handler.unitSize);
    EXPECT_TRUE(read.options.extensionsFound[kSpare]);
  }
}

// ---- Writing ----

SystemFileExtensionRecord Written(int subtype, const QUAV_DataSource& source) {
  QUAV_FileStream file;
  SystemFileOptions options;
  SystemFileDataSource::SaveDS saved(&source, file, options);
  SystemFileExtensionRecord record;
  SystemFileExtensionHandler::Write(subtype, saved, record);
  return record;
}

TEST(SystemFileExtensionHandler, WritesTheRecordsOfItsSubtype) {
  ScopedHandler handler(kSpare);
  handler.text = "by the handler";
  const SystemFileDataSource source;
  EXPECT_EQ("by the handler", ContentsOf(Written(kSpare, source)));
}

TEST(SystemFileExtensionHandler, TakesPrecedenceOverAStoredRecord) {
  ScopedHandler handler(kSpare);
  SystemFileDataSource source;
  source.SetExtension(kSpare, 1, 3, "abc");
  EXPECT_EQ(0, Written(kSpare, source).NUnits());
}

TEST(SystemFileExtensionHandler, WritesAStoredRecordWithoutAHandler) {
  SystemFileDataSource source;
  source.SetExtension(150, 4, 2, "abcdefgh");
  const SystemFileExtensionRecord record = Written(150, source);
  EXPECT_EQ(4, record.UnitSize());
  EXPECT_EQ(2, record.NUnits());
  EXPECT_EQ("abcdefgh", ContentsOf(record));
}

TEST(SystemFileExtensionHandler, LeavesTheRecordEmptyWhenNothingIsStored) {
  SystemFileDataSource source;
  source.SetExtension(150, 4, 2, "abcdefgh");
  for (const int subtype : {kUnknown, 149, 151, 1000}) {
    const SystemFileExtensionRecord record = Written(subtype, source);
    EXPECT_EQ(0, record.NUnits()) << subtype;
    EXPECT_EQ(nullptr, record.Contents()) << subtype;
  }
}

TEST(SystemFileExtensionHandler, UnknownRecordIsWrittenAsItWasRead) {
  const std::string contents("\0\x01\xFF\x80 any bytes", 14);
  const ReadDictionary read(SystemFileBuilder(kReversedOrder).Header().Extension(99, 7, 2, contents).End().Bytes());
  const SystemFileExtensionRecord record = Written(99, read.source);
  EXPECT_EQ(7, record.UnitSize());
  EXPECT_EQ(2, record.NUnits());
  EXPECT_EQ(contents, ContentsOf(record));
}

}  // namespace
}  // namespace SystemFileExtensionRecord_test
