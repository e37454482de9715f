// Process-wide settings. Callers know most of them with an underscore at the end and with pointers as arguments. No
// pointer may be null.
//
// Threads: plain variables without a lock. Set them before the work begins.

#ifndef DATASRC_SETTINGS_H
#define DATASRC_SETTINGS_H

#include "Platform/Export.h"

// Whether iterators request that their file is read ahead. 1 at first; 0 switches it off.
DATASRC_API void setasynchreading_(int* value);
DATASRC_API int getasynchreading_();

// ---- Whether new temporary files are compressed; off at first ----

// 1 and 3 switch it on, everything else switches it off.
DATASRC_API void setOption(int value);
DATASRC_API bool getzcompression_();
// Does what setOption(*value) does, if the environment variable CACHE_SYNTAX_OVERRIDE is not set or begins with "1";
// else changes nothing. Sets *status to 20 when the variable begins with "0", else to 0.
DATASRC_API void setzcompression_(int* value, int* status);
// Returns whether the environment allows the change.
DATASRC_API bool getzcompressionoa_();

// ---- For callers only: the library does not read these ----

DATASRC_API void sethcache_(long* value);
DATASRC_API long gethcache_();  // 0 at first
// Takes kilobytes; a value below 1, or too large for a long in bytes, is ignored.
DATASRC_API void sethcachebuffersize_(long* value);
// Returns bytes, 0x800000 at first.
DATASRC_API long gethcachebuffersize_();
// Takes 0 to 2 and ignores other values; 2 at first.
DATASRC_API void sethcachecompressionmethod_(long* value);
DATASRC_API long gethcachecompressionmethod_();
DATASRC_API void sethcachemultithread_(long* value);
DATASRC_API long gethcachemultithread_();  // 0 at first

#endif
