// Whole numbers as text, in any base up to 36.

#ifndef DATASRC_SRC_CORE_CAP_LTOA_H
#define DATASRC_SRC_CORE_CAP_LTOA_H

// Writes the number, terminated, into `out` with the digits 0 to 9, then A to Z, and returns `out`. 65 bytes hold any
// number. In base 10 a negative number has a sign; in other bases it counts as unsigned. Asserts a base of at most 36.
char* cap_ltoa(long value, char* out, unsigned radix);

#endif
