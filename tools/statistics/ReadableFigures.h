// Writes figures for people.
//
//   values            in the print format of their variable: 1,234.50, 2024-03-14
//   means, sums       with at least five digits that count: 43.171, 0.0012346, 1,234,568
//   deviations        of dates and times in days or seconds: "12.5 days"
//   counts, percents  12,345, 12.5 %
//
// Threads: any.

#ifndef TOOLS_STATISTICS_READABLEFIGURES_H
#define TOOLS_STATISTICS_READABLEFIGURES_H

#include <string>

#include "datasrc/QUAV_Format.h"

namespace tool {

std::string ReadableCount(long long count);
// A weighted count; a whole number has no decimals.
std::string ReadableWeight(double weight);
// Returns the share of `part` in `whole`, "12.5 %"; empty when `whole` is not positive.
std::string ReadablePercent(double part, double whole);
std::string ReadableValue(QUAV_Format format, double number);
// A mean is a date or time where the values are, without fractions of seconds.
std::string ReadableMean(QUAV_Format format, double number);
std::string ReadableDeviation(QUAV_Format format, double number);
// Returns a number with at least five digits that count, and no zeros at the end of its fraction.
std::string ReadableNumber(double number);

}  // namespace tool

#endif
