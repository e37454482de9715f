// Checks a system file from its first byte to its last, and gives out what is whole of a damaged one.
//
//   const VerifiedFile found = VerifySystemFile(ExtNameStr("survey.quav"), {}, 2, visitor);
//   if (!found.faults.empty()) ...
//
// The dictionary is read by the readers that open a file, which note here what they otherwise pass over. They go on
// after an extension record whose contents are wrong. The cases are walked through to their end:
//
//   not compressed   the size of the last case; every byte is read, but no checksum could tell that one has changed
//   case codes       every group and every case is whole
//   zlib             besides, the table of blocks, and each block's head and checksums
//   encrypted        every chunk is genuine; then the plain contents, as any other file
//
// What is readable are the cases before the first fault. After damaged zlib blocks, the cases from the last of them to the
// end are readable, too: counted back from the end, it is certain where each of them begins. Cases between two damaged
// blocks are not, because nothing says where one begins.
//
// Threads: one thread opens a file while no other works with text (SystemFileDataSource.h). The function's own threads
// end with it.

#ifndef DATASRC_SYSTEMFILEVERIFICATION_H
#define DATASRC_SYSTEMFILEVERIFICATION_H

#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/Obs.h"
#include "datasrc/SystemFileDataSource.h"

struct FileFinding {
  int number = 0;  // in the message catalog
  std::string text;
  FilePlace place;        // in the plain contents of an encrypted file, but of a chunk in the file itself
  bool isRecord = false;  // whether `place` is that of a record, and has its type
  long long row = -1;     // of the case, counted from 0; -1 when it concerns none, or an unknown one
};

// Some successive cases, from the row `from` on.
struct RowGap {
  long long from = 0;
  long long to = -1;      // the row after the last; -1 when it is unknown
  bool isWithin = false;  // whether readable cases come after it
};

struct VerifiedFile {
  enum Kind { none, systemFile, encrypted };

  Kind kind = none;
  // The cases of the file. Of a damaged one those that it has by its own count, if that agrees with what was found
  // after the damage, else those that are readable.
  long long cases = 0;
  long long declaredCases = -1;  // -1: unknown
  long long readableCases = 0;
  // Both in the order of the file; those without a place are last.
  std::vector<FileFinding> faults;
  std::vector<FileFinding> warnings;
  // Which cases are not readable; in order.
  std::vector<RowGap> missing;
};

// Gets what a verification reads. The functions may throw; that ends the verification.
class VerificationVisitor {
 public:
  virtual ~VerificationVisitor() = default;
  // The dictionary was read; it lives until the end of the verification. It is in the encoding of the file, which is
  // the present one meanwhile. The second argument says what had to be left out of it, empty for nothing. Returns
  // whether Case is wanted.
  virtual bool Dictionary(SystemFileDataSource& /*dictionary*/, const std::string& /*loss*/) { return false; }
  // A readable case, in the layout of the dictionary.
  virtual void Case(const OBS* /*cells*/) {}
  // So many cases were walked through.
  virtual void Progress(long long /*cases*/) {}
};

// Throws QuavServerError 1201 when the file cannot be opened; everything else is a fault. The password is plain and
// empty for a file that is not encrypted; it is not used for such a file. `threads` is the number of threads that
// inflate blocks, at least 1.
DATASRC_API VerifiedFile VerifySystemFile(const ExtNameStr& file, const ExtNameStr& password, int threads,
                                          VerificationVisitor& visitor);

#endif
