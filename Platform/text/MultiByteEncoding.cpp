#include "Platform/text/MultiByteEncoding.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <utility>

#include "Platform/text/Utf8Encoding.h"

namespace quavmb {
namespace {

// More bytes than any character has: reading more would change nothing.
constexpr std::size_t kLook = 8;

// More than a substitute has, in bytes and in UTF-16.
constexpr std::size_t kMostSubstituteBytes = 32;

// Marks, in UTF-16, bytes that are no UTF-8. It is an unpaired surrogate, which no code page has.
constexpr char16_t kUnreadable = 0xD800;

// Whether the unit is of a private character, in 16 bits or beyond.
bool IsPrivate(char16_t unit) { return (0xE000 <= unit && unit <= 0xF8FF) || (0xDB80 <= unit && unit <= 0xDBFF); }

void AppendUnits(std::u16string& units, int codePoint) {
  if (codePoint < 0) {
    units += kUnreadable;
  } else if (codePoint <= 0xFFFF) {
    units += static_cast<char16_t>(codePoint);
  } else {
    units += {U16_LEAD(codePoint), U16_TRAIL(codePoint)};
  }
}

}  // namespace

// An ICU converter with its working memory, which is kept from one use to the next.
class MultiByteEncoding::Converter {
 public:
  explicit Converter(const char* name);

  // Returns the first character of the text, and stores its code point in `codePoint` when it is whole.
  Character First(std::string_view text, int& codePoint);
  // Convert a whole text and return whether that was exact.
  bool ToUtf8(std::string& output, std::string_view text);
  bool FromUtf8(std::string& output, std::string_view text);
  bool FromCodePoint(std::string& output, int codePoint);

 private:
  std::size_t ToUnits(std::string_view text);
  bool FromUnits(std::string& output);
  bool ComesBack(std::string_view text);
  void ReplaceUnreadableSubstitute(UErrorCode& status);

  // ICU calls these for bytes that are no character, and for characters that the code page lacks. They record the
  // fault and write the replacement or the substitute. ICU's own callbacks would silently drop invisible characters.
  static void OnUnreadable(const void* self, UConverterToUnicodeArgs* args, const char* bytes, int32_t length,
                           UConverterCallbackReason reason, UErrorCode* status);
  static void OnLacking(const void* self, UConverterFromUnicodeArgs* args, const UChar* units, int32_t length,
                        UChar32 codePoint, UConverterCallbackReason reason, UErrorCode* status);
  void Note(UErrorCode* status);

