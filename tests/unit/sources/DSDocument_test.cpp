#include "datasrc/DSDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace DSDocument_test {
namespace {

std::string Line(const std::string& text) { return FileText(text, 80); }

DSDocument DocumentOf(const std::vector<std::string>& lines, int year = 2021, int month = 3, int day = 5) {
  DSDocument document;
  document.Year(year);
  document.Month(month);
  document.Day(day);
  for (const std::string& line : lines) document.AddLine(line);
  return document;
}

MemorySource SourceWith(const std::string& run) {
  MemorySource source;
  if (!run.empty()) source.SetExtension(0, 1, static_cast<long>(run.size()), run.data());
  return source;
}

TEST(DSDocument, DefaultDateIsTheFirstOfJanuaryOfYear0) {
  const DSDocument document;
  EXPECT_EQ(0, document.Year());
  EXPECT_EQ(1, document.Month());
  EXPECT_EQ(1, document.Day());
  EXPECT_EQ(0, document.Size());
}

TEST(DSDocument, CompletesYearsOfTwoDigits) {
  DSDocument document;
  for (const auto& [given, year] :
       {std::pair{0, 2000}, {63, 2063}, {64, 1964}, {99, 1999}, {100, 100}, {2021, 2021}, {-1, 1999}}) {
    document.Year(given);
    EXPECT_EQ(year, document.Year()) << given;
  }
}

TEST(DSDocument, AcceptsLinesOfAtMost80Bytes) {
  DSDocument document;
  document.AddLine(std::string(80, 'x'));
  EXPECT_EQ(1, document.Size());
  EXPECT_DEATH(document.AddLine(std::string(81, 'x')), "assertion failed: line\\.size\\(\\) < 81");
}

TEST(DSDocumentDeathTest, MonthDayOrLineOutOfRangeAsserts) {
  DSDocument document;
  EXPECT_DEATH(document.Month(0), "0 < mo && mo < 13");
  EXPECT_DEATH(document.Month(13), "0 < mo && mo < 13");
  EXPECT_DEATH(document.Day(0), "0 < da && da < 32");
  EXPECT_DEATH(document.Day(32), "0 < da && da < 32");
  EXPECT_DEATH(document[0], "0 <= which && which < _my->_lines.size");
  EXPECT_DEATH(std::as_const(document)[-1], "0 <= which && which < _my->_lines.size");
}

TEST(DSDocument, CopiesShareAddedLinesButNotTheDate) {
  DSDocument document = DocumentOf({"one"});
  DSDocument copy = document;
  copy.AddLine("two");
  EXPECT_EQ(2, document.Size());
  copy.Year(1999);
  EXPECT_EQ(2021, document.Year());
  copy[0] = "other";
  EXPECT_EQ("one", document[0]);
}

TEST(DSDocument, IsOrderedByDateThenByLines) {
  const std::vector<DSDocument> ordered = {
      DocumentOf({"z"}, 2020, 12, 31), DocumentOf({}),    DocumentOf({"a"}),
      DocumentOf({"a", "b"}),          DocumentOf({"b"}), DocumentOf({"a"}, 2021, 3, 6),
      DocumentOf({"a"}, 2021, 4, 1)};
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    for (std::size_t k = 0; k < ordered.size(); ++k) {
      EXPECT_EQ(i < k, ordered[i] < ordered[k]) << i << ' ' << k;
      EXPECT_EQ(i == k, ordered[i] == ordered[k]) << i << ' ' << k;
    }
  }
}

TEST(DSDocument, AddDateLineAppendsItsDate) {
  DSDocument document = DocumentOf({});
  AddDateLine(document);
  EXPECT_EQ("   (Entered 05-Mar-2021)", document[0]);
  DSDocument first;
  AddDateLine(first);
  EXPECT_EQ("   (Entered 01-Jan-0000)", first[0]);
}

// ---- Conversion from and to the run of lines ----

struct DateLine {
  const char* name;
  const char* line;
  int year, month, day;
};
class DateLines : public testing::TestWithParam<DateLine> {};
INSTANTIATE_TEST_SUITE_P(Lines, DateLines,
                         testing::Values(DateLine{"Blanks", "   (Entered 05 mar 99)", 1999, 3, 5},
                                         DateLine{"Century", "   (Entered 05-Mar-2021)", 2021, 3, 5},
                                         DateLine{"IgnoredCentury", "   (Entered 05-Mar-1950)", 2050, 3, 5},
                                         DateLine{"UpperCase", "   (Entered 31-DEC-64)", 1964, 12, 31},
                                         DateLine{"NoParenthesis", "   (Entered 05-Mar-21", 2021, 3, 5},
                                         DateLine{"Year0", "   (Entered 01-Jan-0000)", 2000, 1, 1}),
                         kRowName);

TEST_P(DateLines, GiveTheDateOfTheDocument) {
  const auto documents = GetDocuments(SourceWith(Line(GetParam().line)));
  ASSERT_EQ(1u, documents.size());
  EXPECT_EQ(GetParam().year, documents[0].Year());
  EXPECT_EQ(GetParam().month, documents[0].Month());
  EXPECT_EQ(GetParam().day, documents[0].Day());
}

