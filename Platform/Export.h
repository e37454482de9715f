// The mark for everything that the shared library exports.
//
// The library is compiled with hidden visibility: callers cannot reach a class or function without this mark.
// tests/architecture/exported_symbols.txt lists everything that has it.

#ifndef PLATFORM_EXPORT_H
#define PLATFORM_EXPORT_H

#define DATASRC_API __attribute__((visibility("default")))
// Hides a member of a class that has the mark.
#define DATASRC_LOCAL __attribute__((visibility("hidden")))

#endif
