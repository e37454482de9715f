#include "storage/StripeStream.h"

#include <gtest/gtest.h>

#include "tests/support/RowName.h"

namespace StripeStream_test {
namespace {

struct KindRow {
  const char* name;
  const char* prefix;
  StripeKind compressed;
};

class StripeStream : public testing::TestWithParam<KindRow> {};

TEST_P(StripeStream, KindFollowsThePrefixWithCompression) {
  EXPECT_EQ(StripeKindOf(GetParam().prefix, true), GetParam().compressed);
}

TEST_P(StripeStream, KindIsPlainWithoutCompression) { EXPECT_EQ(StripeKindOf(GetParam().prefix, false), kStripePlain); }

INSTANTIATE_TEST_SUITE_P(Prefixes, StripeStream,
                         testing::Values(KindRow{"xfrm", "xfrm", kStripePlain}, KindRow{"sort", "sort", kStripeSort},
                                         KindRow{"merge", "merge", kStripeSort}, KindRow{"cache", "cache", kStripeZlib},
                                         KindRow{"longer", "xfrm2", kStripeZlib}, KindRow{"upper", "SORT", kStripeZlib},
                                         KindRow{"empty", "", kStripeZlib}),
                         [](const auto& row) { return kRowName(row); });

TEST(StripeKind, HasFixedNumbers) {
  EXPECT_EQ(0, kStripePlain);
  EXPECT_EQ(1, kStripeZlib);
  EXPECT_EQ(2, kStripeSort);
}

}  // namespace
}  // namespace StripeStream_test
