// A data source as an ArrowArrayStream, for every program that takes one.
//
//   ArrowArrayStream stream;
//   ExportArrowStream(source, {}, &stream);
//
//   column                                   Arrow type
//   a number                                 double
//   a number with a date or time format,     date32, timestamp[us] without a zone, or duration[us]
//   with typedDates
//   a text                                   utf8; large_utf8 where a batch may have 2 GiB of it
//   either with value labels, with labels    dictionary of utf8, with 32-bit indexes
//
// Numbers are not copied beyond the batches of ColumnReader; nor are texts. System-missing is null.
//
// typedDates: formats that show a date give date32, those with a date and a time of day timestamp[us], times and days
// with a time duration[us]. Weekdays and months stay numbers. A value that the type cannot hold without loss ends the
// stream with an error that names the column and the row: only the whole column can say whether there is one, so it is
// the caller's choice.
//
// labels: the values become indexes into a dictionary of their labels, in the order of the values. A value without a
// label is added to the dictionary as its own text when it first occurs, so the dictionary of a later batch may be
// longer; what it begins with is the same. Labels that several values share occur once.
//
// Metadata: the schema has what `datasrc info --json` prints about the file, and each field what it prints about the
// variable, as JSON under one key each. Extension blocks that the library only keeps are in the schema, too
// (docs/columns.md has the forms).
//
// Threads: one thread at a time for each stream. The stream and its arrays may be released on any thread.

#ifndef DATASRC_ARROWSTREAM_H
#define DATASRC_ARROWSTREAM_H

#include <memory>

#include "Platform/Export.h"
#include "datasrc/ArrowAbi.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/QUAV_DataSource.h"

inline constexpr char kArrowFileKey[] = "datasrc.file";
inline constexpr char kArrowVariableKey[] = "datasrc.variable";
inline constexpr char kArrowExtensionsKey[] = "datasrc.extensions";

struct ArrowExportOptions {
  // Here 0 rows per batch take 65,536, or fewer where their cells have more than 4 MiB: who takes a stream keeps its arrays,
  // and works faster with fewer of them.
  ColumnReaderOptions reading = {};
  bool typedDates = false;
  bool labels = false;
};

// Makes a stream of the source. The stream keeps the source, and its arrays keep their memory, until they are released;
// a source may have any number of streams. Throws what the constructor of ColumnReader throws; `stream` is then
// unchanged.
//
// The operations of the stream return 0, or an errno value: EIO for a fault of the file, EINVAL for a value that the
// type cannot hold, ENOMEM. get_last_error then has the text, with the number of the catalog where there is one.
DATASRC_API void ExportArrowStream(std::shared_ptr<const QUAV_DataSource> source, const ArrowExportOptions& options,
                                   ArrowArrayStream* stream);

#endif
