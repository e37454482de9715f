// The characters of a text in the present encoding.

#include <algorithm>
#include <cstring>

#include "Platform/text/PresentEncoding.h"
#include "Platform/text/QUAVMB.h"

using namespace quavmb;

namespace {

// More bytes than any character has: the bytes after these do not matter.
constexpr int kLook = 8;

int WholeCharacters(std::string_view text, int size) {
  return static_cast<int>(PresentEncoding().WholeCharacters(text, static_cast<std::size_t>(std::max(size, 0))));
}

}  // namespace

int QUAVMBmblen_A(const char* p, int avail) {
  if (avail == 0 || *p == '\0') return 0;
  const Encoding& encoding = PresentEncoding();
  if (IsAscii(*p) && encoding.HasAscii()) return 1;
  const std::size_t look = avail < 0 ? strnlen(p, kLook) : static_cast<std::size_t>(std::min(avail, kLook));
  const Character character = encoding.First({p, look});
  return character.kind == Character::whole ? static_cast<int>(character.length) : -1;
}

int QUAVMBWholeCharacters_A(const char* text, int length, int size) {
  return WholeCharacters(TextOf(text, length), size);
}

int QUAVMBStringTruncate_A(char* text, int size) {
  const int length = WholeCharacters(text, size);
  text[length] = '\0';
  return length;
}

const char* QUAVMBstrrchr_A(const char* text, int character) {
  if (character < 0 || 0x7F < character) return nullptr;
  const Encoding& encoding = PresentEncoding();
  std::string_view rest = text;
  if (encoding.HasAscii() && IsAscii(rest)) return std::strrchr(text, character);
  const char* last = nullptr;
  while (!rest.empty()) {
    const Character at = encoding.First(rest);
    if (at.length == 1 && rest.front() == character) last = rest.data();
    rest.remove_prefix(at.length);
  }
  return last;
}
