// The mark for everything that the shared library exports.
//
// The library is compiled with hidden visibility: callers cannot reach a class or function without this mark.
// tests/architecture/exported_symbols.txt lists everything that has it.

#ifndef PLATFORM_EXPORT_H
#define PLATFORM_EXPORT_H

// Every public header of C++ includes this one, so that an older standard gets one message that says what to do.
#if defined(__cplusplus) && __cplusplus < 202002L
#error "libdatasrc needs C++20: compile with -std=c++20, or with CMake's feature cxx_std_20"
#endif

#define DATASRC_API __attribute__((visibility("default")))
// Hides a member of a class that has the mark.
#define DATASRC_LOCAL __attribute__((visibility("hidden")))

#endif
