// Assertions: a broken rule of the program ends the process, in every build.
//
//   QUAV_ASSERT(0 <= index, "0 <= index");
//
// prints the text, the source, the line and the function on standard error and aborts. Callers and tests rely on the
// text, so it is separate from the expression: a formatter may change the blanks in code, and `#expression` would
// change with them. Where the end of the process is not acceptable, AssertionsThrow.h turns it into an exception.
//
// Threads: any.

#ifndef PLATFORM_ASSERT_H
#define PLATFORM_ASSERT_H

#include "Platform/Export.h"

// Writes "source:line: function: assertion failed: text" to standard error and ends the process with SIGABRT.
[[noreturn]] DATASRC_API void QuavAssertionFailed(const char* text, const char* source, int line, const char* function);

#define QUAV_ASSERT(expression, text) \
  (static_cast<bool>(expression) ? void() : QuavAssertionFailed(text, __FILE__, __LINE__, __func__))

#endif
