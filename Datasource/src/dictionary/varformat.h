// The stored form of a format: the word that a variable keeps and that a system file holds.
//
// Format: counted from the least significant byte
//
//   byte     strings (type 1)     all other types
//   0        width, high byte     decimals
//   1        width, low byte      width, low byte
//   2        1                    type
//   3        0                    width, high byte, which is never read back
//
// Threads: values.

#ifndef DATASRC_SRC_DICTIONARY_VARFORMAT_H
#define DATASRC_SRC_DICTIONARY_VARFORMAT_H

#include <cstdint>

#include "datasrc/QUAV_Format.h"

using StoredFormat = std::uint32_t;

// The default of a variable of the type (0 numeric, else the string's width); 0 for a negative type.
StoredFormat QUAV_DefaultFormat(int type);
// As the format is given, without any limit.
StoredFormat ToStoredFormat(QUAV_Format format);
// What callers see: the width cut as CutFormatWidth says, and that of any type but 1 taken from its low byte alone.
QUAV_Format FromStoredFormat(StoredFormat stored);
// The format that a variable gets in place of `stored` when its type changes to `newType`: a hexadecimal string stays
// one as long as two columns for each byte fit, everything else becomes the default.
StoredFormat FormatForNewType(StoredFormat stored, int newType);

// At most 40 columns, unless the type is that of a string.
int CutFormatWidth(FormatType type, int width);

#endif
