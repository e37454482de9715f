// Values of the date and time formats as ISO 8601 text.
//
//   dates               2024-03-14, and T10:20:30 behind it when the value has a time of day
//   date and time       2024-03-14T10:20:30
//   times, days + time  10:20:30; below zero or from a day on a duration: P1DT2H0M0S, -P0DT1H0M0S
//
// Seconds have a fraction when the value has one, with as many digits as tell it from its neighbours.
//
// Threads: any.

#ifndef TOOLS_TEXT_ISOTEXT_H
#define TOOLS_TEXT_ISOTEXT_H

#include <string>

#include "datasrc/QUAV_Format.h"

namespace tool {

// Appends the text and answers true; or answers false, and appends nothing, when the format is none of these or the
// value lies outside the calendar, or is so large a duration that its seconds are lost.
bool AppendIsoText(std::string& out, FormatType format, double value);
// The same with a blank between the date and the time of day, as people write it.
bool AppendReadableTime(std::string& out, FormatType format, double value);

}  // namespace tool

#endif
