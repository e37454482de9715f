#include "Platform/stream/ZlibBlockWindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace ZlibBlockWindow_test {
namespace {

// Returns a block at the position that holds the text.
std::unique_ptr<LoadedZlibBlock> Block(std::int64_t position, const std::string& text) {
  auto block = std::make_unique<LoadedZlibBlock>();
  block->block.position = position;
  block->block.plainSize = static_cast<decltype(block->block.plainSize)>(text.size());
  std::ranges::transform(text, block->Plain(), [](char byte) { return static_cast<std::byte>(byte); });
  return block;
}

std::string Shown(const ZlibBlockWindow& window) {
  std::string text;
  for (const std::byte* byte = window.Bytes().begin; byte != window.Bytes().end; ++byte)
    text += static_cast<char>(*byte);
  return text;
}

class ZlibBlockWindowTest : public testing::Test {
 protected:
  void ExpectShows(const std::string& text, std::int64_t position) const {
    EXPECT_EQ(text, Shown(window));
    EXPECT_EQ(text.size(), window.Held());
    EXPECT_EQ(position, window.Position());
  }

  ZlibBlockWindow window;
};

TEST_F(ZlibBlockWindowTest, IsEmptyAtFirstAtAnyPosition) {
  EXPECT_FALSE(window.HasBlock());
  ExpectShows("", 0);
  EXPECT_FALSE(window.MoveTo(7));
  ExpectShows("", 7);
}

TEST_F(ZlibBlockWindowTest, ShowsABlockFromThePositionOn) {
  for (const std::int64_t position : {100, 102, 104}) {
    window = {};
    window.MoveTo(position);
    window.Add(Block(100, "abcde"), 5);
    ExpectShows(std::string("abcde").substr(static_cast<std::size_t>(position) - 100), position);
  }
}

TEST_F(ZlibBlockWindowTest, PutsTheRestOfTheWindowBeforeTheNextBlock) {
  window.Add(Block(0, "abcde"), 5);
  window.Take(3);
  const auto former = window.Add(Block(5, "fgh"), 3);
  ExpectShows("defgh", 3);
  ASSERT_TRUE(former);
  EXPECT_EQ(0, former->block.position);
  window.Take(5);
  ExpectShows("", 8);
  window.Add(Block(8, "i"), 1);
  ExpectShows("i", 8);
}

TEST_F(ZlibBlockWindowTest, MovesInsideThePresentBlockOnly) {
  window.Add(Block(0, "abc"), 3);
  window.Take(1);
  window.Add(Block(3, "defg"), 4);
  for (const std::int64_t position : {6, 3, 5}) {
    EXPECT_TRUE(window.MoveTo(position));
    ExpectShows(std::string("defg").substr(static_cast<std::size_t>(position) - 3), position);
  }
  for (const std::int64_t position : {2, 7, 0}) {
    EXPECT_FALSE(window.MoveTo(position));
    ExpectShows("", position);
  }
  EXPECT_TRUE(window.MoveTo(4));
  ExpectShows("efg", 4);
}

TEST_F(ZlibBlockWindowTest, ShowsOnlyTheBytesThatTheStreamTakesFromABlock) {
  window.Add(Block(0, "abcde"), 2);
  ExpectShows("ab", 0);
  EXPECT_FALSE(window.MoveTo(2));
  EXPECT_TRUE(window.MoveTo(1));
  ExpectShows("b", 1);
}

// When a Peek needs the next block, the window holds at most one byte less than the longest Peek.
TEST_F(ZlibBlockWindowTest, HasRoomForTheLongestRest) {
  const std::string rest(LoadedZlibBlock::kRoomBefore, 'r');
  window.Add(Block(0, rest), rest.size());
  window.Add(Block(static_cast<std::int64_t>(rest.size()), "next"), 4);
  EXPECT_TRUE(Shown(window) == rest + "next");
}

}  // namespace
}  // namespace ZlibBlockWindow_test
