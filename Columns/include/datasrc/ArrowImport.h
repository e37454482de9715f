// The cases of an ArrowArrayStream as a new system file, or as more cases of one.
//
//   WriteArrowStream(&stream, "survey.quav", {.dictionary = R"({"variables": [{"name": "sex", "label": "Sex"}]})"});
//
//   Arrow type                                        variable
//   integers, bool, floating point, decimals, null    number
//   date32, date64                                    number with the format DATE
//   timestamp                                         number with the format DATETIME; with a zone, the time in UTC
//   time32, time64, duration                          number with the format TIME
//   utf8, large_utf8, utf8_view                       text
//   a dictionary of any of these                      what its values are
//
// A null is system-missing in a number, and blanks in a text. Blanks at the end of a text do not count, as everywhere.
// Any other type, and nested ones, are refused.
//
// What a value would lose is refused, too: an integer or a decimal with more digits than a double, a time between two
// doubles (unless `roundTimes`), the number that stands for system-missing, a text of more than 32,767 bytes, or of more
// than its variable has, a text that is not UTF-8. The error names the column and the row, counted from 0.
//
// What the dictionary of the new file says of a variable comes, member by member, from the first of these that has it:
//
//   1. `dictionary`, a JSON object as `datasrc info --json` prints it, of which any member may be omitted; variables
//      are found by name
//   2. the metadata that ExportArrowStream stores in the field and in the schema, as far as it fits the column
//   3. the Arrow type
//
// A text has the width that `dictionary` says. Otherwise it is as wide as the widest value, and at least as the metadata
// say; the cases then wait in a temp file until the widest is known.
//
// Value labels: where the variable has value labels, texts of the column that are labels become the values. This undoes
// the option `labels` of the export. For a text variable, only the texts of Arrow dictionaries are labels. A text that is
// no label stands for itself; in a numeric variable it has to be a number. A label that several values share is refused.
//
// Threads: any, one stream at a time each. Text of the process must be in the UTF-8 mode (SetUTF8mode), and while a
// stream is appended to a file in another encoding, no other thread may work with text.

#ifndef DATASRC_ARROWIMPORT_H
#define DATASRC_ARROWIMPORT_H

#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/ArrowAbi.h"

// What the stream has and no system file can hold, or a failure that the stream reports.
class DATASRC_API ArrowImportError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ArrowWriteOptions {
  std::string dictionary = {};  // see above; empty for none
  int compression = 1;          // 0 none, 1 byte codes, 2 zlib
  ExtNameStr password = {};     // encrypts the file; empty for none
  bool roundTimes = false;      // stores the nearest number of a time that no number is
  bool sync = true;             // waits until the file is on the disk
};

struct ArrowAppendOptions {
  ExtNameStr password = {};  // of the file; empty for none
  bool roundTimes = false;   // as above
  // The encoding of the file's text, in which the new text is stored: a name of a code page (QUAVMB.h), or empty for
  // the one that the file states. Any other name is a std::invalid_argument.
  std::string encoding = {};
};

struct ArrowImportResult {
  long long rows = 0;                   // how many were written or added
  std::vector<std::string> notes = {};  // what the caller should know, for example of time zones; in plain English
};

// Both functions take the stream: they release it, also when they throw. They throw ArrowImportError; QuavServerError
// for faults of the file and of temp files, and std::runtime_error for files that cannot be made.

// Makes a system file in UTF-8. It gets its name when it is complete; until then nothing changes under `path`. An old file
// that may not be written is not replaced.
DATASRC_API ArrowImportResult WriteArrowStream(ArrowArrayStream* stream, const std::string& path,
                                               const ArrowWriteOptions& options = {});
// Adds the rows as cases to a system file. The stream has a column for each variable, in any order, found by name without
// regard to case. All rows wait in a temp file until each was found to fit, so a row that does not fit leaves the file as
// it was. Other programs of this project that want to change the file wait meanwhile.
DATASRC_API ArrowImportResult AppendArrowStream(ArrowArrayStream* stream, const std::string& path,
                                                const ArrowAppendOptions& options = {});

#endif
