#include "Platform/text/PresentEncoding.h"

#include <langinfo.h>
#include <locale.h>

#include <atomic>

#include "Platform/text/QUAVMB.h"

namespace quavmb {
namespace {

constexpr std::string_view kCharacterSetOfC = "ANSI_X3.4-1968";

// Reads the environment's locale, not the one that the process has set.
std::string CodePageOfLocale() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return CodePageOfCharacterSet(nullptr);
  std::string name = CodePageOfCharacterSet(nl_langinfo_l(CODESET, locale));
  freelocale(locale);
  return name;
}

struct Settings {
  bool utf8Mode = false;
  std::string defaultName = CodePageOfLocale();
  std::string converterName;  // empty: no present converter

  const Encoding& Present() const {
    if (utf8Mode) return Encoding::Utf8();
    return *Encoding::Find(converterName.empty() ? defaultName.c_str() : converterName.c_str());
  }
};

// Never destroyed: destructors of other static objects may use text.
Settings& TheSettings() {
  static Settings& settings = *new Settings;
  return settings;
}

// The encoding that follows from the settings; null until the first use after a change.
constinit std::atomic<const Encoding*> thePresent = nullptr;

void ForgetPresent() { thePresent.store(nullptr, std::memory_order_release); }

}  // namespace

const Encoding& PresentEncoding() {
  const Encoding* present = thePresent.load(std::memory_order_acquire);
  if (present == nullptr) {
    present = &TheSettings().Present();
    thePresent.store(present, std::memory_order_release);
  }
  return *present;
}

std::string CodePageOfCharacterSet(const char* characterSet) {
  const bool usable =
      characterSet != nullptr && characterSet != kCharacterSetOfC && Encoding::Find(characterSet) != nullptr;
  return usable ? characterSet : kUtf8Name;
}

}  // namespace quavmb

using namespace quavmb;

int qUTF8mode() { return TheSettings().utf8Mode ? 1 : 0; }

void SetUTF8mode(int on) {
  TheSettings().utf8Mode = on != 0;
  ForgetPresent();
}

const char* QUAVMBDefaultCodePage() { return TheSettings().defaultName.c_str(); }

bool QUAVMBDefaultCodePageSet_A(const char* name) {
  if (*name != '\0' && Encoding::Find(name) == nullptr) return false;
  TheSettings().defaultName = *name != '\0' ? std::string(name) : CodePageOfLocale();
  ForgetPresent();
  return true;
}

char* QUAVMBConverterName_A(int, char* buffer) {
  const std::string& name = TheSettings().converterName;
  buffer[name.copy(buffer, kCodePageNameSize - 1)] = '\0';
  return buffer;
}

int QUAVMBConverterSet_A(const char* name) {
  if (*name != '\0' && Encoding::Find(name) == nullptr) return 0;
  TheSettings().converterName = name;
  ForgetPresent();
  return 1;
}
