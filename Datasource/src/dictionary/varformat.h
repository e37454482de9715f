// The stored form of a format: the word that a variable keeps and a system file holds.
//
// Format: counted from the least significant byte
//
//   byte     strings (type 1)     all other types
//   0        width, high byte     decimals
//   1        width, low byte      width, low byte
//   2        1                    type
//   3        0                    width, high byte, which is never read back
//
// Threads: values, and functions without state.

#ifndef DATASRC_SRC_DICTIONARY_VARFORMAT_H
#define DATASRC_SRC_DICTIONARY_VARFORMAT_H

#include <cstdint>

#include "datasrc/QUAV_Format.h"

using StoredFormat = std::uint32_t;

// Returns the default format for a type (0 numeric, else the string's width); 0 for a negative type.
StoredFormat QUAV_DefaultFormat(int type);
// Packs the format as it is, without any limit.
StoredFormat ToStoredFormat(QUAV_Format format);
// Unpacks the format that callers see. CutFormatWidth limits its width, of which only the low byte counts for every
// type but 1.
QUAV_Format FromStoredFormat(StoredFormat stored);
// Returns the format that replaces `stored` when a variable's type changes to `newType`. A hexadecimal string format
// stays hexadecimal as long as two columns for each byte fit; every other format becomes the default.
StoredFormat FormatForNewType(StoredFormat stored, int newType);

// Limits the width to 40 columns, unless the type is that of a string.
int CutFormatWidth(FormatType type, int width);

#endif
