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

bool ParseOption(char letter, FileMode& mode) {
  switch (letter) {
    case 'b':
      return true;
    case '+':
      mode.read = mode.write = true;
      return true;
    case 'T':
      mode.temporary = true;
      return mode.truncate;
    case 'D':
      mode.deleteOnClose = true;
      return mode.truncate;
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
