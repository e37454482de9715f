#include "systemfile/TailFinder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "core/systemfileformat.h"
#include "tests/support/FaultyStream.h"

namespace TailFinder_test {
namespace {

// Makes groups of case codes of random cells, and remembers where each case begins.
class Groups {
 public:
  Groups(unsigned seed, int cellsPerCase, int cases, double literals) {
    std::mt19937 random(seed);
    std::bernoulli_distribution isLiteral(literals);
    std::uniform_int_distribution<int> anyByte(0, 255);
    for (int cell = 0; cell < cellsPerCase * cases; ++cell) {
      if (cell % cellsPerCase == 0)
        m_cases.push_back(static_cast<long>(m_bytes.size()) * 8 + static_cast<long>(m_codes.size()));
      if (isLiteral(random)) {
        m_codes += static_cast<char>(kCodeLiteral);
        for (int i = 0; i < 8; ++i) m_literals += static_cast<char>(anyByte(random));
      } else {
        m_codes += static_cast<char>(101);
      }
      if (m_codes.size() == 8) End();
    }
    if (!m_codes.empty()) {
      m_codes.resize(8, '\0');
      End();
    }
  }

  const std::string& Bytes() const { return m_bytes; }
  // Returns the index of the case that begins there; -1 for none.
  long CaseAt(long group, int code) const {
    const auto found = std::ranges::find(m_cases, group * 8 + code);
    return found == m_cases.end() ? -1 : found - m_cases.begin();
  }
  long Cases() const { return std::ssize(m_cases); }

 private:
  void End() {
    m_bytes += m_codes + m_literals;
    m_codes.clear();
    m_literals.clear();
  }

  std::string m_bytes;
  std::string m_codes;
  std::string m_literals;
  std::vector<long> m_cases;  // 8 times the byte of the group, plus the index of the code
};

// Near the end, the chains may meet only where the data end: then there is no tail.
TEST(TailFinder, FindsTheCasesAfterAnyWord) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const int cells = 1 + static_cast<int>(seed) % 7;
    const Groups groups(seed, cells, 900, static_cast<double>(seed % 5) / 4);
    const long words = std::ssize(groups.Bytes()) / 8;
    for (long word = 1; word + 60 < words; word += words / 11) {
      FaultyStream stream(groups.Bytes());
      stream.Seek(word * 8, kSeekFromStart);
      const auto tail = FindTail(stream, cells);
      ASSERT_TRUE(tail) << word;
      const long first = groups.CaseAt(tail->group, tail->code);
      ASSERT_GE(first, 0) << word;
      EXPECT_EQ(groups.Cases() - first, tail->cases) << word;
      EXPECT_LE(tail->group - word * 8, 72 * (cells + 40)) << word;
    }
  }
}

TEST(TailFinder, LiteralsThatLookLikeCodesLeaveOneChain) {
  // Every word could be the codes of a group of eight literals; only one chain ends with the data.
  const std::string bytes(72 * 50, static_cast<char>(kCodeLiteral));
  FaultyStream stream(bytes);
  stream.Seek(8 * 5, kSeekFromStart);
  const auto tail = FindTail(stream, 4);
  ASSERT_TRUE(tail);
  EXPECT_EQ(0, tail->group % 72);
  EXPECT_EQ((std::ssize(bytes) - tail->group) / 72 * 2, tail->cases);
}

TEST(TailFinder, DataThatEndInsideAGroupHaveNoTail) {
  const Groups groups(7, 3, 400, 1.0);
  FaultyStream stream(groups.Bytes().substr(0, groups.Bytes().size() - 12));
  stream.Seek(80, kSeekFromStart);
  EXPECT_FALSE(FindTail(stream, 3));
}

TEST(TailFinder, NothingAfterTheDamageHasNoTail) {
  FaultyStream stream(std::string(16, '\x65'));
  stream.Seek(16, kSeekFromStart);
  EXPECT_FALSE(FindTail(stream, 1));
}

}  // namespace
}  // namespace TailFinder_test
