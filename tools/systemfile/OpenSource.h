// Opens a file for a command and presents its text in UTF-8, whatever the encoding of the file.
//
// A file with a record that would end the process is refused with error 1204 before it is opened (SystemFileCheck.h). A
// system file is read by position, so a path that is not a regular file is refused with error 1201. All other failures
// are the library's, thrown as QuavServerError. The library's warnings go to standard error.

#ifndef TOOLS_SYSTEMFILE_OPENSOURCE_H
#define TOOLS_SYSTEMFILE_OPENSOURCE_H

#include <memory>
#include <string>

#include "Platform/stream/ExtNameStr.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"

namespace tool {

// A source, which owns the sources that it is a view of.
using SourceLine = std::unique_ptr<const QUAV_DataSource, LineDeleter>;

struct OpenedSource {
  SourceLine data;                   // dictionary and cases, as they are shown
  const SystemFileDataSource* file;  // the file that `data` presents; `data` owns it
};

// The password is empty for a file that is not encrypted.
OpenedSource OpenSource(const std::string& file, const ExtNameStr& password);
// Opens a file with cases, widths and text as they are stored. Only the names of variables are in UTF-8, so that they
// can be compared.
OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password);
// Returns true when a file begins like an encrypted one.
bool IsEncrypted(const std::string& file);

// Prints the library's warnings about a file on standard error.
class Warnings : public ErrorMonitor {
 public:
  explicit Warnings(const std::string& file) : m_file(file) {}
  void Warning(const Message& message) override;

 private:
  std::string m_file;
};

}  // namespace tool

#endif
