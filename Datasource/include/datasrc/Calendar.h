// Calendar fields and the package's date-time value: seconds since midnight of 14 October 1582, fractions allowed.
//
// Day 0 is 14 October 1582, the eve of the Gregorian calendar. The last second lies just below 1 January 10000. A
// duration is in seconds too, below 31 days. Each conversion answers 1, or 0 for a value out of range, and then writes
// nothing.
//
// Threads: any; vQuavTimestampNow uses the process's one buffer of localtime.

#ifndef DATASRC_CALENDAR_H
#define DATASRC_CALENDAR_H

#include "Platform/Export.h"

// Year 1582 to 9999, month 1 to 12, day 1 to 31, hour 0 to 23, minute 0 to 59, second 0.0 to below 60.0. Deliberate:
// the lengths of months are not checked; 31 February is 3 March.
DATASRC_API int iDMY2Quav(long day, long month, long year, long hour, long minute, double second, double* result);
// Hours 0 to 743.
DATASRC_API int iHMS2Quav(long hours, long minutes, double seconds, double* result);
// Any output may be null.
DATASRC_API int iQuav2DMY(double value, long* day, long* month, long* year, long* hour, long* minute, double* second);
// Deliberate: the hours are those of the day, 0 to 23; whole days are dropped.
DATASRC_API int iQuav2HMS(double value, long* hours, long* minutes, double* seconds);
// The local time now.
DATASRC_API void vQuavTimestampNow(double* result);

#endif
