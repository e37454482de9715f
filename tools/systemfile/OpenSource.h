// Opens a file for a command and presents its text in UTF-8, whatever the encoding of the file.
//
// Fails as the functions of FileOpening.h do. The library's warnings go to standard error.

#ifndef TOOLS_SYSTEMFILE_OPENSOURCE_H
#define TOOLS_SYSTEMFILE_OPENSOURCE_H

#include <memory>
#include <string>
#include <string_view>

#include "Columns/dictionary/FileOpening.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"

namespace tool {

using dstext::SourceLine;

struct OpenedSource {
  SourceLine data;                   // dictionary and cases, as they are shown
  const SystemFileDataSource* file;  // the file that `data` presents; `data` owns it
};

// "-" is standard input. The password is empty for a file that is not encrypted; there it is a warning and not used.
OpenedSource OpenSource(const std::string& file, const ExtNameStr& password);
// Opens a file with cases, widths and text as they are stored. Only the names of variables are in UTF-8, so that they
// can be compared.
OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password);
// Returns the password, or an empty one and warns when the file is not encrypted.
ExtNameStr PasswordFor(const std::string& file, const ExtNameStr& password);
void WarnOfPassword(const std::string& file);
// Returns true when a file begins like an encrypted one. Standard input goes by its path (StandardInput.h).
bool IsEncrypted(const std::string& file);
// Returns true when these are the first bytes of a system file, plain or encrypted.
bool IsSystemFileStart(std::string_view bytes);

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
