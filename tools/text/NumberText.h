// Numbers as text.
//
// Threads: any.

#ifndef TOOLS_TEXT_NUMBERTEXT_H
#define TOOLS_TEXT_NUMBERTEXT_H

#include <string>
#include <string_view>

#include "datasrc/QUAV_Format.h"

namespace tool {

// Why a number has no digits: "NaN", "Infinity" or "-Infinity"; empty for a number that has.
std::string_view NonFiniteName(double number);
// The shortest text that reads back to the same double; a negative zero is "-0.0". The number is finite.
void AppendNumber(std::string& out, double number);
void AppendInteger(std::string& out, long long number);
// As a person reads it: with the decimals of the format, and the signs that some formats set. A number that would not
// fit any format's width so, and one that has no digits, is written the short way.
void AppendReadableNumber(std::string& out, QUAV_Format format, double number);

}  // namespace tool

#endif
