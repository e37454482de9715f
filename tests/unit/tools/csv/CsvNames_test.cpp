#include "tools/csv/CsvNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"
#include "tests/support/Seeds.h"

namespace CsvNames_test {
namespace {

using Names = std::vector<std::string>;

class CsvNames : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
};

int IsTaken(void* names, unsigned long, const char* candidate) {
  return int{static_cast<const std::set<std::string>*>(names)->contains(QUAVMBstrupr_A(candidate))};
}

// What the library makes of the names, in a time that grows with the square of their number.
Names LibraryNames(const Names& header) {
  Names mended;
  std::set<std::string> taken;
  for (const std::string& text : header) {
    std::array<char, kMaxVariableName + 1> name{};
    text.copy(name.data(), kMaxVariableName);
    GenerateQUAVName(name.data(), mended.size() + 1, IsTaken, &taken, 0);
    mended.emplace_back(name.data());
    taken.insert(QUAVMBstrupr_A(mended.back()));
  }
  return mended;
}

TEST_F(CsvNames, AreMendedAsTheLibraryDoes) {
  const std::string long64(64, 'x');
  for (const Names& header : {
           Names{"a", "A", "a", "a_A", "a_a", "a"},
           Names{"a_B", "a", "a", "a"},
           Names{"", "", "V1", "v2", "!", "123", "123"},
           Names{long64 + "1", long64 + "2", long64, long64},
           Names{std::string(62, 'x') + "ab", std::string(62, 'x') + "cd", std::string(62, 'X') + "ab",
                 std::string(62, 'X') + "cd", std::string(62, 'x') + "_A"},
           Names{std::string(61, 'x') + "ä1", std::string(61, 'x') + "Ä1", std::string(61, 'x') + "ä12"},
           Names(Seeds(1500), "pay"),
           Names(Seeds(1500), long64),
       })
    EXPECT_EQ(LibraryNames(header), tool::MendedNames(header));
}

TEST_F(CsvNames, OfRandomTextsAreMendedAsTheLibraryDoes) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE(seed);
  std::mt19937 source(seed);
  const Names pieces{
      "a", "A", "_", "_A", "_b", "B", "Z", "ä", "Ä", "1", ".", std::string(59, 'y'), std::string(61, 'Y')};
  for (int round = 0; round < 30; ++round) {
    Names header(200);
    for (std::string& text : header)
      for (auto count = source() % 6; count > 0; --count) text += pieces[source() % pieces.size()];
    EXPECT_EQ(LibraryNames(header), tool::MendedNames(header));
  }
}

// With a search from the first letters for each name, each of these takes minutes.
TEST_F(CsvNames, TakeTimeInProportionToTheirNumber) {
  constexpr std::size_t kCount = Seeds(200'000);
  Names sameStem(kCount);
  for (std::size_t i = 0; i < kCount; ++i) sameStem[i] = std::string(58, 'x') + std::to_string(100'000 + i / 2);
  const auto start = std::chrono::steady_clock::now();
  for (const Names& header : {Names(kCount, "pay"), Names(kCount, std::string(70, 'x')), sameStem}) {
    const Names mended = tool::MendedNames(header);
    EXPECT_EQ(kCount, std::set<std::string>(mended.begin(), mended.end()).size());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace CsvNames_test
