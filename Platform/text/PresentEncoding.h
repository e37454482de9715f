// The process's present encoding, for the rest of this layer. QUAVMB.h tells what settles it.
//
// Threads: as the setting's.

#ifndef PLATFORM_TEXT_PRESENTENCODING_H
#define PLATFORM_TEXT_PRESENTENCODING_H

#include <string>

#include "Platform/text/Encoding.h"

namespace quavmb {

const Encoding& PresentEncoding();

// The default code page for a locale that names this character set; null for a locale that names none. It is UTF-8 as
// well where ICU knows no such code page and for the "C" locale, which names plain ASCII for want of a choice.
std::string CodePageOfCharacterSet(const char* characterSet);

}  // namespace quavmb

#endif