  icu::LocalUConverterPointer m_icu;
  UErrorCode m_fault = U_ZERO_ERROR;  // the last fault of a call
  std::u16string m_units;
};

MultiByteEncoding::Converter::Converter(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  m_icu.adoptInstead(ucnv_open(name, &status));
  ReplaceUnreadableSubstitute(status);
  ucnv_setToUCallBack(m_icu.getAlias(), OnUnreadable, this, nullptr, nullptr, &status);
  ucnv_setFromUCallBack(m_icu.getAlias(), OnLacking, this, nullptr, nullptr, &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
}

// The substitute of some code pages, as of Shift_JIS, is no character of them: text with it could not be read without
// loss. All code pages of this kind have the question mark.
void MultiByteEncoding::Converter::ReplaceUnreadableSubstitute(UErrorCode& status) {
  std::array<char, kMostSubstituteBytes> substitute;
  auto length = static_cast<std::int8_t>(substitute.size());
  ucnv_getSubstChars(m_icu.getAlias(), substitute.data(), &length, &status);
  ucnv_setToUCallBack(m_icu.getAlias(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  std::array<UChar, kMostSubstituteBytes> units;
  UErrorCode fault = status;
  ucnv_toUChars(m_icu.getAlias(), units.data(), static_cast<int>(units.size()), substitute.data(), length, &fault);
  if (U_FAILURE(fault)) ucnv_setSubstChars(m_icu.getAlias(), "?", 1, &status);
}

void MultiByteEncoding::Converter::Note(UErrorCode* status) {
  m_fault = *status;
  *status = U_ZERO_ERROR;
}

void MultiByteEncoding::Converter::OnUnreadable(const void* self, UConverterToUnicodeArgs* args, const char*, int32_t,
                                                UConverterCallbackReason reason, UErrorCode* status) {
  if (reason > UCNV_IRREGULAR) return;  // a message about the converter itself
  static_cast<Converter*>(const_cast<void*>(self))->Note(status);
  constexpr UChar replacement = 0xFFFD;
  ucnv_cbToUWriteUChars(args, &replacement, 1, 0, status);
}

void MultiByteEncoding::Converter::OnLacking(const void* self, UConverterFromUnicodeArgs* args, const UChar*, int32_t,
                                             UChar32, UConverterCallbackReason reason, UErrorCode* status) {
  if (reason > UCNV_IRREGULAR) return;
  static_cast<Converter*>(const_cast<void*>(self))->Note(status);
  ucnv_cbFromUWriteSub(args, 0, status);
}

Character MultiByteEncoding::Converter::First(std::string_view text, int& codePoint) {
  const char* const start = text.data();
  const char* next = start;
  UErrorCode status = U_ZERO_ERROR;
  m_fault = U_ZERO_ERROR;
  ucnv_resetToUnicode(m_icu.getAlias());
  codePoint = ucnv_getNextUChar(m_icu.getAlias(), &next, start + std::min(text.size(), kLook), &status);
  const std::size_t length = static_cast<std::size_t>(next - start);
  if (m_fault == U_ZERO_ERROR) return {Character::whole, length};
  return {m_fault == U_TRUNCATED_CHAR_FOUND ? Character::cut : Character::none, length};
}

// Returns the number of units.
std::size_t MultiByteEncoding::Converter::ToUnits(std::string_view text) {
  m_fault = U_ZERO_ERROR;
  std::size_t length = text.size();
  UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
  while (status == U_BUFFER_OVERFLOW_ERROR) {
    m_units.resize(length);
    status = U_ZERO_ERROR;
    length = static_cast<std::size_t>(ucnv_toUChars(m_icu.getAlias(), m_units.data(), static_cast<int>(m_units.size()),
                                                    text.data(), static_cast<int>(text.size()), &status));
  }
  if (U_FAILURE(status)) throw std::bad_alloc();
  return length;
}

bool MultiByteEncoding::Converter::ToUtf8(std::string& output, std::string_view text) {
  const std::size_t length = ToUnits(text);
  output.clear();
  AppendUtf8(output, std::u16string_view(m_units).substr(0, length));
  return m_fault == U_ZERO_ERROR;
}

bool MultiByteEncoding::Converter::FromUtf8(std::string& output, std::string_view text) {
  m_units.clear();
  std::size_t position = 0;
  while (position < text.size()) AppendUnits(m_units, NextCodePoint(text, position));
  return FromUnits(output);
}

bool MultiByteEncoding::Converter::FromCodePoint(std::string& output, int codePoint) {
  m_units.clear();
  AppendUnits(m_units, codePoint);
  return FromUnits(output);
}

bool MultiByteEncoding::Converter::FromUnits(std::string& output) {
  const int units = static_cast<int>(m_units.size());
  m_fault = U_ZERO_ERROR;
  UErrorCode status = U_ZERO_ERROR;
  const int capacity = UCNV_GET_MAX_BYTES_FOR_STRING(units, ucnv_getMaxCharSize(m_icu.getAlias()));
  output.resize(static_cast<std::size_t>(capacity));
  const int length = ucnv_fromUChars(m_icu.getAlias(), output.data(), capacity, m_units.data(), units, &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
  output.resize(static_cast<std::size_t>(length));
  return m_fault == U_ZERO_ERROR && ComesBack(output);
}

// ICU takes another character of the code page for some private ones, and reports nothing.
bool MultiByteEncoding::Converter::ComesBack(std::string_view text) {
  if (std::ranges::none_of(m_units, IsPrivate)) return true;
  const std::u16string units = std::exchange(m_units, {});
  const std::size_t length = ToUnits(text);
  return m_fault == U_ZERO_ERROR && std::u16string_view(m_units).substr(0, length) == units;
}

// A converter that is borrowed for one operation.
class MultiByteEncoding::Loan {
 public:
  explicit Loan(const MultiByteEncoding& encoding) : m_encoding(encoding), m_converter(encoding.TakeIdle()) {
    if (m_converter == nullptr) m_converter = std::make_unique<Converter>(encoding.m_name);
  }
  Loan(const Loan&) = delete;
  Loan& operator=(const Loan&) = delete;
  ~Loan() { m_encoding.GiveBack(std::move(m_converter)); }
  Converter* operator->() const { return m_converter.get(); }

 private:
  const MultiByteEncoding& m_encoding;
  std::unique_ptr<Converter> m_converter;
};

MultiByteEncoding::MultiByteEncoding(const char* canonicalName, bool hasAscii)
    : Encoding(hasAscii, LowBytes::insideCharacters), m_name(canonicalName) {}

MultiByteEncoding::~MultiByteEncoding() = default;

// Returns null when no converter is idle. It then reserves room for one more, so that returning that one needs no
// allocation.
std::unique_ptr<MultiByteEncoding::Converter> MultiByteEncoding::TakeIdle() const {
  const std::lock_guard lock(m_mutex);
  if (m_idle.empty()) {
    m_idle.reserve(m_made + 1);
    ++m_made;
    return nullptr;
  }
  std::unique_ptr<Converter> converter = std::move(m_idle.back());
  m_idle.pop_back();
  return converter;
}

void MultiByteEncoding::GiveBack(std::unique_ptr<Converter> converter) const {
  const std::lock_guard lock(m_mutex);
  m_idle.push_back(std::move(converter));
}

Character MultiByteEncoding::First(std::string_view text) const {
  int codePoint = 0;
  return Loan(*this)->First(text, codePoint);
}

bool MultiByteEncoding::ToUtf8(std::string& output, std::string_view text) const {
  return Loan(*this)->ToUtf8(output, text);
}

bool MultiByteEncoding::FromUtf8(std::string& output, std::string_view text) const {
  return Loan(*this)->FromUtf8(output, text);
}

std::size_t MultiByteEncoding::FindWholeCharacters(std::string_view text, std::size_t size) const {
  const Loan converter(*this);
  const std::size_t end = std::min(size, text.size());
  std::size_t position = 0;
  while (position < end) {
    if (IsAsciiCharacter(text[position])) {
      ++position;
      continue;
    }
    int codePoint = 0;
    const Character character = converter->First(text.substr(position), codePoint);
    if (character.kind == Character::cut || position + character.length > end) break;
    position += character.length;
  }
  return position;
}

std::string MultiByteEncoding::FindInCase(std::string_view text, LetterCase to) const {
  const Loan converter(*this);
  std::string form;
  std::string inCase;
  while (!text.empty()) {
    if (IsAsciiCharacter(text.front())) {
      form += to == LetterCase::upper ? AsciiUpper(text.front()) : AsciiLower(text.front());
      text.remove_prefix(1);
      continue;
    }
    int codePoint = 0;
    const Character character = converter->First(text, codePoint);
    const std::string_view bytes = text.substr(0, character.length);
    text.remove_prefix(character.length);
    const int mapped = to == LetterCase::upper ? u_toupper(codePoint) : u_tolower(codePoint);
    const bool hasForm =
        character.kind == Character::whole && mapped != codePoint && converter->FromCodePoint(inCase, mapped);
    form += hasForm ? std::string_view(inCase) : bytes;
  }
  return form;
}

}  // namespace quavmb
