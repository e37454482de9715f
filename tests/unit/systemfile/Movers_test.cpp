#include "systemfile/Movers.h"

#include <gtest/gtest.h>

#include <clocale>
#include <numeric>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/support/Reading.h"
#include "tests/support/VirtualSlot.h"

namespace Movers_test {
namespace {

using OrdinaryMover = SystemFileDataSource::SaveDS::OrdinaryMover;
using EStringMover = SystemFileDataSource::SaveDS::EStringMover;

TEST(Mover, HasMoveInItsFirstSlot) { EXPECT_EQ(0u, VirtualSlot(&SystemFileDataSource::SaveDS::Mover::Move)); }

TEST(OrdinaryMover, CopiesItsCellsAndReturnsTheNext) {
  const std::vector<OBS> from{OBS{1}, OBS{2}, OBS{3}};
  std::vector<OBS> to(3, OBS{9});
  EXPECT_EQ(&from[2], OrdinaryMover(2, to.data()).Move(from.data()));
  EXPECT_EQ((std::vector<OBS>{OBS{1}, OBS{2}, OBS{9}}), to);
}

// Returns a text of the given width as the file stores it. Expects the cell after it to stay unchanged.
std::string Moved(const std::string& text, std::size_t width) {
  const auto cells = CellsOf(FileValue(FileText(text, width)));
  const std::size_t fileCells = (width + width / 252 * 4 + 7) / 8;
  std::vector<OBS> out(fileCells + 1, OBS{0x7777777777777777});
  EXPECT_EQ(cells.data() + cells.size(), EStringMover(width, out.data()).Move(cells.data()));
  EXPECT_EQ(OBS{0x7777777777777777}, out.back());
  return {CellText(out.data()), fileCells * 8};
}

std::string Numbered(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 26);
  return text;
}

class EStringMoverInUtf8 : public testing::Test {
 protected:
  EStringMoverInUtf8() {
    SetUTF8mode(1);
    std::setlocale(LC_CTYPE, "C.UTF-8");
  }
  ~EStringMoverInUtf8() override {
    std::setlocale(LC_CTYPE, "C");
    SetUTF8mode(0);
  }
};

TEST(EStringMover, FillsSegmentAndTailInASingleByteLocale) {
  const std::string text = Numbered(300);
  EXPECT_EQ(text.substr(0, 255) + " " + text.substr(255) + "   ", Moved(text, 300));
}

TEST(EStringMover, WritesNoTailForAMultipleOf252) {
  const std::string text = Numbered(504);
  // The first segment also holds the first three bytes of the second segment's share.
  EXPECT_EQ(text.substr(0, 255) + " " + text.substr(255) + std::string(6, ' ') + " ", Moved(text, 504));
}

TEST(EStringMover, PadsAShortTextWithBlanksAndNoNul) {
  const std::string moved = Moved(Numbered(100), 300);
  EXPECT_EQ(Numbered(100) + std::string(moved.size() - 100, ' '), moved);
}

TEST(EStringMover, WritesATailOfOneCellForWidth256) {
  const std::string text = Numbered(256);
  EXPECT_EQ(text.substr(0, 255) + " " + text.substr(255) + std::string(7, ' '), Moved(text, 256));
}

TEST_F(EStringMoverInUtf8, DoesNotSplitACharacterOfThreeBytes) {
  // The character begins at byte 253.
  const std::string text = std::string(253, 'x') + "\u20AC" + "yz";
  const std::string moved = Moved(text, 300);
  EXPECT_EQ(std::string(253, 'x') + std::string(2, '\0') + " \u20ACyz", moved.substr(0, 261));
  EXPECT_EQ(std::string(moved.size() - 261, ' '), moved.substr(261));
}

TEST_F(EStringMoverInUtf8, FillsTheSegmentWhenByte254IsABlank) {
  const std::string text = std::string(254, 'x') + " \u20AC";
  EXPECT_EQ(std::string(254, 'x') + "  \u20AC", Moved(text, 300).substr(0, 259));
}

TEST_F(EStringMoverInUtf8, CountsANulAsACharacter) {
  const std::string text = std::string(10, '\0') + Numbered(290);
  EXPECT_EQ(text.substr(0, 255) + " " + text.substr(255), Moved(text, 300).substr(0, 301));
}

TEST_F(EStringMoverInUtf8, StopsAtAnInvalidByteAndStaysWithinItsCells) {
  const std::string text = std::string(100, 'x') + "\xFF" + std::string(900, 'y');
  const std::string moved = Moved(text, 1000);
  EXPECT_EQ(std::string(100, 'x') + std::string(155, '\0') + " ", moved.substr(0, 256));
  EXPECT_EQ(std::string(255, '\0') + " ", moved.substr(256, 256)) << "the text advances no further";
  EXPECT_EQ("\xFFyyy", moved.substr(768, 4)) << "the rest goes into the tail";
}

}  // namespace
}  // namespace Movers_test
