// Converts documents from and to the run of lines that a data source keeps.

#include "datasrc/DSDocument.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "Platform/Assert.h"
#include "Platform/text/Ascii.h"
#include "core/systemfileformat.h"

namespace {

constexpr std::string_view kDateLine = "   (Entered ";
constexpr std::size_t kCenturyPlace = 7;   // in "05-Mar-2021"
constexpr std::size_t kFullDateSize = 11;  // with the century
constexpr std::size_t kCenturySize = 2;

constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array kUpperMonths{"JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};

constexpr char ToUpper(char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

int TwoDigits(std::string_view text, std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); }

// Returns 1 to 12; 0 when the letters are not a month.
int MonthNumber(std::string month) {
  std::ranges::transform(month, month.begin(), ToUpper);
  const auto* const found = std::ranges::find(kUpperMonths, month);
  return found == kUpperMonths.end() ? 0 : static_cast<int>(found - kUpperMonths.begin()) + 1;
}

// Sets the date from a text such as "05-Mar-21".
void SetDate(const std::string& date, DSDocument& document) {
  QUAV_ASSERT(8 < date.size(), "8 < date.size()");
  QUAV_ASSERT(quavmb::IsDigit(date[0]), "'0' <= date[0] && date[0] <= '9'");
  QUAV_ASSERT(quavmb::IsDigit(date[1]), "'0' <= date[1] && date[1] <= '9'");
  const int mo = MonthNumber(date.substr(3, 3));
  QUAV_ASSERT(0 < mo && mo < 13, "0 < mo && mo < 13");
  QUAV_ASSERT(quavmb::IsDigit(date[7]), "'0' <= date[7] && date[7] <= '9'");
  QUAV_ASSERT(quavmb::IsDigit(date[8]), "'0' <= date[8] && date[8] <= '9'");
  document.Day(TwoDigits(date, 0));
  document.Month(mo);
  document.Year(TwoDigits(date, 7));
}

// Returns the date of a date line, without the two digits of a century.
std::string DateText(const std::string& line) {
  const std::string inside = line.substr(kDateLine.size(), line.rfind(')') - kDateLine.size());
  std::string date;
  for (const char c : inside) {
    if (quavmb::IsDigit(c) || quavmb::IsLetter(c) || c == '-') date += c;
    if (c == ' ') date += '-';
  }
  if (date.size() == kFullDateSize) date.erase(kCenturyPlace, kCenturySize);
  return date;
}

// Reads the lines of the run one after the other.
class Lines {
 public:
  explicit Lines(const QUAV_DataSource& source) : m_extension(source, kDocumentExtension) {
    const long bytes = m_extension.ElementSize() * m_extension.Length();
    QUAV_ASSERT(bytes % kDocumentLineSize == 0, "bytes%80 == 0");
  }

  // Returns false at the end. If the units are not lines, a line is filled with as many whole units as it can hold.
  bool Next(std::string& line) {
    const int unit = m_extension.ElementSize();
    const long units = unit == 0 ? 0 : kDocumentLineSize / unit;
    line.assign(kDocumentLineSize, '\0');
    return units != 0 && m_extension.GetNext(line.data(), kDocumentLineSize) == units;
  }

 private:
  QUAV_DataSource::Extension m_extension;
};

// Appends a line with blanks up to its full size.
void AppendLine(std::string& lines, const std::string& line) {
  const std::size_t start = lines.size();
  lines += line;
  lines.resize(start + kDocumentLineSize, ' ');
}

}  // namespace

void AddDateLine(DSDocument& document) {
  constexpr int kYears = 10000;
  std::array<char, kDocumentLineSize> line;
  std::snprintf(line.data(), line.size(), "%s%02d-%s-%04d)", std::string(kDateLine).c_str(), document.Day() % 100,
                kMonths[static_cast<std::size_t>(document.Month() - 1)], document.Year() % kYears);
  document.AddLine(line.data());
}

std::vector<DSDocument> GetDocuments(const QUAV_DataSource& source) {
  std::vector<DSDocument> documents;
  if (!source.HasExtension(kDocumentExtension)) return documents;
  Lines lines(source);
  DSDocument document;
  for (std::string line; lines.Next(line);) {
    document.AddLine(line);
    if (!line.starts_with(kDateLine)) continue;
    SetDate(DateText(line), document);
    documents.push_back(document);
    document = DSDocument();
    lines.Next(line);  // skips the line between two documents, whatever it holds
  }
  return documents;
}

void SaveDocuments(const std::vector<DSDocument>& documents, QUAV_DataSource& source) {
  const std::string blankLine(kDocumentLineSize, ' ');
  std::string lines;
  for (const DSDocument& document : documents) {
    if (&document != &documents.front()) {
      // Deliberate: the first document must have a line, which ExtendExtension asserts.
      if (lines.empty()) {
        source.SetExtension(kDocumentExtension, 0, 0, nullptr);
        source.ExtendExtension(kDocumentExtension, kDocumentLineSize, blankLine.data());
      }
      lines += blankLine;
    }
    for (int i = 0; i < document.Size(); ++i) AppendLine(lines, document[i]);
  }
  source.SetExtension(kDocumentExtension, 1, static_cast<long>(lines.size()), lines.data());
}

void DeDup(std::vector<DSDocument>& documents) {
  std::sort(documents.begin(), documents.end());
  documents.erase(std::unique(documents.begin(), documents.end()), documents.end());
}
