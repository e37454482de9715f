// The process's present encoding, for the rest of this layer. QUAVMB.h says how it is chosen.
//
// Threads: see the setting in QUAVMB.h.

#ifndef PLATFORM_TEXT_PRESENTENCODING_H
#define PLATFORM_TEXT_PRESENTENCODING_H

#include <string>

#include "Platform/text/Encoding.h"

namespace quavmb {

const Encoding& PresentEncoding();

// Returns the default code page for a locale with this character set; null means a locale that names none. Returns
// UTF-8 for null, when ICU does not know the code page, and for the "C" locale, which names plain ASCII only because
// it has no choice.
std::string CodePageOfCharacterSet(const char* characterSet);

}  // namespace quavmb

#endif
