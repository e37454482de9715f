// Date and time values as the numbers of Arrow's types.
//
// Date and time values count seconds from midnight of 14 October 1582; Arrow counts days or microseconds from 1 January
// 1970. A value converts only if the same number comes back.
//
// Threads: any.

#ifndef COLUMNS_ARROW_ARROWTIMES_H
#define COLUMNS_ARROW_ARROWTIMES_H

#include <cstdint>
#include <optional>

// For date32. Only whole days have such a number.
std::optional<std::int32_t> DaysSince1970(double value);
// For timestamp[us].
std::optional<std::int64_t> MicrosecondsSince1970(double value);
// For duration[us].
std::optional<std::int64_t> Microseconds(double seconds);

// From 14 October 1582 to 1 January 1970.
inline constexpr std::int64_t kDaysBefore1970 = 141'428;
inline constexpr std::int64_t kSecondsPerDay = 86'400;

#endif
