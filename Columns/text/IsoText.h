// Writes values of the date and time formats as ISO 8601 text.
//
//   dates               2024-03-14, followed by T10:20:30 when the value has a time of day
//   date and time       2024-03-14T10:20:30
//   times, days + time  10:20:30; a negative value, or one of a day or more, is a duration: P1DT2H0M0S, -P0DT1H0M0S
//
// Seconds have a fraction when the value has one, with enough digits to distinguish it from the neighbouring doubles.
//
// Threads: any.

#ifndef COLUMNS_TEXT_ISOTEXT_H
#define COLUMNS_TEXT_ISOTEXT_H

#include <string>

#include "datasrc/QUAV_Format.h"

namespace dstext {

inline constexpr double kLongestDuration = 9007199254740992.0;  // 2^53: whole seconds below it are exact

// Appends the text and returns true. Returns false and appends nothing when the format is none of these, when the value
// lies outside the calendar, or when a duration is so large that a double loses its seconds.
bool AppendIsoText(std::string& out, FormatType format, double value);
// Does the same with a blank between the date and the time of day, as people write it.
bool AppendReadableTime(std::string& out, FormatType format, double value);

}  // namespace dstext

#endif
