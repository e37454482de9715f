// Documents: notes on a data set, blocks of short lines, each of which ends in a line that tells when it was entered.
//
//   DSDocument document;                               Year, Month, Day; AddLine for each line; AddDateLine last
//   std::vector<DSDocument> all = GetDocuments(source);
//   SaveDocuments(all, source);
//
// A data source keeps all documents as one run of lines, in its extension block of type 0: 80 bytes each, filled with
// blanks, and a line of blanks between two documents. Format: docs/system-file.md, "Document record".
//
// What does not follow the form ends the process by an assertion, also when it came from a file: a run of lines that
// are not whole, and a date line with no date.
//
// A document is a handle; copies share a body until one of them sets a date or takes a line for writing. Deliberate:
// AddLine does not separate them, so a line added to one shows in all.
//
// Threads: one thread at a time for all handles on one body.

#ifndef DATASRC_DSDOCUMENT_H
#define DATASRC_DSDOCUMENT_H

#include <string>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/RefCountPtr.h"

class DATASRC_API DSDocument {
 public:
  // Without lines, of 1 January of the year 0.
  DSDocument();
  DSDocument(const DSDocument& other);
  DSDocument& operator=(const DSDocument& other);
  ~DSDocument();

  int Year() const;
  int Month() const;
  int Day() const;
  // A year below 64 is of the 2000s, one from 64 to 99 of the 1900s.
  void Year(int year);
  // 1 to 12, and 1 to 31, which is asserted.
  void Month(int month);
  void Day(int day);

  // The number of lines; the date line is the last.
  int Size() const;
  // At most 80 bytes, which is asserted.
  void AddLine(const std::string& line);
  // Asserts that there is such a line.
  const std::string& operator[](int which) const;
  std::string& operator[](int which);

  bool operator==(const DSDocument& other) const;
  // By date, then by the lines.
  bool operator<(const DSDocument& other) const;

 private:
  class DATASRC_LOCAL Impl;

  RefCountPtr<Impl> _my;
};

// Adds the line "   (Entered 05-Mar-2021)" with the document's date.
DATASRC_API void AddDateLine(DSDocument& document);

// The documents of the source. Their lines have all 80 bytes; lines behind the last date line are lost. Of a year only
// the last two digits count: dates are of 1964 to 2063.
DATASRC_API std::vector<DSDocument> GetDocuments(const QUAV_DataSource& source);
// In place of what the source has. Asserts that the first document has a line.
DATASRC_API void SaveDocuments(const std::vector<DSDocument>& documents, QUAV_DataSource& source);
// Sorts them, and leaves one of equal ones.
DATASRC_API void DeDup(std::vector<DSDocument>& documents);

#endif
