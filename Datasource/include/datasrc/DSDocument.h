// Documents: notes on a data set. A document is a block of short lines; its last line is the date of its entry.
//
//   DSDocument document;                               Year, Month, Day; AddLine for each line; AddDateLine last
//   std::vector<DSDocument> all = GetDocuments(source);
//   SaveDocuments(all, source);
//
// A data source keeps all documents as one sequence of lines, in its extension block of type 0. Each line has 80
// bytes, filled with blanks; a line of blanks is between two documents. Format: docs/system-file.md, "Document
// record".
//
// GetDocuments asserts that the block has whole lines and that each date line has a date, also for a block from a file.
//
// A document is a handle. Copies share a body until one of them sets a date or takes a line for writing. Deliberate:
// AddLine does not separate them, so a line that is added to one copy appears in all.
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
  // Makes a document without lines, with the date 1 January of the year 0.
  DSDocument();
  DSDocument(const DSDocument& other);
  DSDocument& operator=(const DSDocument& other);
  ~DSDocument();

  int Year() const;
  int Month() const;
  int Day() const;
  // A year below 64 means 2000 + year, one from 64 to 99 means 1900 + year.
  void Year(int year);
  // Assert that the month is from 1 to 12, the day from 1 to 31.
  void Month(int month);
  void Day(int day);

  // Returns the number of lines, the date line included.
  int Size() const;
  // Adds a line at the end. Asserts that it has at most 80 bytes.
  void AddLine(const std::string& line);
  // A line, counted from 0; the reference lives until AddLine. Asserts that the line exists.
  const std::string& operator[](int which) const;
  std::string& operator[](int which);

  bool operator==(const DSDocument& other) const;
  // Compares by date, then by the lines.
  bool operator<(const DSDocument& other) const;

 private:
  class DATASRC_LOCAL Impl;

  RefCountPtr<Impl> _my;
};

// Adds the line "   (Entered 05-Mar-2021)" with the document's date.
DATASRC_API void AddDateLine(DSDocument& document);

// Returns the documents of the source. Each line has 80 bytes. The line after a date line is skipped, and lines after
// the last date line are dropped. Only the last two digits of a year count: dates are from 1964 to 2063.
DATASRC_API std::vector<DSDocument> GetDocuments(const QUAV_DataSource& source);
// Replaces the documents of the source. When there are several, asserts that the first one has a line.
DATASRC_API void SaveDocuments(const std::vector<DSDocument>& documents, QUAV_DataSource& source);
// Sorts the documents and removes duplicates.
DATASRC_API void DeDup(std::vector<DSDocument>& documents);

#endif
