// CSV files with random values in random dialects: what is read and written again has the same values. A value may only
// change its form, as numbers and times do, never what it says.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Columns/text/IsoReader.h"
#include "Columns/text/ShownText.h"
#include "Platform/text/QUAVMB.h"
#include "tests/cli/InputFile.h"
#include "tests/property/tool/CsvFiles.h"
#include "tests/support/Seeds.h"
#include "tools/csv/CsvCases.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/forms/TextCases.h"

namespace csvdialects_test {
namespace {

constexpr int kFiles = Seeds(10'000);

using namespace csvfiles;

// ---- The way there and back ----

struct Written {
  std::string text;
  std::vector<bool> isNumber;  // for each column
};

Written ReadAndWrite(const InputFile& file, const Made& made) {
  auto input = Open(file, made);
  tool::CsvDictionary typed = tool::TypeCsv(*input, made.dialect);
  EXPECT_EQ(made.table.size(), static_cast<std::size_t>(typed.rows));
  const QUAV_DataSource& dictionary = *typed.dictionary;
  Written written;
  for (unsigned i = 0; i < dictionary.ColumnCount(); ++i)
    written.isNumber.push_back(dictionary.GetVariable(static_cast<int>(i)).GetType() == 0);
  tool::CsvCases cases(std::move(input), made.dialect, dictionary, {.digitsAreKept = true}, typed.rows);
  tool::CsvDialect dialect = made.dialect;
  dialect.missing.clear();
  if (!dialect.quote) dialect.quote = '"';
  tool::Output output("");  // keeps its text, which is short
  tool::TextCases writer(dictionary, tool::AllColumns(dictionary), kUtf8Name, tool::CaseForm::csv, dialect, {}, output);
  writer.Begin();
  while (cases.Next()) writer.WriteCase(cases.Cells());
  writer.End();
  written.text = output.Text();
  output.Text().clear();
  return written;
}

Table ReadAgain(const std::string& text, tool::CsvDialect dialect) {
  const InputFile file(text);
  tool::InputBytes input(file.Path());
  dialect.skippedLines = 0;
  if (!dialect.quote) dialect.quote = '"';
  tool::CsvReader reader(input, dialect);
  Table table;
  if (dialect.hasHeader) reader.Next();
  while (reader.Next()) table.emplace_back(reader.Fields().begin(), reader.Fields().end());
  return table;
}

// The digits of a number from the first to the last that is not zero, with its sign and the place of the point.
struct Decimal {
  bool isNegative = false;
  std::string digits;
  long point = 0;

  bool operator==(const Decimal&) const = default;
};

std::optional<Decimal> DecimalOf(std::string text, char mark) {
  Decimal number;
  std::size_t at = 0;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) number.isNegative = text[at++] == '-';
  bool hasPoint = false;
  bool hasDigit = false;
  for (; at < text.size() && text[at] != 'e' && text[at] != 'E'; ++at) {
    if (text[at] == mark && !hasPoint) {
      hasPoint = true;
      continue;
    }
    if (text[at] < '0' || text[at] > '9') return std::nullopt;
    hasDigit = true;
    number.digits += text[at];
    if (!hasPoint) ++number.point;
  }
  if (!hasDigit) return std::nullopt;
  if (at < text.size()) {
    char* end = nullptr;
    number.point += std::strtol(text.c_str() + at + 1, &end, 10);
    if (*end != '\0' || end == text.c_str() + at + 1) return std::nullopt;
  }
  while (!number.digits.empty() && number.digits.front() == '0') {
    number.digits.erase(0, 1);
    --number.point;
  }
  while (!number.digits.empty() && number.digits.back() == '0') number.digits.pop_back();
  if (number.digits.empty()) number.point = 0;
  return number;
}

// Returns true when the double of the written number, with as many digits as the original, is the original.
bool IsSameNumber(const std::string& original, std::string written, char mark) {
  const auto wanted = DecimalOf(original, mark);
  if (!wanted || !DecimalOf(written, mark)) return false;
  for (char& c : written)
    if (c == mark) c = '.';
  const double value = std::strtod(written.c_str(), nullptr);
  std::array<char, 200> text{};
  std::snprintf(text.data(), text.size(), "%.*e", std::max<int>(static_cast<int>(wanted->digits.size()) - 1, 0), value);
  return DecimalOf(text.data(), '.') == wanted;
}

bool IsSameTime(const std::string& original, const std::string& written) {
  const dstext::IsoValue wanted = dstext::ReadIsoText(original);
  const dstext::IsoValue actual = dstext::ReadIsoText(written);
  return wanted.kind != dstext::IsoKind::none && actual.kind != dstext::IsoKind::none && wanted.value == actual.value;
}

bool IsSame(const std::string& original, const std::string& written, bool isNumber, const tool::CsvDialect& dialect) {
  const bool isMissing = original.empty() || std::ranges::find(dialect.missing, original) != dialect.missing.end();
  if (isMissing) return written.empty();
  if (!isNumber) return dstext::WithoutTrailingBlanks(original) == written;
  return IsSameNumber(original, written, dialect.decimal) || IsSameTime(original, written);
}

class CsvDialects : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
  void TearDown() override { SetUTF8mode(0); }
};

TEST_F(CsvDialects, KeepEveryValue) {
  const unsigned first = std::random_device()();
  testing::internal::CaptureStderr();  // the warnings about columns that are kept as text
  for (int i = 0; i < kFiles && !HasFailure(); ++i) {
    const unsigned seed = first + static_cast<unsigned>(i);
    SCOPED_TRACE("seed " + std::to_string(seed));
    Source source(seed);
    const Made made = MakeFile(source);
    SCOPED_TRACE(made.isPacked ? "packed" : made.bytes);
    const InputFile file(made.bytes);
    const Written written = ReadAndWrite(file, made);
    SCOPED_TRACE(written.text);
    const Table again = ReadAgain(written.text, made.dialect);
    ASSERT_EQ(made.table.size(), again.size());
    for (std::size_t row = 0; row < again.size(); ++row) {
      ASSERT_EQ(made.table[row].size(), again[row].size());
      for (std::size_t column = 0; column < again[row].size(); ++column)
        EXPECT_TRUE(IsSame(made.table[row][column], again[row][column], written.isNumber[column], made.dialect))
            << made.table[row][column] << " became " << again[row][column];
    }
  }
  testing::internal::GetCapturedStderr();
  std::printf("CSV files from seed %u on\n", first);
}

}  // namespace
}  // namespace csvdialects_test
