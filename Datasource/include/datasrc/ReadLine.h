// Reads a line of text from a C stream with any kind of line end.
//
// Threads: any; one thread at a time for each stream.

#ifndef DATASRC_READLINE_H
#define DATASRC_READLINE_H

#include <cstdio>

#include "Platform/Export.h"

// Reads at most size - 1 bytes into `buffer`, up to the line feed and including it, and terminates them. NUL bytes are
// skipped. A carriage return, with or without a line feed after it, counts as one line feed. Returns the buffer; null
// when the file ends, or reading fails, before the first byte, and when `size` is below 1.
DATASRC_API char* ReadLine(char* buffer, int size, std::FILE* file);

#endif
