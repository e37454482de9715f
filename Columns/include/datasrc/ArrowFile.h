// The Arrow IPC file format (".arrow"): an ArrowArrayStream as a file, and a file as an ArrowArrayStream.
//
//   ArrowArrayStream stream;
//   ExportArrowStream(source, {.typedDates = true}, &stream);
//   WriteArrowFile(&stream, [&out](std::string_view bytes) { out.write(bytes.data(), bytes.size()); });
//
// Format: the columnar format of Apache Arrow, "Serialization and Interprocess Communication", version V5 of the
// metadata, little-endian. Columns/arrowfile/ArrowMessages.fbs has the messages.
//
// Threads: one thread at a time for each stream.

#ifndef DATASRC_ARROWFILE_H
#define DATASRC_ARROWFILE_H

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Platform/Export.h"
#include "datasrc/ArrowAbi.h"

// What an Arrow file cannot hold, or a failure that the stream reports, with its text.
class DATASRC_API ArrowFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Writes the rows of a stream with the types of ExportArrowStream as a file: its bytes go to `write` in their order. The
// memory is that of one batch. The schema and its fields keep their metadata. Takes the stream: releases it, also when it
// throws. Throws ArrowFileError, and what `write` throws. The file is complete when the function returns.
//
// The dictionaries come after the batches, because a stream may add to them until its end.
DATASRC_API void WriteArrowFile(ArrowArrayStream* stream, const std::function<void(std::string_view)>& write);

// Opens a file in the IPC file format, or in the streaming format, as a stream. The memory is that of one batch and of the
// dictionaries. Nothing of the file is trusted: what is malformed ends the stream with an error that says what is wrong.
// Compressed bodies, big-endian numbers, nested and binary types are refused. Throws QuavServerError 1201 for a file that
// cannot be opened, and ArrowFileError for what is no Arrow file; `stream` is then unchanged.
DATASRC_API void OpenArrowFile(const std::string& path, ArrowArrayStream* stream);

#endif
