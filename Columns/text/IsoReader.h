// Reads dates and times from ISO 8601 text. It accepts everything that IsoText writes.
//
//   date           2024-03-14
//   date and time  2024-03-14T10:20:30, or with a blank instead of the T
//   time           10:20:30, or a duration of the form P1DT2H0M0S, -P0DT1H0M0S
//
// Seconds may have a fraction. A duration is shorter than 2^53 seconds: P104249991374DT7H36M31S is the longest. Dates range
// from 1582-10-14 to the end of 9999.
//
// Threads: any.

#ifndef COLUMNS_TEXT_ISOREADER_H
#define COLUMNS_TEXT_ISOREADER_H

#include <string_view>

namespace dstext {

enum class IsoKind { none, date, dateTime, time };

struct IsoValue {
  IsoKind kind = IsoKind::none;
  double value = 0;       // the number that the date and time formats store
  int decimals = 0;       // decimals of the seconds
  bool comesBack = true;  // false when the fraction is too fine for the value
};

// Returns the kind `none` for any other text.
IsoValue ReadIsoText(std::string_view text);

}  // namespace dstext

#endif
