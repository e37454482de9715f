#include "tools/csv/ColumnTyper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace ColumnTyper_test {
namespace {

tool::ColumnType Type(std::initializer_list<std::string_view> values) {
  tool::ColumnTyper typer;
  for (const std::string_view value : values) typer.Look(value);
  return typer.Type();
}

QUAV_Format Format(std::initializer_list<std::string_view> values) {
  const tool::ColumnType type = Type(values);
  EXPECT_EQ(0u, type.width);
  return type.format;
}

TEST(ColumnTyper, NoValuesMakeANumber) {
  EXPECT_EQ(kDefaultNumericFormat, Format({}));
  EXPECT_EQ(kDefaultNumericFormat, Format({"", ""}));
}

TEST(ColumnTyper, FormatFollowsTheDigitsOfTheNumbers) {
  EXPECT_EQ(QUAV_Format(kFormatNumber, 3, 0), Format({"1", "22", "333"}));
  EXPECT_EQ(QUAV_Format(kFormatNumber, 4, 0), Format({"1", "-333"}));
  EXPECT_EQ(QUAV_Format(kFormatNumber, 6, 2), Format({"100", "1.50"}));
  EXPECT_EQ(QUAV_Format(kFormatNumber, 6, 0), Format({"1e5"}));
  EXPECT_EQ(QUAV_Format(kFormatNumber, 6, 4), Format({"1.2e-3"}));
  EXPECT_EQ(QUAV_Format(kFormatNumber, 18, 16), Format({"0.00000000000000000001"}));
  EXPECT_EQ(QUAV_Format(kFormatScientific, 8, 0), Format({"1e300"}));
}

TEST(ColumnTyper, TextIsAsWideAsItsWidestValue) {
  EXPECT_EQ(5u, Type({"a", "", "abcde", "12"}).width);
  EXPECT_EQ(2u, Type({"12", "x"}).width);
}

TEST(ColumnTyper, ReportsNumbersKeptAsText) {
  for (const char* text : {"007", "123456789012345678"}) {
    const tool::ColumnType type = Type({"1", text, "2.5"});
    EXPECT_EQ(std::string_view(text).size(), type.width);
    EXPECT_TRUE(type.looksNumeric);
    EXPECT_FALSE(type.looksTimed);
  }
}

TEST(ColumnTyper, DoesNotReportMixedTextAsNumbers) { EXPECT_FALSE(Type({"007", "x"}).looksNumeric); }

TEST(ColumnTyper, RecognisesDatesAndTimes) {
  EXPECT_EQ(QUAV_Format(kFormatDate, 11, 0), Format({"2024-03-14"}));
  EXPECT_EQ(QUAV_Format(kFormatDateTime, 20, 0), Format({"2024-03-14", "2024-03-14T10:20:30", "2024-03-15"}));
  EXPECT_EQ(QUAV_Format(kFormatDateTime, 22, 1), Format({"2024-03-14T10:20:30.5"}));
  EXPECT_EQ(QUAV_Format(kFormatTime, 8, 0), Format({"10:20:30"}));
  EXPECT_EQ(QUAV_Format(kFormatTime, 11, 2), Format({"10:20:30.25"}));
}

TEST(ColumnTyper, MixedKindsAreText) {
  EXPECT_EQ(10u, Type({"2024-03-14", "10:20:30"}).width);
  EXPECT_EQ(8u, Type({"10:20:30", "5"}).width);
  EXPECT_EQ(10u, Type({"5", "2024-03-14"}).width);
  EXPECT_FALSE(Type({"2024-03-14", "5"}).looksTimed);
}

TEST(ColumnTyper, ReportsTimesKeptAsText) {
  EXPECT_TRUE(Type({"2024-03-14T10:20:30.123456789"}).looksTimed);
  EXPECT_EQ(29u, Type({"2024-03-14T10:20:30.123456789"}).width);
}

TEST(ColumnTyper, NamesFewTextsAmongNumbers) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ((Texts{"NA"}), Type({"1", "NA"}).strangers);
  EXPECT_EQ((Texts{"NA"}), Type({"NA", "1", "NA", "NA"}).strangers);
  EXPECT_EQ((Texts{"x"}), Type({"1", "2", "x"}).strangers);
  EXPECT_EQ((Texts{"n/a", "?", "-"}), Type({"n/a", "2024-03-14", "?", "-"}).strangers);
  for (const auto& values : {std::initializer_list<std::string_view>{"1", "x"},
                             {"NA"},
                             {"1", "2", "3", "4", "5", "a", "b", "c", "d"},
                             {"007", "NA"},
                             {"1", "2", "2024-03-14"},
                             {"2024-03-14", "2024-03-15", "-1"}}) {
    EXPECT_TRUE(Type(values).strangers.empty());
    EXPECT_NE(0U, Type(values).width);
    EXPECT_FALSE(Type(values).looksNumeric);
  }
}

