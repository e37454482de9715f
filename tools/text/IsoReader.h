// Dates and times from ISO 8601 text: what IsoText writes, read back.
//
//   date           2024-03-14
//   date and time  2024-03-14T10:20:30, also with a blank in place of the T
//   time           10:20:30, and durations of the form P1DT2H0M0S, -P0DT1H0M0S
//
// Seconds may have a fraction. Dates lie in the calendar, from 1582-10-14 to the end of 9999.
//
// Threads: any.

#ifndef TOOLS_TEXT_ISOREADER_H
#define TOOLS_TEXT_ISOREADER_H

#include <string_view>

namespace tool {

enum class IsoKind { none, date, dateTime, time };

struct IsoValue {
  IsoKind kind = IsoKind::none;
  double value = 0;       // as the formats of dates and times store it
  int decimals = 0;       // of the seconds
  bool comesBack = true;  // false when the fraction is finer than the value can tell
};

IsoValue ReadIsoText(std::string_view text);

}  // namespace tool

#endif
