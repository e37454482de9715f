#include "Platform/stream/FileMode.h"

namespace {

bool ParseKind(char letter, FileMode& mode) {
  switch (letter) {
    case 'r':
      mode.read = true;
      return true;
    case 'w':
      mode.write = mode.create = mode.truncate = true;
      return true;
    case 'a':
      mode.write = mode.create = mode.append = true;
      return true;
    default:
      return false;
  }
}

// A letter that asks for more of a file (that it be temporary, say) is one more case here and one more field of the
// mode.
bool ParseOption(char letter, FileMode& mode) {
  switch (letter) {
    case 'b':
      return true;
    case '+':
      mode.read = mode.write = true;
      return true;
    default:
      return false;
  }
}

}  // namespace

std::optional<FileMode> ParseFileMode(const char* letters) {
  FileMode mode;
  if (letters == nullptr || !ParseKind(*letters, mode)) return std::nullopt;
  while (*++letters != '\0') {
    if (!ParseOption(*letters, mode)) return std::nullopt;
  }
  return mode;
}
