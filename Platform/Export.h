// The mark of what the shared library offers to its callers.
//
// The library is compiled with hidden visibility: a class or function without this mark cannot be reached from outside.
// tests/architecture/exported_symbols.txt holds the list of all that bears it.

#ifndef PLATFORM_EXPORT_H
#define PLATFORM_EXPORT_H

#define DATASRC_API __attribute__((visibility("default")))
// For what stands inside a class that bears the mark, and is not for callers.
#define DATASRC_LOCAL __attribute__((visibility("hidden")))

#endif
