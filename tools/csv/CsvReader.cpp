#include "tools/csv/CsvReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "Columns/text/ShownText.h"
#include "tools/messages/ToolError.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
// The limit in bytes. No value is that long, and a stray quote must not read the rest of a file into memory.
constexpr std::ptrdiff_t kLongestField = 1 << 20;

// Returns the high bit of each of the eight bytes that equals `c`.
std::uint64_t BytesEqual(std::uint64_t eight, char c) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kLowBits = 0x7F7F7F7F7F7F7F7F;
  const std::uint64_t different = eight ^ (kOnes * static_cast<unsigned char>(c));
  return ~(((different & kLowBits) + kLowBits) | different | kLowBits);
}

// Returns the high bit of each of the eight bytes at `at` that may end a field. The first byte is in the low bits.
std::uint64_t FieldEnds(const char* at) {
  std::array<char, 8> bytes;
  std::copy_n(at, bytes.size(), bytes.begin());
  if constexpr (std::endian::native == std::endian::big) std::ranges::reverse(bytes);
  const auto eight = std::bit_cast<std::uint64_t>(bytes);
  return BytesEqual(eight, ',') | BytesEqual(eight, '\n');
}

// Replaces each doubled quote by one quote, in place.
std::string_view WithSingleQuotes(std::string_view field, char* bytes) {
  char* out = bytes;
  for (std::size_t i = 0; i < field.size(); ++i) {
    *out++ = field[i];
    if (field[i] == '"') ++i;
  }
  return {bytes, out};
}

}  // namespace

bool CsvReader::Next() {
  if (!m_hasBegun) SkipByteOrderMark();
  m_window.Skip(m_recordSize);
  m_recordSize = 0;
  m_line = m_nextLine;
  Found found = Parse();
  while (found == Found::tooLittle) {
    m_isAtEnd = !m_window.Grow();
    found = Parse();
  }
  if (found == Found::nothing) return false;
  EndRecord();
  return true;
}

void CsvReader::SkipByteOrderMark() {
  m_hasBegun = true;
  const auto size = [this] { return static_cast<std::size_t>(m_window.End() - m_window.Begin()); };
  while (size() < kByteOrderMark.size() && m_window.Grow()) {
  }
  if (std::string_view(m_window.Begin(), size()).starts_with(kByteOrderMark)) m_window.Skip(kByteOrderMark.size());
}

CsvReader::Found CsvReader::Parse() {
  m_fields.clear();
  m_doubled.clear();
  m_lineBreaks = 0;
  m_at = m_window.Begin();
  m_end = m_window.End();
  if (m_at == m_end) return m_isAtEnd ? Found::nothing : Found::tooLittle;
  do {
    const bool isQuoted = m_at != m_end && *m_at == '"';
    if (!(isQuoted ? ParseQuotedField() : ParsePlainFields())) return Found::tooLittle;
  } while (!m_endsLine);
  return Found::record;
}

// Parses plain fields up to a quoted one or the end of the line. This and ParseQuotedField return false when the window
// ends too soon.
//
// Most fields are shorter than eight bytes, so eight bytes usually contain several ends. All of them are found at once,
// and no step has to wait for the length of the field before it.
bool CsvReader::ParsePlainFields() {
  m_endsLine = false;
  char* start = m_at;
  char* at = start;
  for (; m_end - at >= 8; at += 8) {
    for (std::uint64_t ends = FieldEnds(at); ends != 0; ends &= ends - 1)
      if (!TakeField(start, at + std::countr_zero(ends) / 8)) return true;
  }
  for (; at != m_end; ++at)
    if ((*at == ',' || *at == '\n') && !TakeField(start, at)) return true;
  return ParseLastField(start);
}

// Sets `start` to the start of the next field. Returns false when that field must not be parsed as a plain one.
inline bool CsvReader::TakeField(char*& start, char* end) {
  m_endsLine = *end == '\n';
  const bool hasReturn = m_endsLine && end != start && end[-1] == '\r';
  m_fields.emplace_back(start, end - int{hasReturn});
  start = end + 1;
  if (!m_endsLine && (start == m_end || *start != '"')) return true;
  m_at = start;
  return false;
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
  m_lineBreaks += std::count(start, quote, '\n');
  m_fields.emplace_back(start, quote);
  m_at = quote + 1;
  // CR LF may follow. Only its second byte distinguishes it from a wrong character.
  if (m_end - m_at < 2 && !m_isAtEnd) return false;
  if (m_end - m_at >= 2 && m_at[0] == '\r' && m_at[1] == '\n') ++m_at;
  m_endsLine = m_at == m_end || *m_at == '\n';
  if (!m_endsLine && *m_at != ',') Fail("text follows a closing quote");
  if (m_at != m_end) ++m_at;
  return true;
}

char* CsvReader::ClosingQuote(char* start) {
  bool hasDoubledQuotes = false;
  for (char* at = start;;) {
    at = static_cast<char*>(std::memchr(at, '"', static_cast<std::size_t>(m_end - at)));
    if (at == nullptr) {
      if (m_isAtEnd) Fail("a quote that begins a field is never closed");
      RefuseEndlessField(start);
      return nullptr;
    }
    if (at + 1 == m_end && !m_isAtEnd) return nullptr;
    if (at + 1 == m_end || at[1] != '"') {
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
  if (!IsValidUtf8({m_window.Begin(), m_recordSize})) Fail("the text is not UTF-8");
  for (const std::size_t index : m_doubled) {
    const std::string_view field = m_fields[index];
    m_fields[index] = WithSingleQuotes(field, m_window.Begin() + (field.data() - m_window.Begin()));
  }
}

void CsvReader::RefuseEndlessField(const char* start) const {
  if (m_end - start > kLongestField) Fail("a field is longer than any value can be: a quote may be missing");
}

void CsvReader::Fail(const std::string& text) const {
  throw ToolError(text + " (at line " + std::to_string(m_line) + ")", m_name);
}

}  // namespace tool
