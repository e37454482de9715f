#include "tools/text/TextTable.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "tools/text/TerminalText.h"

namespace TextTable_test {
namespace {

// Sets the locale as the tool does at its start: widths come from a UTF-8 locale.
class Utf8 : public testing::Test {
 protected:
  Utf8() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    SetUTF8mode(1);
  }
  ~Utf8() override {
    SetUTF8mode(m_mode);
    std::setlocale(LC_CTYPE, "C");
  }

 private:
  int m_mode = qUTF8mode();
};

using TerminalText = Utf8;

TEST_F(TerminalText, ShowsControlCharactersAsSigns) { EXPECT_EQ("a␊b␛[0m␡", tool::OneLine("a\nb\x1b[0m\x7f")); }

TEST_F(TerminalText, ReplacesAControlCharacterWithoutASign) { EXPECT_EQ("\uFFFD", tool::OneLine("\u0085")); }

TEST_F(TerminalText, KeepsLettersOfAnyScript) { EXPECT_EQ("Größe 東京", tool::OneLine("Größe 東京")); }

TEST_F(TerminalText, CountsColumnsOfLetters) { EXPECT_EQ(5u, tool::DisplayWidth("Größe")); }

TEST_F(TerminalText, CountsTwoColumnsForAWideCharacter) { EXPECT_EQ(4u, tool::DisplayWidth("東京")); }

TEST_F(TerminalText, CountsNoColumnForACombiningMark) { EXPECT_EQ(1u, tool::DisplayWidth("e\u0301")); }

TEST_F(TerminalText, KeepsATextThatFits) { EXPECT_EQ("Größe", tool::CutToWidth("Größe", 5)); }

TEST_F(TerminalText, CutsALongTextBetweenCharacters) { EXPECT_EQ("Grö…", tool::CutToWidth("Größe", 4)); }

TEST_F(TerminalText, CutsBeforeAWideCharacterThatFitsOnlyHalf) { EXPECT_EQ("東…", tool::CutToWidth("東京都", 4)); }

TEST_F(TerminalText, CutsToTheEllipsisOnly) { EXPECT_EQ("…", tool::CutToWidth("Größe", 1)); }

using Row = tool::TextTable::Row;

class TextTable : public Utf8 {
 protected:
  tool::TextTable m_table{{{"id", tool::TextTable::kRight}, {"name"}, {"n", tool::TextTable::kRight}}};
  std::string m_out;
};

TEST_F(TextTable, AlignsFieldsUnderTitles) {
  const Row rows[] = {{"1", "Ulm", "12.50"}, {"200", "Zürich", "3.00"}};
  for (const auto& row : rows) m_table.Fit(row);
  m_table.AppendHead(m_out);
  for (const auto& row : rows) m_table.AppendRow(m_out, row);
  EXPECT_EQ(
      " id  name        n\n"
      "---  ------  -----\n"
      "  1  Ulm     12.50\n"
      "200  Zürich   3.00\n",
      m_out);
}

TEST_F(TextTable, CutsALongTextAtTheMaximumWidth) {
  const Row row{"1", std::string(50, 'x'), "2"};
  m_table.Fit(row);
  m_table.AppendRow(m_out, row);
  EXPECT_EQ(" 1  " + std::string(39, 'x') + "…  2\n", m_out);
}

TEST_F(TextTable, CutsATextWiderThanItsColumn) {
  m_table.AppendRow(m_out, {"1", "Augsburg", "2"});
  EXPECT_EQ(" 1  Aug…  2\n", m_out);
}

TEST_F(TextTable, NeverCutsANumber) {
  m_table.AppendRow(m_out, {"123456", "Ulm", "2"});
  EXPECT_EQ("123456  Ulm   2\n", m_out);
}

TEST_F(TextTable, WritesNoTrailingBlanks) {
  m_table.AppendRow(m_out, {"1", "", ""});
  EXPECT_EQ(" 1\n", m_out);
}

TEST_F(Utf8, NarrowShortensTheWidestTextsFirst) {
  tool::TextTable table({{"A"}, {"B"}, {"N", tool::TextTable::kRight}});
  const tool::TextTable::Row row{std::string(30, 'a'), std::string(12, 'b'), "123456"};
  table.Fit(row);
  table.Narrow(30);
  std::string out;
  table.AppendRow(out, row);
  EXPECT_EQ(std::string(9, 'a') + "…  " + std::string(9, 'b') + "…  123456\n", out);
}

TEST_F(Utf8, NarrowLeavesNumbersAndTheLeastTextsAsTheyAre) {
  const tool::TextTable::Row row{std::string(30, 'a'), std::string(30, 'b'), "1234567890123"};
  constexpr std::size_t kLeast = 8 + 2 + 14 + 2 + 13;
  for (const std::size_t width : {kLeast - 1, kLeast}) {
    tool::TextTable table({{"A"}, {"a longer title"}, {"N", tool::TextTable::kRight}});
    table.Fit(row);
    table.Narrow(width);
    std::string out;
    table.AppendRow(out, row);
    const std::string narrow = std::string(7, 'a') + "…  " + std::string(13, 'b') + "…  1234567890123\n";
    const std::string whole = std::string(30, 'a') + "  " + std::string(30, 'b') + "  1234567890123\n";
    EXPECT_EQ(width == kLeast ? narrow : whole, out);
  }
}

}  // namespace
}  // namespace TextTable_test
