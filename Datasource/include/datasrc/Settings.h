// Process-wide settings. The names end in an underscore, and most take pointers, as callers know them.
//
// Threads: plain variables with no lock: they are set before the work begins.

#ifndef DATASRC_SETTINGS_H
#define DATASRC_SETTINGS_H

#include "Platform/Export.h"

// Whether iterators ask for their file to be read ahead. 1 at first; 0 switches it off.
DATASRC_API void setasynchreading_(int* value);
DATASRC_API int getasynchreading_();

// ---- Whether new temporary files are compressed; not at first ----

// 1 and 3 switch it on, everything else off.
DATASRC_API void setOption(int value);
DATASRC_API bool getzcompression_();
// As setOption(*value), where the environment allows it: the variable CACHE_SYNTAX_OVERRIDE is not set, or begins with
// "1". Where it begins with "0", *status is 20 and nothing changes; with any other text nothing changes either. *status
// is 0 in all cases but that one.
DATASRC_API void setzcompression_(int* value, int* status);
// Whether the environment allows the change.
DATASRC_API bool getzcompressionoa_();

// ---- Kept for callers: nothing in the library reads them ----

DATASRC_API void sethcache_(long* value);
DATASRC_API long gethcache_();  // 0 at first
// Set in kilobytes, a value below 1 is ignored; told in bytes, 0x800000 at first.
DATASRC_API void sethcachebuffersize_(long* value);
DATASRC_API long gethcachebuffersize_();
// 0 to 2, others are ignored; 2 at first.
DATASRC_API void sethcachecompressionmethod_(long* value);
DATASRC_API long gethcachecompressionmethod_();
DATASRC_API void sethcachemultithread_(long* value);
DATASRC_API long gethcachemultithread_();  // 0 at first

#endif
