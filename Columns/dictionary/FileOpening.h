// Opens the files of strangers: whatever such a file contains, it is opened or refused with an error.
//
// A file with a record that would end the process is refused with error 1204 before it is opened (SystemFileCheck.h). A
// system file is read by position, so a path that is not a regular file is refused with error 1201. All other failures
// are the library's, thrown as QuavServerError.
//
// Threads: one thread opens a file while no other thread works with text (SystemFileDataSource.h).

#ifndef COLUMNS_DICTIONARY_FILEOPENING_H
#define COLUMNS_DICTIONARY_FILEOPENING_H

#include <memory>
#include <string>

#include "Platform/messages/ErrorMonitor.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"

namespace dstext {

// A source, which owns the sources that it is a view of.
using SourceLine = std::unique_ptr<const QUAV_DataSource, LineDeleter>;

// Throws error 1201 for a path that exists and is not a regular file.
void RefuseIrregularFile(const std::string& file);

// Opens a file with its text in the process's encoding. The password is empty for a file that is not encrypted; the
// monitor may be null.
SourceLine OpenInPresentEncoding(const std::string& file, const ExtNameStr& password, ErrorMonitor* monitor);
// Opens a file with names, cases, widths and text as they are stored, in the encoding that it says.
std::unique_ptr<SystemFileDataSource> OpenAsStored(const std::string& file, const ExtNameStr& password);

// Returns true if the file has variables only after other records. They get no cells then, and the library returns empty
// cases forever.
bool LacksCells(const SystemFileDataSource& file);

}  // namespace dstext

#endif
