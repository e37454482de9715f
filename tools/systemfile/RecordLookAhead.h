// Searches a system file's records for anything on which the library would end the process.
//
// Some malformed records break a rule of the library, and then it ends the process, in every build. A tool gets files
// from strangers, so it walks the records first and reports such a record as an error. The walk stops and finds nothing
// at everything that the library itself reports as an error: a truncated file, an unknown record, an encrypted file and
// so on.
//
// The records' layout: docs/system-file.md.
//
// Threads: any.

#ifndef TOOLS_SYSTEMFILE_RECORDLOOKAHEAD_H
#define TOOLS_SYSTEMFILE_RECORDLOOKAHEAD_H

#include <cstdio>
#include <optional>
#include <string>

#include "Platform/stream/QUAV_FileStream.h"

namespace tool {

struct FatalFlaw {
  std::string trouble;  // names the record and what is wrong with it
  long long offset;     // offset of the faulty bytes in the file, from 0

  // "TROUBLE (at byte OFFSET)"
  std::string Text() const;
};

// Returns the first flaw of the file. A file that cannot be opened has none.
std::optional<FatalFlaw> FindFatalFlaw(const std::string& file);
// Returns the first flaw of a stream, which it reads from the start and leaves open.
std::optional<FatalFlaw> FindFatalFlaw(std::FILE* stream);
// Returns the first flaw of a library stream, for files that are not plain on disk. Afterwards the position of the
// stream is unspecified.
std::optional<FatalFlaw> FindFatalFlaw(QUAV_FileStream& stream);

}  // namespace tool

#endif
