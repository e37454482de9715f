#include "casecodes/CaseCodes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "tests/support/RowName.h"

namespace CaseCodes_test {
namespace {

OBS TextCell(const char* eightBytes) {
  OBS cell;
  std::memcpy(&cell, eightBytes, sizeof(cell));
  return cell;
}

struct CodedCell {
  const char* name;
  OBS cell;
  int code;
};

class CodeOfCellBorders : public testing::TestWithParam<CodedCell> {};

TEST_P(CodeOfCellBorders, MatchesTheFormat) { EXPECT_EQ(GetParam().code, CodeOfCell(GetParam().cell)); }

INSTANTIATE_TEST_SUITE_P(
    Cells, CodeOfCellBorders,
    testing::Values(CodedCell{"Zero", NumberCell(0.0), 100},                                          //
                    CodedCell{"MinusZero", NumberCell(-0.0), 253},                                    //
                    CodedCell{"One", NumberCell(1.0), 101},                                           //
                    CodedCell{"MinusOne", NumberCell(-1.0), 99},                                      //
                    CodedCell{"Highest", NumberCell(151.0), 251},                                     //
                    CodedCell{"AboveTheHighest", NumberCell(152.0), 253},                             //
                    CodedCell{"Lowest", NumberCell(-99.0), 1},                                        //
                    CodedCell{"BelowTheLowest", NumberCell(-100.0), 253},                             //
                    CodedCell{"Fraction", NumberCell(1.5), 253},                                      //
                    CodedCell{"SmallFraction", NumberCell(0.5), 253},                                 //
                    CodedCell{"FractionOfOneBit", NumberCell(std::nextafter(1.0, 2.0)), 253},         //
                    CodedCell{"FractionInTheHighHalf", NumberCell(100.125), 253},                     //
                    CodedCell{"TwoToThe8th", NumberCell(256.0), 253},                                 //
                    CodedCell{"TwoHundredFiftyFive", NumberCell(255.0), 253},                         //
                    CodedCell{"Huge", NumberCell(1e300), 253},                                        //
                    CodedCell{"NegativeHuge", NumberCell(-1e300), 253},                               //
                    CodedCell{"Denormal", OBS{1}, 253},                                               //
                    CodedCell{"DenormalInTheHighHalf", OBS{0x0000000100000000}, 253},                 //
                    CodedCell{"Infinity", NumberCell(std::numeric_limits<double>::infinity()), 253},  //
                    CodedCell{"MinusInfinity", NumberCell(-std::numeric_limits<double>::infinity()), 253},
                    CodedCell{"NotANumber", OBS{0x7FF8000000000000}, 253},           //
                    CodedCell{"SystemMissing", OBS{0xFFEFFFFFFFFFFFFF}, 255},        //
                    CodedCell{"NextToSystemMissing", OBS{0xFFEFFFFFFFFFFFFE}, 253},  //
                    CodedCell{"HighNumber", OBS{0x7FEFFFFFFFFFFFFF}, 253},           //
                    CodedCell{"Blanks", TextCell("        "), 254},                  //
                    CodedCell{"SevenBlanksAndALetter", TextCell("       x"), 253},   //
                    CodedCell{"Text", TextCell("abcdefgh"), 253},                    //
                    CodedCell{"EightNulBytes", TextCell("\0\0\0\0\0\0\0\0"), 100}),
    kRowName);

TEST(CellOfCode, IsTheCodeMinus100) {
  for (int code = 0; code <= 253; ++code)
    EXPECT_EQ(NumberCell(code - 100), kCellOfCode[static_cast<std::size_t>(code)]) << code;
}

TEST(CellOfCode, IsBlankFor254AndSystemMissingFor255) {
  EXPECT_EQ(TextCell("        "), kCellOfCode[254]);
  EXPECT_EQ(OBS{0xFFEFFFFFFFFFFFFF}, kCellOfCode[255]);
}

TEST(CodeOfCell, InvertsCellOfCodeForEveryCodeOfACell) {
  for (int code = 1; code <= 251; ++code)
    EXPECT_EQ(code, CodeOfCell(kCellOfCode[static_cast<std::size_t>(code)])) << code;
  EXPECT_EQ(254, CodeOfCell(kCellOfCode[254]));
  EXPECT_EQ(255, CodeOfCell(kCellOfCode[255]));
}

// The same rule, computed from the value instead of the bits.
int PlainCode(OBS cell) {
  if (cell.bits == 0xFFEFFFFFFFFFFFFF) return 255;
  if (cell.bits == 0x2020202020202020) return 254;
  const double number = CellNumber(cell);
  const bool whole = -99.0 <= number && number <= 151.0 && number == std::trunc(number);
  return whole && !(number == 0.0 && std::signbit(number)) ? static_cast<int>(number) + 100 : 253;
}

TEST(CodeOfCell, AgreesWithThePlainRuleForRandomBits) {
  constexpr unsigned int seed = 20240314;
  std::mt19937_64 random(seed);
  for (int i = 0; i < 200'000; ++i) {
    const OBS any{random()};
    // Only the top 16 bits are random: many of these cells are whole numbers or close to one.
    const OBS coarse{(random() & 0xFFFF) << 48};
    EXPECT_EQ(PlainCode(any), CodeOfCell(any)) << std::hex << any.bits << ", seed " << seed;
    EXPECT_EQ(PlainCode(coarse), CodeOfCell(coarse)) << std::hex << coarse.bits << ", seed " << seed;
  }
}

}  // namespace
}  // namespace CaseCodes_test
