#include "Columns/splits/SplitToken.h"

#include <array>
#include <charconv>
#include <span>
#include <system_error>

#include "Platform/stream/BlockCodec.h"
#include "datasrc/Splits.h"

namespace {

constexpr std::string_view kForm = "datasrc-split-";
constexpr std::string_view kVersion = "1";
constexpr char kSeparator = ':';
constexpr std::size_t kHexDigits = 8;

std::uint32_t ChecksumOfText(std::string_view text) { return BlockChecksum(std::as_bytes(std::span(text))); }

// ---- To text ----

bool IsPlain(char c) {
  return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9') || c == '/' || c == '.' ||
         c == '_' || c == '-';
}

char HexDigit(std::uint32_t digit) { return "0123456789abcdef"[digit & 0xF]; }

std::string Hex(std::uint32_t number) {
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) text += HexDigit(number >> shift);
  return text;
}

std::string Escaped(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    if (IsPlain(c)) {
      text += c;
    } else {
      const auto byte = static_cast<std::uint8_t>(c);
      text += '%';
      text += HexDigit(byte >> 4);
      text += HexDigit(byte);
    }
  }
  return text;
}

// ---- From text ----

[[noreturn]] void Refuse() { throw SplitError("the token of a split is damaged"); }

// Takes the fields of a token one by one.
class Fields {
 public:
  explicit Fields(std::string_view text) : m_left(text) {}

  std::string_view Next() {
    const std::size_t end = m_left.find(kSeparator);
    if (end == std::string_view::npos) Refuse();
    const std::string_view field = m_left.substr(0, end);
    m_left.remove_prefix(end + 1);
    return field;
  }

  template <class Number>
  Number Next(Number least) {
    const std::string_view field = Next();
    Number number = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
    if (error != std::errc() || number < least || std::to_string(number) != field) Refuse();
    return number;
  }

  bool NextIs(std::string_view yes, std::string_view no) {
    const std::string_view field = Next();
    if (field != yes && field != no) Refuse();
    return field == yes;
  }

  std::string_view Left() const { return m_left; }

 private:
  std::string_view m_left;
};

std::uint32_t FromHex(std::string_view text) {
  std::uint32_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (Hex(number) != text) Refuse();
  return number;
}

std::string Unescaped(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      bytes += text[i];
      continue;
    }
    std::uint8_t byte = 0;
    if (text.size() - i < 3) Refuse();
    std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16);
    bytes += static_cast<char>(byte);
    i += 2;
  }
  if (bytes.empty() || bytes.find('\0') != std::string::npos || Escaped(bytes) != text) Refuse();
  return bytes;
}

}  // namespace

std::string SplitToken::Text() const {
  const std::array fields = {std::string(kForm) + std::string(kVersion),
                             Escaped(path),
                             std::to_string(mark.size),
                             std::to_string(mark.changedAt),
                             Hex(checksum),
                             std::string(isAsStored ? "stored" : "shown"),
                             std::to_string(firstRow),
                             std::to_string(rows),
                             std::to_string(position),
                             std::string(isLast ? "last" : "more"),
                             Escaped(encoding)};
  std::string text;
  for (const std::string& field : fields) text += field + kSeparator;
  return text + Hex(ChecksumOfText(text));
}

SplitToken SplitToken::Parse(std::string_view text) {
  if (text.size() < kHexDigits) Refuse();
  const std::string_view summed = text.substr(0, text.size() - kHexDigits);
  Fields fields(text);
  const std::string_view form = fields.Next();
  if (!form.starts_with(kForm)) Refuse();
  if (FromHex(text.substr(summed.size())) != ChecksumOfText(summed)) Refuse();
  if (form.substr(kForm.size()) != kVersion)
    throw SplitError("the token of the split is of a version that this library does not know");
  SplitToken token;
  token.path = Unescaped(fields.Next());
  token.mark.size = fields.Next<std::int64_t>(0);
  token.mark.changedAt = fields.Next(std::numeric_limits<std::int64_t>::min());
  token.checksum = FromHex(fields.Next());
  token.isAsStored = fields.NextIs("stored", "shown");
  token.firstRow = fields.Next<long long>(0);
  token.rows = fields.Next<long long>(0);
  token.position = fields.Next<long>(0);
  token.isLast = fields.NextIs("last", "more");
  token.encoding = Unescaped(fields.Next());
  long long end = 0;
  if (fields.Left().size() != kHexDigits || __builtin_add_overflow(token.firstRow, token.rows, &end)) Refuse();
  return token;
}
