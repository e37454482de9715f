// Upper- and lower-case forms in the present encoding.

#include <algorithm>

#include "Platform/text/PresentEncoding.h"
#include "Platform/text/QUAVMB.h"

using namespace quavmb;

namespace {

// The length of the part of a form that fits a destination of `room` bytes.
std::size_t WrittenLength(const Encoding& encoding, std::string_view form, std::size_t room) {
  return form.size() <= room ? form.size() : encoding.WholeCharacters(form, room);
}

int WriteInCase(char* dest, int destSize, std::string_view source, LetterCase to, int* outFlags) {
  const Encoding& encoding = PresentEncoding();
  const std::size_t room = static_cast<std::size_t>(std::max(destSize, 0));
  std::size_t formLength = source.size();
  std::size_t written = 0;
  if (encoding.HasAscii() && IsAscii(source)) {
    written = std::min(source.size(), room);
    WriteAsciiInCase(dest, source.substr(0, written), to);
  } else {
    const std::string form = encoding.InCase(source, to);
    formLength = form.size();
    written = WrittenLength(encoding, form, room);
    form.copy(dest, written);
  }
  if (written < room) dest[written] = '\0';
  if (outFlags != nullptr) *outFlags = written < formLength ? 1 : 0;
  return static_cast<int>(written);
}

}  // namespace

int QUAVMBMvUpper_A(char* dest, int destSize, const char* source, int sourceLength, int* outFlags) {
  return WriteInCase(dest, destSize, TextOf(source, sourceLength), LetterCase::upper, outFlags);
}

int QUAVMBMvLower_A(char* dest, int destSize, const char* source, int sourceLength, int* outFlags) {
  return WriteInCase(dest, destSize, TextOf(source, sourceLength), LetterCase::lower, outFlags);
}

std::string QUAVMBstrupr_A(const std::string& text) { return PresentEncoding().InCase(text, LetterCase::upper); }

std::string QUAVMBstrlwr_A(const std::string& text) { return PresentEncoding().InCase(text, LetterCase::lower); }
