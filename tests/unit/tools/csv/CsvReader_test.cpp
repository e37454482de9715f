#include "tools/csv/CsvReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/cli/InputFile.h"
#include "tools/messages/ToolError.h"

namespace CsvReader_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Record = std::vector<std::string>;

class CsvReader : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
  void TearDown() override { SetUTF8mode(0); }

  static std::vector<Record> Records(std::string_view text, const tool::CsvDialect& dialect = {}) {
    const InputFile file(text);
    tool::InputBytes input(file.Path());
    tool::CsvReader reader(input, dialect);
    reader.SetMissing(dialect.missing);
    std::vector<Record> records;
    while (reader.Next()) records.emplace_back(reader.Fields().begin(), reader.Fields().end());
    return records;
  }
  static std::string Failure(std::string_view text) {
    try {
      Records(text);
      return "";
    } catch (const tool::ToolError& error) {
      return error.what();
    }
  }
};

TEST_F(CsvReader, ReadsLines) {
  EXPECT_THAT(Records("a,b\nc,d\n"), ElementsAre(Record{"a", "b"}, Record{"c", "d"}));
  EXPECT_THAT(Records("a,b\r\nc,d\r\n"), ElementsAre(Record{"a", "b"}, Record{"c", "d"}));
  EXPECT_THAT(Records("a,b\nc,d"), ElementsAre(Record{"a", "b"}, Record{"c", "d"}));
  EXPECT_THAT(Records("a,b\rc,d\r"), ElementsAre(Record{"a", "b"}, Record{"c", "d"}));
  EXPECT_THAT(Records("a,b\rc,d"), ElementsAre(Record{"a", "b"}, Record{"c", "d"}));
  EXPECT_THAT(Records("a\n\rb\r\n\rc"), ElementsAre(Record{"a"}, Record{""}, Record{"b"}, Record{""}, Record{"c"}));
}

TEST_F(CsvReader, DropsBlankLinesAtTheEnd) {
  for (const char* end : {"", "\n", "\n\n", "\r\n\r\n", "\r\r", "  ", "\n \n\r  "}) {
    EXPECT_THAT(Records(std::string("a,b\nc,d\n") + end), ElementsAre(Record{"a", "b"}, Record{"c", "d"})) << end;
    EXPECT_THAT(Records(std::string("a\nb\n") + end), ElementsAre(Record{"a"}, Record{"b"})) << end;
  }
  EXPECT_THAT(Records("\n\n"), IsEmpty());
}

TEST_F(CsvReader, KeepsBlankLinesBeforeARecord) {
  EXPECT_THAT(Records("a\n\n\nb\n\n"), ElementsAre(Record{"a"}, Record{""}, Record{""}, Record{"b"}));
  EXPECT_THAT(Records("a\n\n\"\"\n\n"), ElementsAre(Record{"a"}, Record{""}, Record{""}));
  EXPECT_THAT(Records("a\n\t\n"), ElementsAre(Record{"a"}, Record{"\t"}));
}

TEST_F(CsvReader, ReportsTheLinesOfBlankRecords) {
  const InputFile file("a\n\n\nb\n\n");
  tool::InputBytes input(file.Path());
  tool::CsvReader reader(input);
  std::vector<long long> lines;
  while (reader.Next()) lines.push_back(reader.Line());
  EXPECT_THAT(lines, ElementsAre(1, 2, 3, 4));
}

TEST_F(CsvReader, ReadsDialects) {
  EXPECT_THAT(Records("a;b,c\n'x;''y';2", {.delimiter = ';', .quote = '\''}),
              ElementsAre(Record{"a", "b,c"}, Record{"x;'y", "2"}));
  EXPECT_THAT(Records("a\t\"b\n", {.delimiter = '\t', .quote = std::nullopt}), ElementsAre(Record{"a", "\"b"}));
  EXPECT_THAT(Records("one\r\ntwo \"\rthree\n1,2\n", {.skippedLines = 3}), ElementsAre(Record{"1", "2"}));
  EXPECT_THAT(Records("one\ntwo", {.skippedLines = 2}), IsEmpty());
  EXPECT_THAT(Records("one\r\n", {.skippedLines = 5}), IsEmpty());
}

TEST_F(CsvReader, EmptiesFieldsThatMeanNoValue) {
  EXPECT_THAT(Records("NA,\"NA\",na,NAN,-9\nNA\n", {.missing = {"NA", "-9"}}),
              ElementsAre(Record{"", "", "na", "NAN", ""}, Record{""}));
}

