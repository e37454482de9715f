#include "tools/text/RowRange.h"

#include <gtest/gtest.h>

namespace RowRange_test {
namespace {

constexpr long long kNoEnd = std::numeric_limits<long long>::max();

struct RangeCase {
  const char* name;
  const char* text;
  long long from;
  long long to;
};

class RowRange : public testing::TestWithParam<RangeCase> {};

INSTANTIATE_TEST_SUITE_P(Texts, RowRange,
                         testing::Values(RangeCase{"Both", "10:20", 10, 20}, RangeCase{"OnlyFrom", "10:", 10, kNoEnd},
                                         RangeCase{"OnlyTo", ":20", 0, 20}, RangeCase{"Neither", ":", 0, kNoEnd},
                                         RangeCase{"Empty", "5:5", 5, 5},
                                         RangeCase{"Largest", "0:9223372036854775807", 0, kNoEnd}),
                         [](const auto& row) { return row.param.name; });

TEST_P(RowRange, ParsesTheText) {
  const auto range = tool::ParseRowRange(GetParam().text);
  ASSERT_TRUE(range);
  EXPECT_EQ(GetParam().from, range->from);
  EXPECT_EQ(GetParam().to, range->to);
}

class InvalidRowRange : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Texts, InvalidRowRange,
                         testing::Values("", "5", "a:b", "1:2:3", "-1:5", "1:-5", "+1:5", " 1:5", "1:5 ", "20:10",
                                         "1.5:2", "0:9223372036854775808"));

TEST_P(InvalidRowRange, IsRefused) { EXPECT_FALSE(tool::ParseRowRange(GetParam())); }

}  // namespace
}  // namespace RowRange_test
