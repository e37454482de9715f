// The kinds of stream that the files of a temp file have: the only place that knows the classes.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_STORAGE_STRIPESTREAM_H
#define DATASRC_SRC_STORAGE_STRIPESTREAM_H

#include <memory>
#include <optional>

#include "Platform/stream/QUAV_FileStream.h"

enum StripeKind : int { kStripePlain = 0, kStripeZlib = 1, kStripeSort = 2 };

// Returns the kind for files with the prefix, with compression switched on or off.
StripeKind StripeKindOf(const char* prefix, bool compressed);

// Returns a new stream that is not open. Without a value for `encrypt`, the stream has the default of its kind.
std::unique_ptr<QUAV_FileStream> MakeStripe(StripeKind kind, std::optional<bool> encrypt);
// Returns a copy of a stream of that kind.
std::unique_ptr<QUAV_FileStream> CopyStripe(StripeKind kind, const QUAV_FileStream& stream);

// Returns whether streams of the kind have a window on their bytes (QUAV_FileStream::Peek).
bool StripeHasWindow(StripeKind kind);
// Returns the most bytes that a stream of the kind takes in one call.
unsigned long MostAtOnce(StripeKind kind);
// Returns whether written bytes may be overwritten. If not, each write must follow the last one.
bool StripeIsRewritable(StripeKind kind);

#endif
