#include "Platform/text/Encoding.h"

#include <unicode/ucnv.h>

#include <map>
#include <memory>
#include <mutex>
#include <new>

#include "Platform/text/MultiByteEncoding.h"
#include "Platform/text/QUAVMB.h"
#include "Platform/text/SingleByteEncoding.h"
#include "Platform/text/Utf8Encoding.h"

namespace quavmb {
namespace {

constexpr int kAsciiCharacters = 128;

// Returns the character of a text of one byte, or -1.
int CharacterOfByte(UConverter* converter, int byte) {
  const char text = static_cast<char>(byte);
  UChar character = 0;
  UErrorCode status = U_ZERO_ERROR;
  const int length = ucnv_toUChars(converter, &character, 1, &text, 1, &status);
  return U_SUCCESS(status) && length == 1 ? character : -1;
}

// Returns whether each byte below 128 is a character, and each printable one is the ASCII character.
bool HasAscii(UConverter* converter) {
  for (int byte = 0; byte < kAsciiCharacters; ++byte) {
    const char text = static_cast<char>(byte);
    const int character = CharacterOfByte(converter, byte);
    if (character < 0 || (IsPrintableAscii({&text, 1}) && character != byte)) return false;
  }
  return true;
}

// Returns null when the encoding does not count as a code page.
std::unique_ptr<const Encoding> MakeEncoding(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUConverterPointer converter(ucnv_open(name, &status));
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  if (U_FAILURE(status)) return nullptr;
  ucnv_setToUCallBack(converter.getAlias(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  if (CharacterOfByte(converter.getAlias(), '\0') != '\0') return nullptr;

  const bool hasAscii = HasAscii(converter.getAlias());
  switch (ucnv_getType(converter.getAlias())) {
    case UCNV_UTF8:
      return std::make_unique<Utf8Encoding>();
    case UCNV_SBCS:
    case UCNV_LATIN_1:
    case UCNV_US_ASCII:
      return std::make_unique<SingleByteEncoding>(converter.getAlias(), hasAscii);
    case UCNV_MBCS:
      return std::make_unique<MultiByteEncoding>(name, hasAscii);
    default:
      return nullptr;
  }
}

// The encodings that were requested, by ICU's names. Null means that the encoding is no code page.
struct Registry {
  std::mutex mutex;  // guards `encodings`
  std::map<std::string, std::unique_ptr<const Encoding>, std::less<>> encodings;
};

// Never destroyed: destructors of other static objects may use text.
Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

}  // namespace

const char* Encoding::CanonicalName(const char* name) {
  if (name == nullptr || *name == '\0' || std::string_view(name).size() >= kCodePageNameSize) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  const char* canonical = ucnv_getAlias(name, 0, &status);
  return U_SUCCESS(status) ? canonical : nullptr;
}

const Encoding* Encoding::Find(const char* name) {
  const char* canonical = CanonicalName(name);
  if (canonical == nullptr) return nullptr;
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  auto place = registry.encodings.find(std::string_view(canonical));
  if (place == registry.encodings.end()) place = registry.encodings.emplace(canonical, MakeEncoding(canonical)).first;
  return place->second.get();
}

const Encoding& Encoding::Utf8() {
  static const Encoding& utf8 = *Find(kUtf8Name);
  return utf8;
}

}  // namespace quavmb
