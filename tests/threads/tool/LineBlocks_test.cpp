// Lines taken in blocks on several threads, beside the same lines taken one after the other.

#include "tools/jsonlines/LineBlocks.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/cli/InputFile.h"
#include "tools/files/GzipOutput.h"
#include "tools/jsonlines/JsonLinesCases.h"
#include "tools/jsonlines/JsonLinesDictionary.h"
#include "tools/jsonlines/LineReader.h"
#include "tools/messages/ToolError.h"

namespace LineBlocks_test {
namespace {

std::unique_ptr<tool::InputBytes> Open(const InputFile& file, bool isPacked = false) {
  auto input = std::make_unique<tool::InputBytes>(file.Path());
  if (isPacked) input->Unpack();
  return input;
}

std::string Shown(long long number, std::string_view line) {
  return std::to_string(number) + ":" + std::string(line) + "|";
}

class CollectedLines final : public tool::LineBlock {
 public:
  void Work() override {
    m_lines.clear();
    std::string_view line;
    while (NextLine(line)) {
      if (line == "broken") throw std::runtime_error("a broken line");
      m_lines.emplace_back(line);
    }
  }
  std::string Text(long long linesBefore) const {
    std::string text;
    for (const std::string& line : m_lines) text += Shown(++linesBefore, line);
    return text;
  }

 private:
  std::vector<std::string> m_lines;
};

std::string OneByOne(const InputFile& file, bool isPacked = false) {
  const auto input = Open(file, isPacked);
  tool::LineReader lines(*input);
  std::string text;
  try {
    while (lines.Next()) text += Shown(lines.Number(), lines.Text());
  } catch (const tool::ToolError& error) {
    text += error.what();
  }
  return text;
}

class LineBlocks : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
  void TearDown() override { SetUTF8mode(0); }

  std::string InBlocks(const InputFile& file, std::size_t size, bool isPacked = false) {
    const auto input = Open(file, isPacked);
    tool::LineBlocks blocks(*input, {&m_pool, size}, [] { return std::make_unique<CollectedLines>(); });
    std::string text;
    try {
      while (const auto* const block = static_cast<CollectedLines*>(blocks.Next()))
        text += block->Text(blocks.LinesBefore());
    } catch (const std::exception& error) {
      text += error.what();
    }
    return text;
  }

  tool::TaskPool m_pool{3};
};

TEST_F(LineBlocks, HaveTheLinesInTheirOrder) {
  for (const std::string text : {"", "\n", "a", "a\n", "\n\n\n", "a\nbb\n\nccc", "\r\na\r\n",
                                 "a long line at the start\nb\n", "a\n\n \t\r\n", "a\n\n\n\n\n\n\nb", "\n\na  \n  "}) {
    const InputFile file(text);
    for (std::size_t size = 1; size < 12; ++size)
      EXPECT_EQ(OneByOne(file), InBlocks(file, size)) << text << " " << size;
  }
}

TEST_F(LineBlocks, LeaveOutBlankLinesAtTheEnd) {
  for (const std::string end : {"", "\n", "\n\n", "\n \t\r\n\r\n  ", "\n\n\n\n\n\n\n\n\n\n\n\n"}) {
    const InputFile file("a\n\nb" + end);
    EXPECT_EQ("1:a|2:|3:b|", OneByOne(file));
    for (std::size_t size = 1; size < 20; ++size) EXPECT_EQ("1:a|2:|3:b|", InBlocks(file, size)) << size;
  }
}

TEST_F(LineBlocks, MayBeMany) {
  std::string text;
  for (int i = 0; i < 20'000; ++i) text += std::to_string(i * 7919 % 100'003) + "\n";
  const InputFile file(text);
  for (const std::size_t size : {10UL, 1000UL, 1'000'000UL})
    EXPECT_TRUE(OneByOne(file) == InBlocks(file, size)) << size;
}

TEST_F(LineBlocks, ComeBeforeTheFailureOfTheInput) {
  std::string text;
  for (int i = 0; i < 300; ++i) text += "line " + std::to_string(i * 7919 % 100'003) + "\n";
  tool::GzipOutput packing;
  std::string packed(packing.Pack(text));
  packed += packing.End();
  for (const std::size_t size : {packed.size() - 1, packed.size() - 9, packed.size() / 2}) {
    const InputFile file(packed.substr(0, size));
    EXPECT_EQ(OneByOne(file, true), InBlocks(file, 64, true)) << size;
  }
}

TEST_F(LineBlocks, ThrowWhatTheirWorkThrows) {
  EXPECT_EQ("1:a|2:b|a broken line", InBlocks(InputFile("a\nb\nbroken\nc\n"), 4));
}

TEST_F(LineBlocks, MayBeLeftEarly) {
  const InputFile file("a\nb\nc\nd\ne\nf\ng\nh\ni\nj\n");
  const auto input = Open(file);
  tool::LineBlocks blocks(*input, {&m_pool, 2}, [] { return std::make_unique<CollectedLines>(); });
  EXPECT_NE(nullptr, blocks.Next());
}

TEST_F(LineBlocks, OfObjectsMakeDictionaryAndCases) {
  std::string text;
  for (int i = 0; i < 5'000; ++i)
    text += R"({"a": )" + std::to_string(i) + R"(, "text)" + std::to_string(i / 1000) + R"(": "x"})" + "\n";
  const InputFile file(text);
  const auto input = Open(file);
  const tool::JsonLinesDictionary typed = tool::TypeJsonObjects({input.get()}, {&m_pool, 1000});
  EXPECT_EQ((std::vector<std::string>{"a", "text0", "text1", "text2", "text3", "text4"}), typed.members);
  tool::JsonLinesCases cases(Open(file), typed.members, *typed.dictionary, {}, {&m_pool, 1000});
  int count = 0;
  for (; cases.Next(); ++count) ASSERT_EQ(count, CellNumber(cases.Cells()[0]));
  EXPECT_EQ(5'000, count);
}

TEST_F(LineBlocks, OfMixedValuesNameBothLines) {
  std::string text;
  for (int i = 1; i < 200; ++i) text += i == 150 ? "{\"b\": \"x\"}\n" : i < 100 ? "{\"a\": 1}\n" : "{\"b\": 1}\n";
  const auto input = Open(InputFile(text));
  try {
    tool::TypeJsonObjects({input.get()}, {&m_pool, 50});
    FAIL();
  } catch (const tool::ToolError& error) {
    EXPECT_STREQ("the value of b is text, but a number at line 100 (at line 150)", error.what());
  }
}

// A short line may make a wide case. Its block is then delivered in parts.
TEST_F(LineBlocks, OfWideCasesAreDeliveredInParts) {
  SystemFileDataSource dictionary;
  for (const int type : {0, 32'000}) {
    QUAV_Variable variable(type);
    variable.SetName(type == 0 ? "A" : "B");
    dictionary.MakeVariable(variable, nullptr);
  }
  std::string text;
  for (int i = 0; i < 300; ++i) text += "[" + std::to_string(i) + ",\"\"]\n";
  text += "[1]\n";
  tool::JsonLinesCases cases(Open(InputFile(text)), tool::JsonForm::lists, dictionary, {}, {&m_pool, 1'000'000});
  for (int i = 0; i < 300; ++i) {
    ASSERT_TRUE(cases.Next());
    ASSERT_EQ(i, CellNumber(cases.Cells()[0]));
  }
  try {
    cases.Next();
    FAIL();
  } catch (const tool::ToolError& error) {
    EXPECT_STREQ("there are 1 values for the 2 variables of the dictionary (at line 301)", error.what());
  }
}

}  // namespace
}  // namespace LineBlocks_test
