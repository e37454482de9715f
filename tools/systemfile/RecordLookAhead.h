// Looks through a system file's records for what would end the process if the library met it.
//
// Some malformed records break a rule of the library on which it ends the process, in every build. A tool meets
// strangers' files, so it walks the records by itself first and reports such a record as an error. It stops, and finds
// nothing, at whatever the library itself reports as an error: a file cut short, an unknown record, an encrypted file,
// and so on.
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
  long long offset;     // of the faulty bytes in the file, from 0

  // "TROUBLE (at byte OFFSET)"
  std::string Text() const;
};

// The first flaw of the file. A file that cannot be opened has none.
std::optional<FatalFlaw> FindFatalFlaw(const std::string& file);
// The same for a stream at its start, which stays open.
std::optional<FatalFlaw> FindFatalFlaw(std::FILE* stream);
// The same for the stream of a file that is not plain on disk. Its position is then anywhere.
std::optional<FatalFlaw> FindFatalFlaw(QUAV_FileStream& stream);

}  // namespace tool

#endif
