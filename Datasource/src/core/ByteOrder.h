// Numbers, cells and text in the bytes of files. Platform's ByteOrder.h has what all numbers share.

#ifndef DATASRC_SRC_CORE_BYTEORDER_H
#define DATASRC_SRC_CORE_BYTEORDER_H

#include <cstddef>

#include "Platform/ByteOrder.h"
#include "datasrc/Obs.h"

// The templates in Platform's ByteOrder.h find this overload too.
inline OBS Turned(OBS cell) { return OBS{__builtin_bswap64(cell.bits)}; }

// These view the same bytes as another type.
inline const char* AsText(const std::byte* p) { return reinterpret_cast<const char*>(p); }
inline const std::byte* AsBytes(const char* p) { return reinterpret_cast<const std::byte*>(p); }
inline std::byte* AsBytes(OBS* cells) { return reinterpret_cast<std::byte*>(cells); }

#endif
