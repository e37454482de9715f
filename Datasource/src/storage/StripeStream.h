// What the files of a temp file are, and how one is made: the one place that knows the classes.
//
// Threads: as the settings, which it reads.

#ifndef DATASRC_SRC_STORAGE_STRIPESTREAM_H
#define DATASRC_SRC_STORAGE_STRIPESTREAM_H

#include <memory>
#include <optional>

#include "Platform/stream/QUAV_FileStream.h"

enum StripeKind : int { kStripePlain = 0, kStripeZlib = 1, kStripeSort = 2 };

// The kind for files with the prefix, with compression switched on or off.
StripeKind StripeKindOf(const char* prefix, bool compressed);

// A new stream, not open. Without a word on `encrypt` it has what the kind has by itself.
std::unique_ptr<QUAV_FileStream> MakeStripe(StripeKind kind, std::optional<bool> encrypt);
// A copy of a stream of that kind.
std::unique_ptr<QUAV_FileStream> CopyStripe(StripeKind kind, const QUAV_FileStream& stream);

// Whether streams of the kind have a window on their bytes (QUAV_FileStream::Peek).
bool StripeHasWindow(StripeKind kind);
// The bytes that a stream of the kind takes at once.
unsigned long MostAtOnce(StripeKind kind);
// Whether what was written may be written over. If not, each write stands behind the last one.
bool StripeIsRewritable(StripeKind kind);

#endif
