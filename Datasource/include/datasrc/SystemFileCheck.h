// Whether a system file would end the process, for callers that open the files of strangers.
//
// Some malformed records break a rule of the library, and the library ends the process, in every build (the list is in
// SystemFileDataSource.h). FindFatalRecord reads the dictionary with the library's own readers and says at which record
// that would happen:
//
//   QUAV_FileStream file("survey.quav", "rb", false);
//   if (const auto fatal = FindFatalRecord(file)) ...   refuse the file, do not open it
//
// For an encrypted file it takes an open CryptFileStream. While that lives, opening the file again does not derive the
// key from the password again.
//
// Threads: any; a stream belongs to one thread.

#ifndef DATASRC_SYSTEMFILECHECK_H
#define DATASRC_SYSTEMFILECHECK_H

#include <optional>
#include <string>

#include "Platform/Export.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/stream/QUAV_FileStream.h"

struct FatalRecord {
  std::string assertion;  // the text with which the process would end
  FilePlace place;        // of the record
};

// Returns the first record at which the process would end when a source opens the file, or when a caller asks the source
// for its documents, sets, trends, sort index or attributes. Returns nothing for a file without such a record. A file
// that cannot be opened has none before the place at which the opening reports its error.
//
// The stream is at its start; afterwards it is anywhere. Reads the dictionary once and no cases.
DATASRC_API std::optional<FatalRecord> FindFatalRecord(QUAV_FileStream& file);

#endif
