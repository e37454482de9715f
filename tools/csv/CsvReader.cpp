#include "tools/csv/CsvReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "Columns/text/ShownText.h"
#include "tools/messages/LineError.h"

namespace tool {

using namespace dstext;

namespace {

// The limit in bytes. No value is that long, and a stray quote must not read the rest of a file into memory.
constexpr std::ptrdiff_t kLongestField = 1 << 20;

constexpr int kNoQuote = 256;
const std::vector<std::string_view> kBlankRecord{""};

// Returns a mask of the next bytes, one bit for each, that may end a field. The first byte is the lowest bit.
#ifdef __SSE2__

constexpr std::ptrdiff_t kStep = 16;

unsigned int FieldEnds(const char* at, char delimiter) {
  std::array<char, kStep> raw;
  std::copy_n(at, kStep, raw.begin());
  const auto bytes = std::bit_cast<__m128i>(raw);
  const auto equal = [&bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
  const __m128i ends = _mm_or_si128(equal(delimiter), _mm_or_si128(equal('\n'), equal('\r')));
  return static_cast<unsigned int>(_mm_movemask_epi8(ends));
}

#else

constexpr std::ptrdiff_t kStep = 8;

unsigned int FieldEnds(const char* at, char delimiter) {
  unsigned int ends = 0;
  for (int i = 0; i < kStep; ++i) ends |= unsigned{at[i] == delimiter || at[i] == '\n' || at[i] == '\r'} << i;
  return ends;
}

#endif

// Replaces each doubled quote by one quote, in place.
std::string_view WithSingleQuotes(std::string_view field, char* bytes, int quote) {
  char* out = bytes;
  for (std::size_t i = 0; i < field.size(); ++i) {
    *out++ = field[i];
    if (field[i] == quote) ++i;
  }
  return {bytes, out};
}

// Counts the line ends in the text: LF, CR LF and CR.
long long CountLineBreaks(std::string_view text) {
  long long count = std::count(text.begin(), text.end(), '\n');
  for (std::size_t at = text.find('\r'); at != text.npos; at = text.find('\r', at + 1))
    count += int{at + 1 == text.size() || text[at + 1] != '\n'};
  return count;
}

}  // namespace

CsvReader::CsvReader(InputBytes& input, const CsvDialect& dialect)
    : m_window(input),
      m_name(input.Name()),
      m_delimiter(dialect.delimiter),
      m_quote(dialect.quote ? *dialect.quote : kNoQuote),
      m_skippedLines(dialect.skippedLines) {}

CsvReader::CsvReader(const std::string& name, const CsvDialect& dialect)
    : m_name(name),
      m_delimiter(dialect.delimiter),
      m_quote(dialect.quote ? *dialect.quote : kNoQuote),
      m_skippedLines(0),
      m_missing(dialect.missing),
      m_hasBegun(true) {}

void CsvReader::BeginPart(std::string_view bytes, PartEnd end) {
  m_window.Hold(bytes);
  m_isPart = end == PartEnd::record;
  m_isAtEnd = false;
  m_isHeld = false;
  m_recordSize = 0;
  m_blankLines = 0;
  m_nextLine = 1;
  m_record = &m_fields;
}

bool CsvReader::Next() {
  if (m_isHeld) [[unlikely]]
    return NextHeld();
  while (ReadRecord()) {
    if (!m_isBlank) [[likely]] {
      if (m_blankLines == 0) [[likely]]
        return true;
      m_isHeld = true;
      m_heldLine = m_line;
      return NextHeld();
    }
    if (m_blankLines++ == 0) m_firstBlankLine = m_line;
  }
  return false;
}

// Returns the blank lines before a record one by one, then the record. Only their number is kept.
bool CsvReader::NextHeld() {
  m_isHeld = m_blankLines != 0;
  m_record = m_isHeld ? &kBlankRecord : &m_fields;
  m_line = m_isHeld ? m_firstBlankLine++ : m_heldLine;
  if (m_isHeld) --m_blankLines;
  return true;
}

bool CsvReader::ReadRecord() {
  if (!m_hasBegun) Begin();
  m_window.Skip(m_recordSize);
  m_recordSize = 0;
  m_line = m_nextLine;
  Found found = Parse();
  while (found == Found::tooLittle) {
    if (!m_window.Grow()) {
      if (m_isPart) return false;
      m_isAtEnd = true;
    }
    found = Parse();
  }
  if (found == Found::nothing) return false;
  EndRecord();
  return true;
}

void CsvReader::Begin() {
  m_hasBegun = true;
  SkipByteOrderMark();
  for (; m_skippedLines > 0; --m_skippedLines) SkipLine();
}

void CsvReader::SkipLine() {
  for (;;) {
    char* const end = std::find_if(m_window.Begin(), m_window.End(), [](char c) { return c == '\n' || c == '\r'; });
    const auto left = m_window.End() - end;
    if (left > 1 || (left == 1 && *end == '\n')) {
      const bool isPair = left > 1 && end[0] == '\r' && end[1] == '\n';
      m_window.Skip(static_cast<std::size_t>(end - m_window.Begin()) + (isPair ? 2 : 1));
      ++m_nextLine;
      return;
    }
    m_window.Skip(static_cast<std::size_t>(end - m_window.Begin()));
    if (m_window.Grow()) continue;
    m_window.Skip(static_cast<std::size_t>(left));
    m_skippedLines = 1;
    return;
  }
}

void CsvReader::SkipByteOrderMark() {
  const auto size = [this] { return static_cast<std::size_t>(m_window.End() - m_window.Begin()); };
  while (size() < kByteOrderMark.size() && m_window.Grow()) {
  }
  if (std::string_view(m_window.Begin(), size()).starts_with(kByteOrderMark)) m_window.Skip(kByteOrderMark.size());
}

CsvReader::Found CsvReader::Parse() {
  m_fields.clear();
  m_doubled.clear();
  m_lineBreaks = 0;
  m_isCut = false;
  m_at = m_window.Begin();
  m_end = m_window.End();
  if (m_at == m_end) return m_isAtEnd ? Found::nothing : Found::tooLittle;
  do {
    const bool isQuoted = m_at != m_end && *m_at == m_quote;
    if (!(isQuoted ? ParseQuotedField() : ParsePlainFields())) return Found::tooLittle;
  } while (!m_endsLine);
  return Found::record;
}

// Parses plain fields up to a quoted one or the end of the line. This and ParseQuotedField return false when the window
// ends too soon.
//
// Most fields are short, so a step usually contains several ends. All of them are found at once, and no step has to wait
// for the length of the field before it.
bool CsvReader::ParsePlainFields() {
  m_endsLine = false;
  char* start = m_at;
  char* at = start;
  const char delimiter = m_delimiter;
  for (; m_end - at >= kStep; at += kStep) {
    for (unsigned int ends = FieldEnds(at, delimiter); ends != 0; ends &= ends - 1)
      if (!TakeField(start, at + std::countr_zero(ends))) return !m_isCut;
  }
  for (; at != m_end; ++at)
    if ((*at == delimiter || *at == '\n' || *at == '\r') && !TakeField(start, at)) return !m_isCut;
  return ParseLastField(start);
}

// Sets `start` to the start of the next field. Returns false when that field must not be parsed as a plain one.
inline bool CsvReader::TakeField(char*& start, char* end) {
  m_endsLine = *end == '\n' || *end == '\r';
  m_fields.emplace_back(start, end);
  if (m_endsLine) {
    m_isCut = !SkipLineEnd(end);
    return false;
  }
  start = end + 1;
  if (start == m_end || *start != m_quote) return true;
  m_at = start;
  return false;
}

// Goes to the next line. Returns false when only the bytes after the window show whether CR is all of the line end.
inline bool CsvReader::SkipLineEnd(char* end) {
  m_at = end + 1;
  if (*end == '\n') return true;
  if (m_at == m_end) return m_isAtEnd || m_isPart;
  if (*m_at == '\n') ++m_at;
  return true;
}

// Parses the field that reaches to the end of the window.
bool CsvReader::ParseLastField(const char* start) {
  RefuseEndlessField(start);
  if (!m_isAtEnd) return false;
  m_fields.emplace_back(start, m_end);
  m_endsLine = true;
  m_at = m_end;
  return true;
}

bool CsvReader::ParseQuotedField() {
  char* const start = m_at + 1;
  char* const quote = ClosingQuote(start);
  if (quote == nullptr) return false;
  m_lineBreaks += CountLineBreaks({start, quote});
  m_fields.emplace_back(start, quote);
  m_at = quote + 1;
  m_endsLine = m_at == m_end || *m_at == '\n' || *m_at == '\r';
  if (m_at == m_end) return m_isAtEnd;
  if (m_endsLine) return SkipLineEnd(m_at);
  if (*m_at != m_delimiter) {
    RefuseLongFields();
    Fail("text follows a closing quote");
  }
  ++m_at;
  return true;
}

char* CsvReader::ClosingQuote(char* start) {
  bool hasDoubledQuotes = false;
  for (char* at = start;;) {
    at = static_cast<char*>(std::memchr(at, m_quote, static_cast<std::size_t>(m_end - at)));
    if (at == nullptr) {
      RefuseEndlessField(start);
      if (!m_isAtEnd) return nullptr;
      RefuseLongFields();
      Fail("a quote that begins a field is never closed");
    }
    if (at + 1 == m_end && !m_isAtEnd) return nullptr;
    if (at + 1 == m_end || at[1] != m_quote) {
      if (hasDoubledQuotes) m_doubled.push_back(m_fields.size());
      return at;
    }
    hasDoubledQuotes = true;
    at += 2;
  }
}

void CsvReader::EndRecord() {
  m_recordSize = static_cast<std::size_t>(m_at - m_window.Begin());
  m_nextLine = m_line + m_lineBreaks + 1;
  if (m_recordSize > static_cast<std::size_t>(kLongestField)) [[unlikely]]
    RefuseLongFields();
  if (!IsValidUtf8({m_window.Begin(), m_recordSize})) Fail("the text is not UTF-8");
  for (const std::size_t index : m_doubled) {
    const std::string_view field = m_fields[index];
    m_fields[index] = WithSingleQuotes(field, m_window.Begin() + (field.data() - m_window.Begin()), m_quote);
  }
  // A quoted field is not blank: it begins after its quote.
  m_isBlank = m_fields.size() == 1 && m_fields.front().data() == m_window.Begin() &&
              m_fields.front().find_first_not_of(' ') == std::string_view::npos;
  if (m_missing.empty()) [[likely]]
    return;
  for (std::string_view& field : m_fields)
    if (std::ranges::find(m_missing, field) != m_missing.end()) field = field.substr(0, 0);
}

// Together with RefuseEndlessField, which sees fields before their end, refuses each field that is longer than the limit,
// however much of the input the window shows.
void CsvReader::RefuseLongFields() const {
  for (const std::string_view field : m_fields) RefuseLength(std::ssize(field));
}

// Looks at the field that reaches to the end of the window.
void CsvReader::RefuseEndlessField(const char* start) const { RefuseLength(m_end - start); }

void CsvReader::RefuseLength(std::ptrdiff_t size) const {
  if (size > kLongestField) Fail("a field is longer than any value can be: a quote may be missing");
}

void CsvReader::Fail(const std::string& text) const { throw LineError(text, m_line, m_name); }

}  // namespace tool
