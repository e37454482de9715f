// Where a case begins: a position in the case codes (CompressedSystemFile.h); without them, the bytes after row 0.

#ifndef DATASRC_SRC_SYSTEMFILE_CASEPLACE_H
#define DATASRC_SRC_SYSTEMFILE_CASEPLACE_H

#include <vector>

struct CasePlace {
  long long row = 0;
  long position = 0;
};

// Some places, in order, the first of them row 0; and where they end.
struct CasePlaces {
  std::vector<CasePlace> some;
  long long rows = 0;  // whole cases before the end of the data, or before a fault
  long length = 0;     // of the cases in their form of CasePlace
};

#endif
