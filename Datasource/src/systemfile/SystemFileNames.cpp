#include "systemfile/SystemFileNames.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "core/NameSuffix.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr int kLeastStem = 2;         // bytes of a name that must remain before a suffix
constexpr int kLongestCharacter = 4;  // bytes

// Returns the start of the last character of the terminated text; null for the empty text.
char* LastCharacter(char* text) {
  char* last = nullptr;
  while (*text != '\0') {
    last = text;
    text += std::max(QUAVMBmblen_A(text, kLongestCharacter), 1);
  }
  return last;
}

}  // namespace

bool SystemFileNames::checkTerminalChar(char* text) {
  bool cut = false;
  for (char* last = LastCharacter(text); last != nullptr && (*last == '.' || *last == '_');
       last = LastCharacter(text)) {
    *last = '\0';
    cut = true;
  }
  return cut;
}

int SystemFileNames::strTrunc(char* dst, const char* src, int len) {
  std::strncpy(dst, src, static_cast<std::size_t>(len));
  dst[len] = '\0';
  int position = 0;
  while (dst[position] != '\0') {
    const int size = QUAVMBmblen_A(dst + position, len - position);
    if (size < 1)
      dst[position] = '\0';
    else
      position += size;
  }
  return position;
}

int SystemFileNames::addNameSuffix(char* out, const char* name, int n, int maxLen) {
  const std::string letters = SuffixLetters(static_cast<unsigned long>(n));
  const int room = maxLen - static_cast<int>(letters.size()) - 1;
  if (room < kLeastStem) return kNoShortName;
  const int length = strTrunc(out, name, room);
  if (length == 0) return kNoShortName;
  out[length] = '_';
  std::copy_n(letters.c_str(), letters.size() + 1, out + length + 1);
  return 0;
}