TEST(ColumnTyper, ReadsNumbersWithADecimalComma) {
  const auto type = [](std::initializer_list<std::string_view> values) {
    tool::ColumnTyper typer(',');
    for (const std::string_view value : values) typer.Look(value);
    return typer.Type();
  };
  EXPECT_EQ(QUAV_Format(kFormatNumber, 6, 2), type({"100", "1,50"}).format);
  EXPECT_EQ(3U, type({"1.5"}).width);
  EXPECT_EQ(QUAV_Format(kFormatTime, 10, 1), type({"10:20:30,5", "10:20:30.5"}).format);
}

std::string InWords(const tool::ColumnType& type) {
  std::string text = std::to_string(type.width) + " " + std::to_string(type.format.Type()) + " " +
                     std::to_string(type.format.Width()) + " " + std::to_string(type.format.Decimals());
  if (type.looksNumeric) text += " looks numeric";
  if (type.looksTimed) text += " looks timed";
  for (const std::string& value : type.strangers) text += " " + value;
  return text;
}

// Returns the type of a column whose parts end before these values.
tool::ColumnType TypeInParts(const std::vector<std::string>& values, const std::vector<std::size_t>& ends) {
  tool::ColumnTyper typer;
  std::size_t at = 0;
  for (const std::size_t end : ends) {
    tool::ColumnTyper part('.', tool::ColumnTyper::Values::part);
    for (; at < end; ++at) part.Look(values[at]);
    typer.LookAtAll(part);
  }
  return typer.Type();
}

TEST(ColumnTyper, PartsOfAColumnHaveTheTypeOfTheWhole) {
  constexpr std::array<const char*, 22> kValues{"",
                                                "1",
                                                "22",
                                                "-3.25",
                                                "1e5",
                                                "007",
                                                "123456789012345678",
                                                "2024-03-14",
                                                "2024-03-15",
                                                "2024-03-14T10:20:30.5",
                                                "2024-03-14T10:20:30.123456789",
                                                "10:20:30",
                                                "P1DT2H0M0S",
                                                "NA",
                                                "?",
                                                "x",
                                                "y",
                                                "NULL",
                                                "1500-01-01",
                                                "12:3",
                                                "-",
                                                "a text that is longer than thirty-two bytes"};
  const unsigned int seed = std::random_device()();
  std::mt19937 random(seed);
  for (int i = 0; i < 20'000; ++i) {
    // Few different values, so that columns of one kind are frequent.
    std::vector<const char*> some;
    for (std::size_t count = 1 + random() % 5; count > 0; --count) some.push_back(kValues[random() % kValues.size()]);
    std::vector<std::string> values(random() % 12);
    tool::ColumnTyper whole;
    for (std::string& value : values) {
      value = some[random() % some.size()];
      whole.Look(value);
    }
    std::vector<std::size_t> ends;
    for (std::size_t count = random() % 4; count > 0; --count) ends.push_back(random() % (values.size() + 1));
    std::ranges::sort(ends);
    ends.push_back(values.size());
    EXPECT_EQ(InWords(whole.Type()), InWords(TypeInParts(values, ends)))
        << "seed " << seed << ": " << testing::PrintToString(values) << " " << testing::PrintToString(ends);
  }
}

// From 100,001 more texts than numbers on, a column is text for good.
TEST(ColumnTyper, PartsCountTheTextsOfTheWhole) {
  constexpr std::size_t kMost = 100'000;
  for (const std::size_t numbers : {std::size_t{0}, std::size_t{10}, kMost})
    for (const std::size_t texts : {numbers + kMost - 1, numbers + kMost, numbers + kMost + 1}) {
      std::vector<std::string> values(numbers, "1");
      values.insert(values.end(), texts, "NA");
      values.insert(values.end(), 5, "2");
      tool::ColumnTyper whole;
      for (const std::string& value : values) whole.Look(value);
      EXPECT_EQ(texts <= numbers + kMost, !whole.Type().strangers.empty());
      for (const std::size_t end : {numbers, numbers + 1, numbers + texts - 1, numbers + texts})
        EXPECT_EQ(InWords(whole.Type()), InWords(TypeInParts(values, {end, values.size()}))) << texts << " " << end;
    }
}

}  // namespace
}  // namespace ColumnTyper_test
