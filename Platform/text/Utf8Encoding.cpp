#include "Platform/text/Utf8Encoding.h"

#include <unicode/ucasemap.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace quavmb {
namespace {

constexpr std::size_t kLongestCharacter = 4;

bool IsTrail(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Returns the length that a character's first byte declares; 1 for a byte that begins none.
std::size_t AnnouncedLength(char first) {
  return U8_COUNT_TRAIL_BYTES(static_cast<std::uint8_t>(first)) + std::size_t{1};
}

constexpr int kTrailBits = 6;

// Return the bits of the code point that the byte holds.
int LeadBits(char first, std::size_t length) { return static_cast<unsigned char>(first) & (0x7F >> length); }
int TrailBits(char trail) { return static_cast<unsigned char>(trail) & 0x3F; }

// Returns whether the bits of the first two bytes can begin a code point that needs all the bytes, is no surrogate
// and is not above the last one.
bool MayBegin(int bits, std::size_t length) {
  constexpr int firstOfThree = 0x800 >> kTrailBits;
  constexpr int firstSurrogate = 0xD800 >> kTrailBits;
  constexpr int lastSurrogate = 0xDFFF >> kTrailBits;
  constexpr int firstOfFour = 0x10000 >> (2 * kTrailBits);
  constexpr int last = 0x10FFFF >> (2 * kTrailBits);
  if (length == 3) return firstOfThree <= bits && !(firstSurrogate <= bits && bits <= lastSurrogate);
  return length == 2 || (firstOfFour <= bits && bits <= last);
}

// Returns the length of the well-formed text at the beginning.
std::size_t WellFormedLength(std::string_view text) {
  std::size_t position = 0;
  while (position < text.size()) {
    const std::size_t start = position;
    if (NextCodePoint(text, position) < 0) return start;
  }
  return position;
}

// The language-independent case mapping, never closed.
const UCaseMap* RootCaseMap() {
  static const UCaseMap* const map = [] {
    UErrorCode status = U_ZERO_ERROR;
    const UCaseMap* opened = ucasemap_open("", 0, &status);
    if (U_FAILURE(status)) throw std::bad_alloc();
    return opened;
  }();
  return map;
}

void AppendInCase(std::string& output, std::string_view text, LetterCase to) {
  const auto map = to == LetterCase::upper ? ucasemap_utf8ToUpper : ucasemap_utf8ToLower;
  const std::size_t start = output.size();
  int length = static_cast<int>(text.size());
  UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
  while (status == U_BUFFER_OVERFLOW_ERROR) {
    output.resize(start + static_cast<std::size_t>(length));
    status = U_ZERO_ERROR;
    length = map(RootCaseMap(), output.data() + start, length, text.data(), static_cast<int>(text.size()), &status);
  }
  if (U_FAILURE(status)) throw std::bad_alloc();
  output.resize(start + static_cast<std::size_t>(length));
}

}  // namespace

int NextLongCodePoint(std::string_view text, std::size_t& position) {
  const char first = text[position++];
  const std::size_t length = AnnouncedLength(first);
  if (length == 1) return -1;
  int codePoint = LeadBits(first, length);
  for (std::size_t read = 1; read < length; ++read, ++position) {
    if (position == text.size() || !IsTrail(text[position])) return -1;
    const int soFar = codePoint << kTrailBits | TrailBits(text[position]);
    if (read == 1 && !MayBegin(soFar, length)) return -1;
    codePoint = soFar;
  }
  return codePoint;
}

void AppendUtf8(std::string& output, std::u16string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    UChar32 codePoint = 0;
    U16_NEXT(text.data(), i, text.size(), codePoint);
    if (U_IS_SURROGATE(codePoint)) {
      output += kReplacementCharacter;
      continue;
    }
    char bytes[kLongestCharacter];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, codePoint);
    output.append(bytes, length);
  }
}

Character Utf8Encoding::First(std::string_view text) const {
  std::size_t length = 0;
  if (NextCodePoint(text, length) >= 0) return {Character::whole, length};
  const bool endsInside = length == text.size() && AnnouncedLength(text.front()) > length;
  return {endsInside ? Character::cut : Character::none, length};
}

// Only a character that begins within three bytes before the cut can cross it, and its first byte is never a trail
// byte.
std::size_t Utf8Encoding::FindWholeCharacters(std::string_view text, std::size_t size) const {
  const std::size_t end = std::min(size, text.size());
  for (std::size_t back = 1; back < kLongestCharacter && back <= end; ++back) {
    const std::size_t start = end - back;
    if (IsTrail(text[start])) continue;
    const Character character = First(text.substr(start));
    const bool crosses =
        character.kind == Character::cut || (character.kind == Character::whole && character.length > back);
    return crosses ? start : end;
  }
  return end;
}

std::string Utf8Encoding::FindInCase(std::string_view text, LetterCase to) const {
  std::string form;
  form.reserve(text.size());
  while (!text.empty()) {
    const std::size_t wellFormed = WellFormedLength(text);
    AppendInCase(form, text.substr(0, wellFormed), to);
    text.remove_prefix(wellFormed);
    if (text.empty()) break;
    const std::size_t illFormed = First(text).length;
    form += text.substr(0, illFormed);
    text.remove_prefix(illFormed);
  }
  return form;
}

bool Utf8Encoding::ToUtf8(std::string& output, std::string_view text) const {
  output.clear();
  bool exact = true;
  while (!text.empty()) {
    const std::size_t wellFormed = WellFormedLength(text);
    output += text.substr(0, wellFormed);
    text.remove_prefix(wellFormed);
    if (text.empty()) break;
    output += kReplacementCharacter;
    text.remove_prefix(First(text).length);
    exact = false;
  }
  return exact;
}

}  // namespace quavmb
