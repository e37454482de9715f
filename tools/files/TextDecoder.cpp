#include "tools/files/TextDecoder.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr std::size_t kPiece = 128UL * 1024;
constexpr char32_t kMark = 0xFEFF;
constexpr char32_t kLastCharacter = 0x10FFFF;
constexpr char32_t kLowestSurrogate = 0xD800;
constexpr char32_t kLowSurrogates = 0xDC00;
constexpr char32_t kAfterSurrogates = 0xE000;
constexpr char32_t kFirstWithSurrogates = 0x10000;
constexpr bool kIsBigEndian = std::endian::native == std::endian::big;

void AppendUtf8(std::string& out, char32_t c) {
  const auto add = [&out](char32_t byte) { out += static_cast<char>(byte); };
  const auto addRest = [&add, c](int shift) { add(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) return add(c);
  if (c < 0x800) {
    add(0xC0 | c >> 6);
  } else if (c < kFirstWithSurrogates) {
    add(0xE0 | c >> 12);
    addRest(6);
  } else {
    add(0xF0 | c >> 18);
    addRest(12);
    addRest(6);
  }
  addRest(0);
}

// Keeps the text that is converted but not yet read, and the bytes that wait for the rest of their character.
class TextDecoder : public InputFilter {
 public:
  TextDecoder(std::string encoding, ReadFunction source, std::string name)
      : m_encoding(std::move(encoding)), m_source(std::move(source)), m_name(std::move(name)) {}

  std::size_t Read(char* bytes, std::size_t size) final {
    while (m_given == m_text.size()) {
      if (m_isAtEnd) return 0;
      m_text.clear();
      m_given = 0;
      Convert();
    }
    const std::size_t count = m_text.copy(bytes, size, m_given);
    m_given += count;
    return count;
  }
  void Restart() override {
    m_text.clear();
    m_given = 0;
    m_bytes.clear();
    m_isAtEnd = false;
    m_line = 1;
  }

 protected:
  // Converts the first bytes, as many as are whole characters, to UTF-8 in `text`. Returns their number. Returns
  // kNotText when they contain something else; `text` then ends before it.
  virtual std::size_t Convert(std::string_view bytes, std::string& text, bool isAtEnd) = 0;

  static constexpr std::size_t kNotText = static_cast<std::size_t>(-1);

  const std::string& Encoding() const { return m_encoding; }

 private:
  void Convert() {
    const std::size_t kept = m_bytes.size();
    m_bytes.resize(kept + kPiece);
    m_bytes.resize(kept + m_source(m_bytes.data() + kept, kPiece));
    m_isAtEnd = m_bytes.size() == kept;
    if (m_bytes.empty()) return;
    const std::size_t converted = Convert(m_bytes, m_text, m_isAtEnd);
    if (converted == kNotText || (m_isAtEnd && converted != m_bytes.size()))
      throw ToolError("the text is not " + m_encoding + " (at line " + std::to_string(m_line + Lines()) + ")", m_name);
    m_line += Lines();
    m_bytes.erase(0, converted);
  }
  long long Lines() const { return std::count(m_text.begin(), m_text.end(), '\n'); }

  std::string m_encoding;
  ReadFunction m_source;
  std::string m_name;
  std::string m_bytes;
  std::string m_text;
  std::size_t m_given = 0;  // bytes of m_text that were read
  bool m_isAtEnd = false;
  long long m_line = 1;
};

class UnicodeDecoder final : public TextDecoder {
 public:
  // `unitSize` is 2 or 4 bytes. Without an order, the mark says it.
  UnicodeDecoder(const std::string& encoding, ReadFunction source, const std::string& name, std::size_t unitSize,
                 std::optional<bool> isBigEndian)
      : TextDecoder(encoding, std::move(source), name), m_unitSize(unitSize), m_givenOrder(isBigEndian) {}

  void Restart() override {
    TextDecoder::Restart();
    m_isAtStart = true;
  }

 private:
  std::size_t Convert(std::string_view bytes, std::string& text, bool isAtEnd) override {
    std::size_t at = m_isAtStart ? Begin(bytes) : 0;
    if (bytes.size() < m_unitSize && isAtEnd) return kNotText;
    while (bytes.size() - at >= m_unitSize) {
      char32_t c = Unit(bytes, at);
      std::size_t size = m_unitSize;
      if (m_unitSize == 2 && kLowestSurrogate <= c && c < kLowSurrogates) {
        if (bytes.size() - at < 2 * m_unitSize) return isAtEnd ? kNotText : at;
        const char32_t low = Unit(bytes, at + m_unitSize);
        if (low < kLowSurrogates || low >= kAfterSurrogates) return kNotText;
        c = kFirstWithSurrogates + ((c - kLowestSurrogate) << 10) + (low - kLowSurrogates);
        size += m_unitSize;
      } else if (c > kLastCharacter || (kLowestSurrogate <= c && c < kAfterSurrogates)) {
        return kNotText;
      }
      AppendUtf8(text, c);
      at += size;
    }
    return at;
  }

  // Chooses the byte order. Returns the size of the mark.
  std::size_t Begin(std::string_view bytes) {
    if (bytes.size() < m_unitSize) return 0;
    m_isAtStart = false;
    m_isBigEndian = m_givenOrder.value_or(kIsBigEndian);
    if (Unit(bytes, 0) == kMark) return m_unitSize;
    if (m_givenOrder) return 0;
    m_isBigEndian = !m_isBigEndian;
    if (Unit(bytes, 0) == kMark) return m_unitSize;
    m_isBigEndian = !m_isBigEndian;
    return 0;
  }

  char32_t Unit(std::string_view bytes, std::size_t at) const {
    char32_t unit = 0;
    for (std::size_t i = 0; i < m_unitSize; ++i) {
      const std::size_t place = m_isBigEndian ? i : m_unitSize - 1 - i;
      unit = unit << 8 | static_cast<unsigned char>(bytes[at + place]);
    }
    return unit;
  }

  std::size_t m_unitSize;
  std::optional<bool> m_givenOrder;
  bool m_isBigEndian = false;
  bool m_isAtStart = true;
};

class CodePageDecoder final : public TextDecoder {
 public:
  CodePageDecoder(const std::string& encoding, ReadFunction source, const std::string& name,
                  QUAVMBConverterPtr converter)
      : TextDecoder(encoding, std::move(source), name),
        m_converter(std::move(converter)),
        m_keepsAscii(QUAVMBConverterKeepsAscii(m_converter.get())) {}

 private:
  std::size_t Convert(std::string_view bytes, std::string& text, bool isAtEnd) override {
    const std::size_t size = isAtEnd ? bytes.size() : WholeCharacters(bytes);
    if (QUAVMBCodePageToU8(m_converter.get(), text, std::string(bytes.substr(0, size))) == 0) return size;
    // Ends the text in the line of the first fault, for the message.
    std::size_t good = 0;
    std::string line;
    while (good < size) {
      const std::size_t end = std::min(bytes.find('\n', good), size - 1) + 1;
      if (QUAVMBCodePageToU8(m_converter.get(), line, std::string(bytes.substr(good, end - good))) != 0) break;
      good = end;
    }
    QUAVMBCodePageToU8(m_converter.get(), text, std::string(bytes.substr(0, good)));
    return kNotText;
  }

  // In code pages with ASCII, no character of several bytes contains a byte below "0". Others have one byte a character.
  std::size_t WholeCharacters(std::string_view bytes) const {
    if (!m_keepsAscii) return bytes.size();
    const auto stands = [](char c) { return static_cast<unsigned char>(c) < '0'; };
    const auto last = std::find_if(bytes.rbegin(), bytes.rend(), stands);
    return last == bytes.rend() ? bytes.size() : static_cast<std::size_t>(bytes.rend() - last);
  }

  QUAVMBConverterPtr m_converter;
  bool m_keepsAscii;
};

struct UnicodeName {
  const char* name;
  std::size_t unitSize;
  std::optional<bool> isBigEndian;
};

const UnicodeName kUnicodeNames[] = {{"UTF-16", 2, {}}, {"UTF-16LE", 2, false}, {"UTF-16BE", 2, true},
                                     {"UTF-32", 4, {}}, {"UTF-32LE", 4, false}, {"UTF-32BE", 4, true}};

// Returns the letters and digits in upper case: other characters of a name do not matter.
std::string PlainName(std::string_view name) {
  std::string plain;
  for (const char c : name) {
    if ('a' <= c && c <= 'z') plain += static_cast<char>(c - 'a' + 'A');
    if (('A' <= c && c <= 'Z') || ('0' <= c && c <= '9')) plain += c;
  }
  return plain;
}

// Counts some characters in UTF-16: their other byte is zero. The low byte is the first one of two, or the second.
long Count(std::string_view bytes, std::string_view characters, std::size_t low) {
  long count = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    count += int{bytes[i + 1 - low] == '\0' && characters.find(bytes[i + low]) != characters.npos};
  return count;
}

// Returns whether there are separators of values in UTF-16, and line ends are in UTF-16, too, if there are any.
bool LooksLikeUtf16(std::string_view bytes, std::size_t low) {
  static constexpr std::string_view kLineEnds = "\r\n";
  constexpr std::string_view kSeparators = ",;\t\r\n";
  const auto isLineEnd = [](char c) { return kLineEnds.find(c) != kLineEnds.npos; };
  return Count(bytes, kSeparators, low) > 0 &&
         2 * Count(bytes, kLineEnds, low) >= std::count_if(bytes.begin(), bytes.end(), isLineEnd);
}

}  // namespace

