#include "Platform/text/SingleByteEncoding.h"

#include <unicode/uchar.h>
#include <unicode/uset.h>

#include <algorithm>
#include <new>

#include "Platform/text/Utf8Encoding.h"

namespace quavmb {
namespace {

// Code pages of one byte have no character above 16 bits.
constexpr int kLastCodePoint = 0xFFFF;

constexpr char16_t kReplacement = 0xFFFD;

std::size_t Index(char byte) { return static_cast<unsigned char>(byte); }

void Check(UErrorCode status) {
  if (U_FAILURE(status)) throw std::bad_alloc();
}

}  // namespace

SingleByteEncoding::SingleByteEncoding(UConverter* converter, bool hasAscii)
    : Encoding(hasAscii, LowBytes::alwaysAlone) {
  ReadCharacters(converter);
  ReadBytes(converter);
  MakeCaseForms();
}

void SingleByteEncoding::ReadCharacters(UConverter* converter) {
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    const char text = static_cast<char>(byte);
    char16_t character = 0;
    UErrorCode status = U_ZERO_ERROR;
    const int length = ucnv_toUChars(converter, &character, 1, &text, 1, &status);
    const bool isCharacter = U_SUCCESS(status) && length == 1;
    m_codePoints[byte] = isCharacter ? character : -1;
    std::string utf8;
    AppendUtf8(utf8, {isCharacter ? &character : &kReplacement, 1});
    m_utf8[byte].length = static_cast<std::uint8_t>(utf8.size());
    std::ranges::copy(utf8, m_utf8[byte].bytes.begin());
  }
}

// The set of the converter's characters has more than the converter can convert; converting each of them decides.
void SingleByteEncoding::ReadBytes(UConverter* converter) {
  m_blockOf.fill(0);
  m_blocks.emplace_back().fill(kNoByte);

  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  const icu::LocalUSetPointer characters(uset_openEmpty());
  ucnv_getUnicodeSet(converter, characters.getAlias(), UCNV_ROUNDTRIP_AND_FALLBACK_SET, &status);
  Check(status);
  for (int i = 0; i < uset_getRangeCount(characters.getAlias()); ++i) {
    UChar32 first = 0;
    UChar32 last = 0;
    uset_getItem(characters.getAlias(), i, &first, &last, nullptr, 0, &status);
    for (int codePoint = first; codePoint <= std::min(last, kLastCodePoint); ++codePoint) {
      const char16_t character = static_cast<char16_t>(codePoint);
      char byte = 0;
      UErrorCode lacking = U_ZERO_ERROR;
      const int length = ucnv_fromUChars(converter, &byte, 1, &character, 1, &lacking);
      if (U_SUCCESS(lacking) && length == 1) AddByte(codePoint, static_cast<int>(Index(byte)));
    }
  }

  std::int8_t substituteLength = 1;
  ucnv_getSubstChars(converter, &m_substitute, &substituteLength, &status);
  Check(status);
}

void SingleByteEncoding::AddByte(int codePoint, int byte) {
  std::uint8_t& block = m_blockOf[static_cast<std::size_t>(codePoint) / kBytes];
  if (block == 0) {
    block = static_cast<std::uint8_t>(m_blocks.size());
    m_blocks.emplace_back().fill(kNoByte);
  }
  m_blocks[block][static_cast<std::size_t>(codePoint) % kBytes] = static_cast<std::int16_t>(byte);
}

int SingleByteEncoding::ByteOf(int codePoint) const {
  if (codePoint < 0 || kLastCodePoint < codePoint) return kNoByte;
  const std::size_t index = static_cast<std::size_t>(codePoint);
  return m_blocks[m_blockOf[index / kBytes]][index % kBytes];
}

void SingleByteEncoding::MakeCaseForms() {
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    m_upper[byte] = ByteInCase(byte, u_toupper(m_codePoints[byte]));
    m_lower[byte] = ByteInCase(byte, u_tolower(m_codePoints[byte]));
  }
}

char SingleByteEncoding::ByteInCase(std::size_t byte, int codePoint) const {
  const int inCase = codePoint == m_codePoints[byte] ? kNoByte : ByteOf(codePoint);
  return static_cast<char>(inCase == kNoByte ? byte : static_cast<std::size_t>(inCase));
}

Character SingleByteEncoding::First(std::string_view text) const {
  return {m_codePoints[Index(text.front())] < 0 ? Character::none : Character::whole, 1};
}

std::size_t SingleByteEncoding::FindWholeCharacters(std::string_view text, std::size_t size) const {
  return std::min(text.size(), size);
}

std::string SingleByteEncoding::FindInCase(std::string_view text, LetterCase to) const {
  const auto& forms = to == LetterCase::upper ? m_upper : m_lower;
  std::string form(text.size(), '\0');
  std::ranges::transform(text, form.begin(), [&forms](char byte) { return forms[Index(byte)]; });
  return form;
}

std::size_t SingleByteEncoding::CopyPlainWords(char* output, std::string_view text) const {
  const std::size_t length = HasAscii() ? PrintableWords(text) : 0;
  text.copy(output, length);
  return length;
}

bool SingleByteEncoding::ToUtf8(std::string& output, std::string_view text) const {
  output.resize(text.size() * kLongestUtf8);
  char* end = output.data();
  bool exact = true;
  while (!text.empty()) {
    if (const std::size_t plain = CopyPlainWords(end, text)) {
      end += plain;
      text.remove_prefix(plain);
      continue;
    }
    const std::size_t byte = Index(text.front());
    end = std::copy_n(m_utf8[byte].bytes.begin(), m_utf8[byte].length, end);
    exact = exact && m_codePoints[byte] >= 0;
    text.remove_prefix(1);
  }
  output.resize(static_cast<std::size_t>(end - output.data()));
  return exact;
}

bool SingleByteEncoding::FromUtf8(std::string& output, std::string_view text) const {
  output.resize(text.size());
  char* end = output.data();
  bool exact = true;
  std::size_t position = 0;
  while (position < text.size()) {
    if (const std::size_t plain = CopyPlainWords(end, text.substr(position))) {
      end += plain;
      position += plain;
      continue;
    }
    const int codePoint = NextCodePoint(text, position);
    const int byte = ByteOf(codePoint);
    *end++ = byte == kNoByte ? m_substitute : static_cast<char>(byte);
    // ICU takes the bytes of other characters for some private ones.
    exact = exact && byte != kNoByte && m_codePoints[static_cast<std::size_t>(byte)] == codePoint;
  }
  output.resize(static_cast<std::size_t>(end - output.data()));
  return exact;
}

}  // namespace quavmb
