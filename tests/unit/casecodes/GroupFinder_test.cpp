#include "casecodes/GroupFinder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "casecodes/CaseCodes.h"

namespace GroupFinder_test {
namespace {

// Appends a group whose first codes are literals; the other codes stand for a number.
void AddGroup(std::vector<std::byte>& bytes, std::size_t literals) {
  const std::size_t first = bytes.size();
  bytes.resize(first + 8 * (1 + literals), std::byte{0});
  for (std::size_t code = 0; code < 8; ++code)
    bytes[first + code] = code < literals ? std::byte{kCodeLiteral} : std::byte{101};
}

// Returns the offsets of the groups found, then that of the end.
std::vector<std::ptrdiff_t> Find(GroupFinder* finder, const std::vector<std::byte>& bytes, int count) {
  std::vector<const std::byte*> starts(static_cast<std::size_t>(count));
  const std::byte* in = bytes.data();
  const int found = finder(in, bytes.data() + bytes.size(), count, starts.data());
  std::vector<std::ptrdiff_t> result;
  for (int i = 0; i < count; ++i) {
    const std::byte* const start = starts[static_cast<std::size_t>(i)];
    if (i < found) result.push_back(start - bytes.data());
    EXPECT_EQ(i < found, start != nullptr) << i;
  }
  result.push_back(in - bytes.data());
  return result;
}

class EveryGroupFinder : public testing::TestWithParam<GroupFinder*> {};
INSTANTIATE_TEST_SUITE_P(Versions, EveryGroupFinder, testing::ValuesIn(GroupFinders()));

TEST_P(EveryGroupFinder, FindsGroupsOfEachLength) {
  for (std::size_t literals = 0; literals <= 8; ++literals) {
    std::vector<std::byte> bytes;
    for (int i = 0; i < 400; ++i) AddGroup(bytes, literals);
    bytes.resize(bytes.size() + kMaxGroupSize, std::byte{0});  // a code 0 comes after the groups
    std::vector<std::ptrdiff_t> expected;
    for (std::ptrdiff_t i = 0; i <= 400; ++i) expected.push_back(i * 8 * static_cast<std::ptrdiff_t>(1 + literals));
    EXPECT_EQ(expected, Find(GetParam(), bytes, 500)) << literals;
  }
}

TEST_P(EveryGroupFinder, StopsAfterTheRequestedNumber) {
  std::vector<std::byte> bytes;
  for (int i = 0; i < 300; ++i) AddGroup(bytes, static_cast<std::size_t>(i) % 9);
  std::vector<std::ptrdiff_t> all = Find(GetParam(), bytes, 300);
  for (int count = 0; count < 290; ++count) {
    const auto end = all.begin() + count + 1;
    EXPECT_EQ(std::vector(all.begin(), end), Find(GetParam(), bytes, count)) << count;
  }
}

TEST_P(EveryGroupFinder, StopsAtAGroupThatIsNotPlain) {
  for (const int code : {0, 252}) {
    for (std::size_t at = 0; at < 200; ++at) {
      std::vector<std::byte> bytes;
      for (std::size_t i = 0; i < 300; ++i) AddGroup(bytes, i % 3);
      const std::vector<std::ptrdiff_t> all = Find(GetParam(), bytes, 250);
      bytes[static_cast<std::size_t>(all[at]) + at % 8] = static_cast<std::byte>(code);
      const auto end = all.begin() + static_cast<std::ptrdiff_t>(at) + 1;
      EXPECT_EQ(std::vector(all.begin(), end), Find(GetParam(), bytes, 250)) << "code " << code << " at " << at;
    }
  }
}

TEST_P(EveryGroupFinder, IgnoresSuchCodesInLiterals) {
  std::vector<std::byte> bytes;
  for (int i = 0; i < 100; ++i) {
    AddGroup(bytes, 3);
    const std::size_t literal = bytes.size() - 24;
    for (std::size_t k = 0; k < 24; ++k)
      bytes[literal + k] = std::byte{static_cast<unsigned char>(k % 2 == 0 ? 252 : 253)};
  }
  bytes.resize(bytes.size() + kMaxGroupSize, std::byte{0});
  EXPECT_EQ(101u, Find(GetParam(), bytes, 200).size());
}

}  // namespace
}  // namespace GroupFinder_test
