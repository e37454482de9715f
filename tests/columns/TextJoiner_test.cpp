#include "Columns/batches/TextJoiner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace TextJoiner_test {
namespace {

constexpr std::size_t kStep = 24;  // the most texts of a block
constexpr std::int32_t kStart = 1'000'000;

// Texts of a width in columns of cells, and what they are in the end.
struct Texts {
  std::size_t width;
  std::vector<OBS> cells;
  std::string joined = {};
  std::vector<std::int32_t> ends = {};  // if the first begins at kStart
  bool arePrintable = true;

  TextBlock Block() const {
    const std::size_t used = width % 8;
    const OBS lastMask = {used == 0 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * used)) - 1};
    return {cells.data(), kStep, CellCount(static_cast<int>(width)), lastMask};
  }
};

// Draws texts with any number of blanks at their end; the bytes after their width are arbitrary. One in `others` of the
// bytes is not printable ASCII; none if that is 0.
Texts Draw(std::size_t width, std::size_t rows, unsigned others, std::mt19937& random) {
  Texts texts{width, std::vector<OBS>(CellCount(static_cast<int>(width)) * kStep)};
  for (std::size_t row = 0; row < rows; ++row) {
    std::string field(FieldSize(static_cast<int>(width)), ' ');
    const std::size_t length = random() % (width + 1);
    for (std::size_t i = 0; i < length; ++i) {
      const bool isOther = others != 0 && random() % others == 0;
      field[i] = isOther ? "\x1F\x7F\x80\xFF\t"[random() % 6] : static_cast<char>(' ' + random() % 95);
      texts.arePrintable = texts.arePrintable && ' ' <= field[i] && field[i] <= '~';
    }
    const std::string text = field.substr(0, field.find_last_not_of(' ') + 1);
    texts.joined += text;
    texts.ends.push_back(kStart + static_cast<std::int32_t>(texts.joined.size()));
    for (std::size_t i = width; i < field.size(); ++i) field[i] = static_cast<char>(random());
    for (std::size_t cell = 0; cell * 8 < field.size(); ++cell)
      field.copy(CellText(&texts.cells[cell * kStep + row]), 8, cell * 8);
  }
  return texts;
}

class EveryTextJoiner : public testing::TestWithParam<TextJoiner*> {};
INSTANTIATE_TEST_SUITE_P(Versions, EveryTextJoiner, testing::ValuesIn(TextJoiners()));

TEST_P(EveryTextJoiner, JoinsTextsOfEveryWidth) {
  std::mt19937 random(17);
  for (std::size_t width = 1; width <= 90; ++width) {
    for (std::size_t rows = 0; rows <= kStep; ++rows) {
      for (const unsigned others : {0u, 500u, 3u}) {
        const Texts texts = Draw(width, rows, others, random);
        const std::size_t room = rows * FieldSize(static_cast<int>(width)) + kJoinSlack;
        std::string out(room + 16, '#');
        std::vector<std::int32_t> ends(rows);
        const JoinedTexts joined = GetParam()(texts.Block(), rows, out.data(), kStart, ends.data());
        ASSERT_EQ(texts.joined, out.substr(0, joined.size)) << "width " << width;
        ASSERT_EQ(texts.ends, ends) << "width " << width;
        ASSERT_EQ(texts.arePrintable, joined.arePrintable) << "width " << width;
        ASSERT_EQ(std::string(16, '#'), out.substr(room)) << "writes after its room, width " << width;
      }
    }
  }
}

}  // namespace
}  // namespace TextJoiner_test
