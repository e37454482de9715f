// Tests how ReadSystemFileDictionary reads the file header.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace HeaderRecord_test {
namespace {

std::string HeaderOnly(const FileHeader& header, std::endian order = std::endian::native) {
  return SystemFileBuilder(order).Header(header).End().Bytes();
}

class HeaderRecordInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, HeaderRecordInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(HeaderRecordInEitherOrder, FillsTheOptions) {
  const ReadDictionary read(HeaderOnly({.eyeCatcher = "@(#) someone wrote this",
                                        .layoutCode = 3,
                                        .compression = 1,
                                        .weightIndex = 17,
                                        .cases = 123456,
                                        .bias = 98.5},
                                       GetParam()));
  EXPECT_EQ("@(#) someone wrote this", read.options.eyeCatcher);
  EXPECT_EQ(3, read.options.layoutCode);
  EXPECT_EQ(1, read.options.compression);
  EXPECT_EQ(17, read.options.weightIndex);
  EXPECT_EQ(123456, read.options.numberOfCases);
  EXPECT_EQ(98.5, read.options.bias);
}

TEST_P(HeaderRecordInEitherOrder, LayoutCodeGivesTheByteOrder) {
  const ReadDictionary read(HeaderOnly({.layoutCode = 2}, GetParam()));
  EXPECT_EQ(GetParam() != std::endian::native, read.options.reversed);
}

TEST_P(HeaderRecordInEitherOrder, SignExtendsTheNumberOfCases) {
  const ReadDictionary read(HeaderOnly({.cases = -1}, GetParam()));
  EXPECT_EQ(-1LL, read.options.numberOfCases);
}

TEST_P(HeaderRecordInEitherOrder, SetsTheTimestamp) {
  const ReadDictionary read(HeaderOnly({.date = "15 Oct 82", .time = "01:02:03"}, GetParam()));
  using namespace std::chrono;
  const auto days = sys_days{year{1982} / October / 15} - sys_days{year{1582} / October / 14};
  EXPECT_EQ(static_cast<double>(days.count()) * 86400.0 + 3723.0, read.source.GetTimestamp());
}

// ---- The layout code ----

TEST(HeaderRecord, LayoutCodesFrom1To255MeanNativeOrder) {
  for (const std::int32_t code : {1, 2, 3, 128, 255}) {
    const ReadDictionary read(HeaderOnly({.layoutCode = code, .cases = 7}));
    EXPECT_FALSE(read.options.reversed) << code;
    EXPECT_EQ(7, read.options.numberOfCases) << code;
  }
}

TEST(HeaderRecord, OtherLayoutCodesMeanReversedOrder) {
  for (const std::int32_t code : {0, 256, -1, 0x02000000, 1000}) {
    // The code has native order; everything else has reversed order.
    std::string bytes = HeaderOnly({.cases = 7}, kReversedOrder);
    bytes.replace(64, 4, SystemFileBuilder().I32(code).Bytes());
    const ReadDictionary read(bytes);
    EXPECT_TRUE(read.options.reversed) << code;
    EXPECT_EQ(7, read.options.numberOfCases) << code;
  }
}

TEST(HeaderRecord, ByteSwapsTheLayoutCodeOfAReversedFile) {
  EXPECT_EQ(2, ReadDictionary(HeaderOnly({.layoutCode = 2}, kReversedOrder)).options.layoutCode);
}

// ---- Texts ----

TEST(HeaderRecord, RemovesTrailingBlanksOfTexts) {
  const ReadDictionary read(HeaderOnly({.eyeCatcher = "  eye  catcher", .label = "  a label"}));
  EXPECT_EQ("  eye  catcher", read.options.eyeCatcher);
  EXPECT_STREQ("  a label", read.source.GetLabel());
}

TEST(HeaderRecord, ReadsTextsThatFillTheirFields) {
  const std::string eyeCatcher(60, 'e');
  const std::string label(64, 'l');
  const ReadDictionary read(HeaderOnly({.eyeCatcher = eyeCatcher, .label = label}));
  EXPECT_EQ(eyeCatcher, read.options.eyeCatcher);
  EXPECT_EQ(label, read.source.GetLabel());
}

TEST(HeaderRecord, EyeCatcherMayBeEmpty) {
  EXPECT_EQ("", ReadDictionary(HeaderOnly({.eyeCatcher = ""})).options.eyeCatcher);
}

TEST(HeaderRecord, IgnoresItsPadding) {
  std::string bytes = HeaderOnly({});
  bytes.replace(173, 3, "\xFF\xFF\xFF");
  EXPECT_EQ(std::nullopt, FaultOf(bytes).has_value() ? std::optional(FaultOf(bytes)->Number()) : std::nullopt);
}

// ---- Date and time ----

struct HeaderDate {
  const char* name;
  const char* date;
  const char* time;
  int year;
  unsigned month;
  unsigned day;
  double second;  // of the day
};

class HeaderRecordDate : public testing::TestWithParam<HeaderDate> {};

TEST_P(HeaderRecordDate, SetsTheTimestamp) {
  const HeaderDate& p = GetParam();
  const ReadDictionary read(HeaderOnly({.date = p.date, .time = p.time}));
  using namespace std::chrono;
  const auto days = sys_days{year{p.year} / month{p.month} / day{p.day}} - sys_days{year{1582} / October / 14};
  EXPECT_EQ(static_cast<double>(days.count()) * 86400.0 + p.second, read.source.GetTimestamp());
}

INSTANTIATE_TEST_SUITE_P(Dates, HeaderRecordDate,
                         testing::Values(HeaderDate{"Plain", "14 Mar 24", "10:20:30", 2024, 3, 14, 37230.0},
                                         HeaderDate{"Year05Is2005", "01 Jan 05", "00:00:00", 2005, 1, 1, 0.0},
                                         HeaderDate{"Year69Is2069", "31 Dec 69", "23:59:59", 2069, 12, 31, 86399.0},
                                         HeaderDate{"Year70Is1970", "01 Jan 70", "00:00:00", 1970, 1, 1, 0.0},
                                         HeaderDate{"Year99Is1999", "31 Dec 99", "00:00:00", 1999, 12, 31, 0.0},
                                         HeaderDate{"Year00Is2000", "29 Feb 00", "00:00:00", 2000, 2, 29, 0.0},
                                         HeaderDate{"MonthInUpperCase", "05 AUG 11", "00:00:01", 2011, 8, 5, 1.0},
                                         HeaderDate{"MonthInLowerCase", "05 nov 11", "00:00:01", 2011, 11, 5, 1.0},
                                         HeaderDate{"AnySeparators", "05-Nov/11", "01.02x03", 2011, 11, 5, 3723.0},
                                         HeaderDate{"DayAfterTheEndOfItsMonth", "31 Feb 01", "00:00:00", 2001, 3, 3,
                                                    0.0},
                                         // ':' comes 10 after '0', so this is day 10 + 10.
                                         HeaderDate{"SignInsteadOfADigit", "1: Mar 24", "00:00:00", 2024, 3, 20, 0.0}),
                         kRowName);

TEST(HeaderRecord, RecognizesEveryMonth) {
  const char* const names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (unsigned month = 1; month <= 12; ++month) {
    const ReadDictionary read(HeaderOnly({.date = std::string("01 ") + names[month - 1] + " 24", .time = "00:00:00"}));
    using namespace std::chrono;
    const auto days = sys_days{year{2024} / std::chrono::month{month} / 1} - sys_days{year{1582} / October / 14};
    EXPECT_EQ(static_cast<double>(days.count()) * 86400.0, read.source.GetTimestamp()) << names[month - 1];
  }
}

struct NoDate {
  const char* name;
  const char* date;
  const char* time;
};

class HeaderRecordBadDate : public testing::TestWithParam<NoDate> {};

TEST_P(HeaderRecordBadDate, KeepsTheTimestampWithoutAnError) {
  SystemFileDataSource source;
  source.SetTimestamp(1234.5);
  SystemFileOptions options;
  FaultyStream stream(HeaderOnly({.date = GetParam().date, .time = GetParam().time}));
  TestMagic(stream);
  ReadSystemFileDictionary(source, options, stream);
  EXPECT_EQ(1234.5, source.GetTimestamp());
}

INSTANTIATE_TEST_SUITE_P(
    Dates, HeaderRecordBadDate,
    testing::Values(NoDate{"NoMonth", "14 Foo 24", "10:20:30"}, NoDate{"MonthAcrossTwoNames", "14 anf 24", "10:20:30"},
                    NoDate{"BlankDate", "         ", "10:20:30"}, NoDate{"BlankTime", "14 Mar 24", "        "},
                    NoDate{"Day0", "00 Mar 24", "10:20:30"}, NoDate{"Day32", "32 Mar 24", "10:20:30"},
                    NoDate{"Hour24", "14 Mar 24", "24:00:00"}, NoDate{"Minute60", "14 Mar 24", "10:60:00"},
                    NoDate{"Second60", "14 Mar 24", "10:20:60"}),
    kRowName);

// ---- Truncated headers ----

TEST(HeaderRecord, TruncatedHeaderThrows1205) {
  const std::string whole = SystemFileBuilder().Header().Bytes();
  ASSERT_EQ(176u, whole.size());
  for (std::size_t size = 4; size < whole.size(); ++size)
    ASSERT_THAT(FaultOf(whole.substr(0, size)), IsFault(1205, "nRead == len1")) << size << " bytes";
}

}  // namespace
}  // namespace HeaderRecord_test