TEST_F(CsvReader, EmptyInputHasNoRecords) { EXPECT_THAT(Records(""), IsEmpty()); }

TEST_F(CsvReader, ReadsEmptyFields) {
  EXPECT_THAT(Records(",\n\n,,"), ElementsAre(Record{"", ""}, Record{""}, Record{"", "", ""}));
}

TEST_F(CsvReader, ReadsQuotedFields) {
  EXPECT_THAT(Records("\"a,b\",\"\"\n\"c\nd\",\"e\"\"f\"\"\"\r\n"),
              ElementsAre(Record{"a,b", ""}, Record{"c\nd", "e\"f\""}));
  EXPECT_THAT(Records("\"a\""), ElementsAre(Record{"a"}));
  EXPECT_THAT(Records("\"\"\"\""), ElementsAre(Record{"\""}));
}

TEST_F(CsvReader, KeepsAQuoteInsideAPlainField) {
  EXPECT_THAT(Records("a\"b,c\"\n"), ElementsAre(Record{"a\"b", "c\""}));
}

TEST_F(CsvReader, KeepsACarriageReturnInsideQuotes) {
  EXPECT_THAT(Records("\"a\rb\",c\r\n\"d\r\"\n\"e\"\r\"f\""),
              ElementsAre(Record{"a\rb", "c"}, Record{"d\r"}, Record{"e"}, Record{"f"}));
}

TEST_F(CsvReader, SkipsAByteOrderMark) {
  EXPECT_THAT(Records("\xEF\xBB\xBF\"a\",b\n"), ElementsAre(Record{"a", "b"}));
  EXPECT_THAT(Records("\xEF\xBB\xBF"), IsEmpty());
}

// The reader compares eight bytes at once. It must not take a byte next to a separator for a separator.
TEST_F(CsvReader, DoesNotMistakeBytesNextToSeparators) {
  EXPECT_THAT(Records(",-5,\v,+,-\n-,,\x0B\n"), ElementsAre(Record{"", "-5", "\v", "+", "-"}, Record{"-", "", "\v"}));
  EXPECT_THAT(Records("ä¬,\xC3\x8A\n"), ElementsAre(Record{"ä¬", "\xC3\x8A"}));
}

TEST_F(CsvReader, ReportsTheLineOfARecord) {
  const InputFile file("a\n\"b\n\n\"\nc\n");
  tool::InputBytes input(file.Path());
  tool::CsvReader reader(input);
  std::vector<long long> lines;
  while (reader.Next()) lines.push_back(reader.Line());
  EXPECT_THAT(lines, ElementsAre(1, 2, 5));
}

TEST_F(CsvReader, RejectsInvalidCsv) {
  EXPECT_THAT(Failure("a\n\"b"), HasSubstr("never closed (at line 2)"));
  EXPECT_THAT(Failure("\"a\"\"\n"), HasSubstr("never closed (at line 1)"));
  EXPECT_THAT(Failure("\"a\"b\n"), HasSubstr("follows a closing quote (at line 1)"));
  EXPECT_THAT(Failure("a\n\xC3\n"), HasSubstr("not UTF-8 (at line 2)"));
  EXPECT_THAT(Failure("a\n" + std::string(3'000'000, 'x')), HasSubstr("longer than any value can be"));
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + "\"";
}

TEST_F(CsvReader, ReadsBackRandomRecords) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto below = [&random](unsigned int limit) { return random() % limit; };
  std::string text;
  std::vector<Record> records;
  // The text fills several windows of 256 KiB, and now and then a record is longer than a window.
  while (text.size() < 2'000'000) {
    Record record(1 + below(6));
    for (std::string& field : record) {
      field.resize(below(500) == 0 ? below(100'000) : below(12));
      for (char& c : field) c = "ab\",-\n\r x1"[below(10)];
    }
    for (std::size_t i = 0; i < record.size(); ++i) {
      // An empty line after CR would begin with the LF of CR LF, and of a blank line the reader does not keep the blanks.
      const bool isEmptyLine = record.size() == 1 && record[i].find_first_not_of(' ') == std::string::npos;
      const bool isPlain = record[i].find_first_of("\",\n\r") == std::string::npos && below(4) != 0 && !isEmptyLine;
      text += (i == 0 ? "" : ",") + (isPlain ? record[i] : Quoted(record[i]));
    }
    text += std::array{"\n", "\r\n", "\r"}[below(3)];
    records.push_back(record);
  }
  text += "\"end\"";  // blank lines at the end would be no records
  records.push_back({"end"});
  EXPECT_EQ(records, Records(text));
}

}  // namespace
}  // namespace CsvReader_test
