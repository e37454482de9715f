// Opens the files of strangers: whatever such a file contains, it is opened or refused with an error.
//
// A file with a record that would end the process is refused with error 1204 before it is opened (SystemFileCheck.h). A
// system file is read by position, so a path that is not a regular file is refused with error 1201. All other failures
// are the library's, thrown as QuavServerError.
//
// A file states its encoding as the number of a code page. A caller who knows that it is another one, or that the file
// states none, names it: the text of dictionary and cases is then taken to be in that encoding. An empty name takes what
// the file states. A name that no code page has (QUAVMB.h) is a std::invalid_argument with the name in its text.
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

// Opens a file with its text in the process's encoding, as GetSystemFile does. The password is empty for a file that is
// not encrypted; the monitor may be null. With a named encoding the monitor gets the warnings of a view only.
SourceLine OpenInPresentEncoding(const std::string& file, const ExtNameStr& password, ErrorMonitor* monitor,
                                 const std::string& encoding = {});
// Opens a file with names, cases, widths and text as they are stored.
std::unique_ptr<SystemFileDataSource> OpenAsStored(const std::string& file, const ExtNameStr& password,
                                                   const std::string& encoding = {});

// Returns true if the file has variables only after other records. They get no cells then, and the library returns empty
// cases forever.
bool LacksCells(const SystemFileDataSource& file);

}  // namespace dstext

#endif
