// Whole numbers as text, in any base up to 36.

#ifndef DATASRC_SRC_CORE_CAP_LTOA_H
#define DATASRC_SRC_CORE_CAP_LTOA_H

// Writes the number, terminated, into `out` (65 bytes hold any) with the digits 0 to 9, then A to Z, and answers `out`.
// Only in base 10 is a number below 0 written with a sign; in the others it counts as unsigned. Asserts a base of at
// most 36.
char* cap_ltoa(long value, char* out, unsigned radix);

#endif
