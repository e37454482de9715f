// Text in fields of fixed size, padded with blanks.

#include <cstring>

#include "Platform/text/PresentEncoding.h"
#include "Platform/text/QUAVMB.h"

using namespace quavmb;

int QUAVMBCopyToFixed_A(void* dest, int destSize, const void* source, int sourceLength) {
  if (destSize <= 0) return 0;
  const std::string_view text = TextOf(static_cast<const char*>(source), sourceLength);
  const std::size_t size = static_cast<std::size_t>(destSize);
  const std::size_t length = PresentEncoding().WholeCharacters(text, size);
  char* const field = static_cast<char*>(dest);
  if (length > 0) std::memmove(field, text.data(), length);
  if (length < size) std::memset(field + length, ' ', size - length);
  return static_cast<int>(length);
}
