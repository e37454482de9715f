// Opens a file for a command, its text in UTF-8 whatever the file has it in.
//
// A file with a record that would end the process is refused with error 1204 before it is opened (SystemFileCheck.h). A
// system file is read by position, so what is no regular file is refused with error 1201. Everything else is as the
// library reports it, by QuavServerError. Its warnings go to standard error.

#ifndef TOOLS_SYSTEMFILE_OPENSOURCE_H
#define TOOLS_SYSTEMFILE_OPENSOURCE_H

#include <memory>
#include <string>

#include "Platform/stream/ExtNameStr.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"

namespace tool {

// A source with all that it is a view of.
using SourceLine = std::unique_ptr<const QUAV_DataSource, LineDeleter>;

struct OpenedSource {
  SourceLine data;                   // dictionary and cases, as they are shown
  const SystemFileDataSource* file;  // the file behind them; lives as long as `data`
};

// The password is empty for a file that is not encrypted.
OpenedSource OpenSource(const std::string& file, const ExtNameStr& password);
// The same with cases, widths and text as they stand in the file: only the names of variables are in UTF-8, so that
// they can be compared.
OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password);
// Whether a file begins as an encrypted one does.
bool IsEncrypted(const std::string& file);

// Warnings of the library about a file, on standard error.
class Warnings : public ErrorMonitor {
 public:
  explicit Warnings(const std::string& file) : m_file(file) {}
  void Warning(const Message& message) override;

 private:
  std::string m_file;
};

}  // namespace tool

#endif