std::string RecognisedEncoding(std::string_view firstBytes) {
  using namespace std::string_view_literals;
  if (firstBytes.starts_with("\xFF\xFE\0\0"sv)) return "UTF-32LE";
  if (firstBytes.starts_with("\0\0\xFE\xFF"sv)) return "UTF-32BE";
  if (firstBytes.starts_with("\xFF\xFE"sv)) return "UTF-16LE";
  if (firstBytes.starts_with("\xFE\xFF"sv)) return "UTF-16BE";
  if (firstBytes.size() < 4) return "";
  const auto isZero = [&firstBytes](std::size_t i) { return firstBytes[i] == '\0'; };
  if (!isZero(0) && isZero(1) && !isZero(2) && isZero(3)) return "UTF-16LE";
  if (isZero(0) && !isZero(1) && isZero(2) && !isZero(3)) return "UTF-16BE";
  const bool isLittle = LooksLikeUtf16(firstBytes, 0);
  if (isLittle == LooksLikeUtf16(firstBytes, 1)) return "";
  return isLittle ? "UTF-16LE" : "UTF-16BE";
}

std::unique_ptr<InputFilter> MakeTextDecoder(const std::string& encoding, ReadFunction source, const std::string& name,
                                             bool& isKnown) {
  isKnown = true;
  for (const UnicodeName& one : kUnicodeNames)
    if (PlainName(encoding) == PlainName(one.name))
      return std::make_unique<UnicodeDecoder>(encoding, std::move(source), name, one.unitSize, one.isBigEndian);
  QUAVMBConverterPtr converter(QUAVMBConverterNew_A(encoding.c_str()));
  isKnown = converter != nullptr;
  if (!isKnown || QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name)) return nullptr;
  return std::make_unique<CodePageDecoder>(encoding, std::move(source), name, std::move(converter));
}

}  // namespace tool
