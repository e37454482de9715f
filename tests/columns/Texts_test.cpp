// Texts of all widths as columns: blanks at their end, characters that need a conversion, blocks with and without them.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/columns/BatchesAgainstRows.h"
#include "tests/support/MemorySource.h"

namespace Texts_test {
namespace {

// Returns a text of at most `width` bytes. Some are blank, and some have blanks inside or a control character; if
// `isAscii` is false, some have characters of two bytes.
std::string DrawText(std::size_t width, bool isAscii, std::mt19937& random) {
  std::string text;
  const std::size_t length = random() % (width + 1);
  while (text.size() < length) {
    const auto kind = random() % 40;
    if (kind == 0 && !isAscii && text.size() + 2 <= width)
      text += "\u00E9";
    else
      text += kind < 6 ? ' ' : kind == 7 && !isAscii ? '\t' : static_cast<char>('!' + random() % 94);
  }
  return text;
}

MemorySource Draw(const std::vector<int>& widths, int cases, bool isAscii, unsigned seed) {
  std::mt19937 random(seed);
  MemorySource source;
  for (const int width : widths) source.AddText(("T" + std::to_string(width)).c_str(), width);
  for (int row = 0; row < cases; ++row) {
    std::vector<MemorySource::Value> values;
    for (const int width : widths) values.emplace_back(DrawText(static_cast<std::size_t>(width), isAscii, random));
    source.AddCase(values);
  }
  return source;
}

TEST(Texts, OfEveryWidthEndBeforeTheirTrailingBlanks) {
  for (const bool isAscii : {true, false}) {
    for (int width = 1; width <= 80; ++width) {
      const MemorySource source = Draw({width}, 100, isAscii, static_cast<unsigned>(width));
      ExpectSameRows(source, {.rowsPerBatch = 37});
      if (HasFatalFailure()) FAIL() << "width " << width;
    }
  }
}

TEST(Texts, BlocksThatNeedAConversionMayFollowOthers) {
  MemorySource source = Draw({8, 20, 300}, 1500, true, 1);
  for (const char* text : {"\u00E9", "a\tb", "plain"}) source.AddCase({text, text, text});
  for (int row = 0; row < 1500; ++row) source.AddCase({"x", "", std::string(300, 'y')});
  ExpectSameRows(source, {});
  ExpectSameRows(source, {.rowsPerBatch = 1000});
}

TEST(Texts, UserMissingOnesAreDropped) {
  MemorySource source = Draw({5, 12}, 50, true, 2);
  source.GetVariable(0).SetMissingValues("no", nullptr, nullptr);
  source.GetVariable(1).SetMissingValues("none", nullptr, nullptr);
  for (int row = 0; row < 20; ++row) source.AddCase({row % 3 == 0 ? "no" : "yes", row % 2 == 0 ? "none" : "some"});
  ExpectSameRows(source, {.dropUserMissing = true});
}

TEST(Texts, WithoutMissingValuesNoneIsDropped) {
  ExpectSameRows(Draw({5, 12}, 50, false, 3), {.dropUserMissing = true});
}

}  // namespace
}  // namespace Texts_test
