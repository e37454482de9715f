// Reads a line of text from a C stream, whatever ends its lines.
//
// Threads: any; one stream is read by one thread at a time.

#ifndef DATASRC_READLINE_H
#define DATASRC_READLINE_H

#include <cstdio>

#include "Platform/Export.h"

// Reads at most size - 1 bytes into `buffer`, up to and with the line feed, and terminates them. NUL bytes are skipped.
// A carriage return, with or without a line feed behind it, counts as one line feed. Answers the buffer, or null at the
// end of the file with nothing read.
DATASRC_API char* ReadLine(char* buffer, int size, std::FILE* file);

#endif
