// Process-wide settings.
//
// Threads: plain variables with no lock: they are set before the work begins.

#ifndef DATASRC_SETTINGS_H
#define DATASRC_SETTINGS_H

#include "Platform/Export.h"

// Whether iterators ask for their file to be read ahead. 1 at first; 0 switches it off.
DATASRC_API void setasynchreading_(int* value);
DATASRC_API int getasynchreading_();

#endif
