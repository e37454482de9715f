// Numbers, cells and text in bytes of files. What holds for all numbers stands in Platform's ByteOrder.h.

#ifndef DATASRC_SRC_CORE_BYTEORDER_H
#define DATASRC_SRC_CORE_BYTEORDER_H

#include <cstddef>

#include "Platform/ByteOrder.h"
#include "datasrc/Obs.h"

// Found by the templates of Platform's ByteOrder.h, too.
inline OBS Turned(OBS cell) { return OBS{__builtin_bswap64(cell.bits)}; }

// The bytes of a text as text.
inline const char* AsText(const std::byte* p) { return reinterpret_cast<const char*>(p); }
inline const std::byte* AsBytes(const char* p) { return reinterpret_cast<const std::byte*>(p); }
inline std::byte* AsBytes(OBS* cells) { return reinterpret_cast<std::byte*>(cells); }

#endif