struct BadDateLine {
  const char* name;
  const char* line;
  const char* assertion;
};
class BadDateLineDeathTest : public testing::TestWithParam<BadDateLine> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, BadDateLineDeathTest,
    testing::Values(BadDateLine{"Short", "   (Entered 05-Mar)", "8 < date.size\\(\\)"},
                    BadDateLine{"FirstDigit", "   (Entered x5-Mar-21)", "'0' <= date\\[0\\] && date\\[0\\] <= '9'"},
                    BadDateLine{"SecondDigit", "   (Entered 0x-Mar-21)", "'0' <= date\\[1\\] && date\\[1\\] <= '9'"},
                    BadDateLine{"Month", "   (Entered 05-Mai-21)", "0 < mo && mo < 13"},
                    BadDateLine{"Day", "   (Entered 32-Mar-21)", "0 < da && da < 32"},
                    BadDateLine{"YearFirst", "   (Entered 05-Mar-x1)", "'0' <= date\\[7\\] && date\\[7\\] <= '9'"},
                    BadDateLine{"YearSecond", "   (Entered 05-Mar-2x)", "'0' <= date\\[8\\] && date\\[8\\] <= '9'"}),
    kRowName);

TEST_P(BadDateLineDeathTest, Asserts) {
  EXPECT_DEATH(GetDocuments(SourceWith(Line(GetParam().line))), GetParam().assertion);
}

TEST(DocumentsDeathTest, IncompleteLineAsserts) {
  EXPECT_DEATH(GetDocuments(SourceWith(Line("x") + "y")), "bytes%80 == 0");
}

TEST(Documents, SourceWithoutDocumentsHasNone) { EXPECT_TRUE(GetDocuments(MemorySource()).empty()); }

TEST(Documents, LinesWithoutADateLineAreNoDocument) {
  EXPECT_TRUE(GetDocuments(SourceWith(Line("a") + Line("b") + Line("c"))).empty());
}

TEST(Documents, RoundTripWithPaddedLines) {
  DSDocument first = DocumentOf({"one", "two"});
  AddDateLine(first);
  DSDocument second = DocumentOf({"three"}, 1999, 12, 31);
  AddDateLine(second);
  MemorySource source;
  SaveDocuments({first, second}, source);
  EXPECT_EQ(Line("one") + Line("two") + Line("   (Entered 05-Mar-2021)") + Line("") + Line("three") +
                Line("   (Entered 31-Dec-1999)"),
            QUAV_DataSource::Extension(source, 0).Elements());
  const auto read = GetDocuments(source);
  ASSERT_EQ(2u, read.size());
  EXPECT_EQ(3, read[0].Size());
  EXPECT_EQ(Line("two"), read[0][1]);
  EXPECT_EQ(2, read[1].Size());
  EXPECT_EQ(1999, read[1].Year());
}

TEST(Documents, LinesAfterTheLastDateLineAreLost) {
  EXPECT_EQ(1u, GetDocuments(SourceWith(Line("   (Entered 05-Mar-21)") + Line("") + Line("lost"))).size());
}

TEST(Documents, LineAfterADateLineIsSkipped) {
  const auto documents =
      GetDocuments(SourceWith(Line("   (Entered 05-Mar-21)") + Line("text") + Line("   (Entered 06-Mar-21)")));
  ASSERT_EQ(2u, documents.size());
  EXPECT_EQ(1, documents[1].Size());
}

TEST(Documents, DocumentWithoutLinesIsSavedUnlessItIsTheFirst) {
  MemorySource source;
  SaveDocuments({DocumentOf({"a"}), DocumentOf({}), DocumentOf({"b"})}, source);
  EXPECT_EQ(Line("a") + Line("") + Line("") + Line("b"), QUAV_DataSource::Extension(source, 0).Elements());
  EXPECT_DEATH(SaveDocuments({DocumentOf({}), DocumentOf({"a"})}, source), "HasExtension\\(type\\)");
}

TEST(Documents, SavingNoDocumentsRemovesTheLines) {
  MemorySource source = SourceWith(Line("x"));
  SaveDocuments({}, source);
  EXPECT_FALSE(source.HasExtension(0));
}

TEST(Documents, UnitsLargerThanALineAreNoDocuments) {
  MemorySource source;
  source.SetExtension(0, 160, 1, std::string(160, ' ').data());
  EXPECT_TRUE(GetDocuments(source).empty());
}

TEST(Documents, DeDupSortsAndRemovesDuplicates) {
  std::vector<DSDocument> documents = {DocumentOf({"b"}), DocumentOf({"a"}), DocumentOf({"b"}), DocumentOf({"a"}),
                                       DocumentOf({"a"})};
  DeDup(documents);
  ASSERT_EQ(2u, documents.size());
  EXPECT_EQ("a", documents[0][0]);
  EXPECT_EQ("b", documents[1][0]);
  std::vector<DSDocument> none;
  DeDup(none);
  EXPECT_TRUE(none.empty());
}

}  // namespace
}  // namespace DSDocument_test
