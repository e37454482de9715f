// Writes numbers as text.
//
// Threads: any.

#ifndef COLUMNS_TEXT_NUMBERTEXT_H
#define COLUMNS_TEXT_NUMBERTEXT_H

#include <string>
#include <string_view>

#include "datasrc/QUAV_Format.h"

namespace dstext {

// Returns "NaN", "Infinity" or "-Infinity"; empty for a finite number.
std::string_view NonFiniteName(double number);
// Appends the shortest text that reads back to the same double; a negative zero is "-0.0". The number must be finite. A
// long whole number has the digits that distinguish it from other doubles, then zeros: 12345678901234567000.
void AppendNumber(std::string& out, double number);
void AppendInteger(std::string& out, long long number);
// Appends the number as people read it: with the decimals of the format, and with the signs that some formats add. A
// number that is not finite is written by its name, and one too large for that form (1e16, unless the format is
// scientific) as AppendNumber does.
void AppendReadableNumber(std::string& out, QUAV_Format format, double number);

}  // namespace dstext

#endif
