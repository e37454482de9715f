// Calendar fields and the package's date-time value: seconds since midnight of 14 October 1582, with fractions.
//
// Day 0 is 14 October 1582, the day before the Gregorian calendar began. Values end before 1 January 10000. A duration
// is in seconds, too, and is shorter than 31 days. Each conversion returns 1; for a value out of range, or a NaN, it
// returns 0 and writes nothing.
//
// Threads: any.

#ifndef DATASRC_CALENDAR_H
#define DATASRC_CALENDAR_H

#include "Platform/Export.h"

// Year 1582 to 9999, but no day before day 0; month 1 to 12, day 1 to 31, hour 0 to 23, minute 0 to 59, second 0.0 to
// below 60.0. Deliberate: the length of a month is not checked, so that 31 February is 3 or 2 March.
DATASRC_API int iDMY2Quav(long day, long month, long year, long hour, long minute, double second, double* result);
// A duration: hours 0 to 743, minutes 0 to 59, seconds 0.0 to below 60.0.
DATASRC_API int iHMS2Quav(long hours, long minutes, double seconds, double* result);
// From a date-time value. Any output may be null.
DATASRC_API int iQuav2DMY(double value, long* day, long* month, long* year, long* hour, long* minute, double* second);
// From a duration. Any output may be null. Deliberate: the hours are those of the day, 0 to 23; whole days are dropped.
DATASRC_API int iQuav2HMS(double value, long* hours, long* minutes, double* seconds);
// Stores the present local time. A clock that cannot be read gives noon of 1 February 1975. A leap second, or a year
// after 9999, does not change the result.
DATASRC_API void vQuavTimestampNow(double* result);

#endif
