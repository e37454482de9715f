// Writes the code book of a file as one HTML page: what is in the file, then each variable with its label, format, missing
// values and figures, its values with their labels, counts and bars, or its histogram, then documents, sets and
// attributes.
//
// The page has at most 50 KB and 2 KB for each variable, unless its texts are long: tables of values show those that most
// cases have when there is no room for all.
//
// Threads: one thread at a time.

#ifndef TOOLS_REPORT_CODEBOOK_H
#define TOOLS_REPORT_CODEBOOK_H

#include <string>
#include <vector>

#include "tools/files/Output.h"
#include "tools/statistics/Histogram.h"
#include "tools/statistics/Statistics.h"

namespace tool {

struct CodeBookContents {
  const OpenedSource& source;
  const Statistics& statistics;              // of all variables
  const std::vector<Histogram>& histograms;  // one for each variable
  std::string fileName;                      // as it is shown
};

void WriteCodeBook(const CodeBookContents& contents, Output& output);

}  // namespace tool

#endif
