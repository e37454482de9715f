#include "tools/forms/CsvOptions.h"

#include <array>
#include <charconv>
#include <string_view>

#include "tools/csv/CsvReader.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr int kLookedRecords = 1000;

struct Candidate {
  char delimiter;
  const char* name;
};

constexpr std::array<Candidate, 4> kCandidates{{{',', "comma"}, {';', "semicolon"}, {'\t', "tab"}, {'|', "bar"}}};

// Returns the one character of an option.
char Sign(const std::string& option, const std::string& text) {
  if (text == "\\t") return '\t';
  const bool isOne = text.size() == 1 && 0 < text.front() && text != "\r" && text != "\n";
  if (!isOne) throw WrongUsage(option, "'" + text + "' is not one ASCII character");
  return text.front();
}

long long LineCount(const std::string& text) {
  long long count = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, count);
  if (result.ec != std::errc() || result.ptr != end || count < 0)
    throw WrongUsage("--skip", "'" + text + "' is not a number of lines");
  return count;
}

// How many fields the first records have with a delimiter.
struct FieldCounts {
  bool areEqual = true;
  std::size_t fields = 0;  // of the first record
  std::size_t most = 0;
};

FieldCounts CountFields(InputBytes& input, const CsvDialect& dialect) {
  FieldCounts counts;
  CsvReader reader(input, dialect);
  for (int record = 0; record < kLookedRecords && reader.Next(); ++record) {
    const std::size_t fields = reader.Fields().size();
    if (record == 0) counts.fields = fields;
    if (fields != counts.fields) counts.areEqual = false;
    if (fields > counts.most) counts.most = fields;
  }
  return counts;
}

}  // namespace

bool CsvOptions::AreGiven() const { return delimiter || quote || decimal || !missing.empty() || skip || noHeader; }

void AddCsvOptions(Command& command, CsvOptions& options, CsvUse use) {
  const bool reads = use == CsvUse::reading;
  command.Option("--delimiter", "C", options.delimiter,
                 reads ? "CSV: the character between fields, \\t for a tab; auto finds it in the file"
                       : "CSV: the character between fields, \\t for a tab");
  command.Option("--quote", "C", options.quote, "CSV: the character around fields; '' for none");
  command.Option("--decimal", "C", options.decimal, "CSV: the sign before decimals, . or ,");
  command.Options(
      "--na", "TEXT", options.missing,
      reads ? "CSV: a field that equals TEXT is a missing value; may be repeated" : "CSV: the text of a missing value");
  command.Flag("--no-header", options.noHeader, "CSV: the first line has no names");
  if (!reads) return;
  command.Option("--skip", "N", options.skip, "CSV: ignores the first N lines");
  command.Option("--input-encoding", "NAME", options.encoding, "The encoding of input text; by default UTF-8");
}

CsvDialect DialectOf(const CsvOptions& options, CaseForm form) {
  CsvDialect dialect{.delimiter = form == CaseForm::tsv ? '\t' : ','};
  if (options.delimiter && !FindsDelimiter(options)) dialect.delimiter = Sign("--delimiter", *options.delimiter);
  if (options.quote)
    dialect.quote = options.quote->empty() ? std::nullopt : std::optional(Sign("--quote", *options.quote));
  if (options.decimal) dialect.decimal = Sign("--decimal", *options.decimal);
  if (dialect.decimal != '.' && dialect.decimal != ',') throw WrongUsage("--decimal", "the sign must be . or ,");
  if (dialect.quote == dialect.delimiter) throw WrongUsage("--quote", "the character is the delimiter, too");
  if (dialect.quote == dialect.decimal) throw WrongUsage("--quote", "the character is the decimal sign, too");
  if (options.skip) dialect.skippedLines = LineCount(*options.skip);
  dialect.missing = options.missing;
  dialect.hasHeader = !options.noHeader;
  return dialect;
}

void RefuseReadingOptions(const CsvOptions& options) {
  if (FindsDelimiter(options)) throw WrongUsage("--delimiter", "auto is for input");
  if (options.skip) throw WrongUsage("--skip", "the option is for input");
  if (options.missing.size() > 1) throw WrongUsage("--na", "a missing value is written in one way");
}

char FindDelimiter(InputBytes& input, const CsvDialect& dialect) {
  std::vector<Candidate> fitting;
  bool anySplits = false;
  for (const Candidate& candidate : kCandidates) {
    CsvDialect tried = dialect;
    tried.delimiter = candidate.delimiter;
    try {
      const FieldCounts counts = CountFields(input, tried);
      if (counts.most > 1) anySplits = true;
      if (counts.areEqual && counts.fields > 1) fitting.push_back(candidate);
    } catch (const ToolError&) {
      anySplits = true;  // what is no CSV with one delimiter may be CSV with another
    }
    input.Rewind();
  }
  if (fitting.size() == 1) return fitting.front().delimiter;
  if (!anySplits) return kCandidates.front().delimiter;  // one column
  if (fitting.empty())
    throw ToolError(
        "none of comma, semicolon, tab and bar gives all of the first records the same number of fields: "
        "use --delimiter",
        input.Name());
  throw ToolError(std::string("both ") + fitting[0].name + " and " + fitting[1].name +
                      " give all of the first records the same number of fields: use --delimiter",
                  input.Name());
}

}  // namespace tool
