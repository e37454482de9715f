// The plain contents of an encrypted system file that may be damaged.
//
// Threads: any.

#ifndef DATASRC_SRC_STORAGE_CRYPTCHECK_H
#define DATASRC_SRC_STORAGE_CRYPTCHECK_H

#include <memory>
#include <vector>

#include "Platform/cipher/StatCrypt.h"
#include "Platform/stream/ExtNameStr.h"
#include "Platform/stream/QUAV_FileStream.h"

// Returns a temporary file, enciphered on disk, with the plain bytes before the first chunk that is not genuine. Adds a
// fault for each such chunk; places are those in the file. Returns null, with errno set, when nothing could be
// deciphered: EBADMSG for a file that is not encrypted, for a wrong password, and for a file without a genuine chunk.
std::unique_ptr<QUAV_FileStream> DecipherGenuine(const ExtNameStr& file, const ExtNameStr& password,
                                                 std::vector<ChunkFault>& faults);

#endif
