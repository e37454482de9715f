#include "storage/StripeStream.h"

#include <gtest/gtest.h>

#include "tests/support/RowName.h"

namespace {

struct KindRow {
  const char* name;
  const char* prefix;
  StripeKind compressed;
};

class Stripe : public testing::TestWithParam<KindRow> {};

TEST_P(Stripe, HasTheKindOfItsPrefixWithCompression) {
  EXPECT_EQ(StripeKindOf(GetParam().prefix, true), GetParam().compressed);
}

TEST_P(Stripe, IsPlainWithoutCompression) { EXPECT_EQ(StripeKindOf(GetParam().prefix, false), kStripePlain); }

INSTANTIATE_TEST_SUITE_P(Prefixes, Stripe,
                         testing::Values(KindRow{"xfrm", "xfrm", kStripePlain}, KindRow{"sort", "sort", kStripeSort},
                                         KindRow{"merge", "merge", kStripeSort}, KindRow{"cache", "cache", kStripeZlib},
                                         KindRow{"longer", "xfrm2", kStripeZlib}, KindRow{"upper", "SORT", kStripeZlib},
                                         KindRow{"empty", "", kStripeZlib}),
                         [](const auto& row) { return kRowName(row); });

TEST(StripeKinds, HaveTheirNumbers) {
  EXPECT_EQ(0, kStripePlain);
  EXPECT_EQ(1, kStripeZlib);
  EXPECT_EQ(2, kStripeSort);
}

}  // namespace
