// A failure without a number in the message catalog, about a file. A failure with a number is a QuavServerError.

#ifndef COLUMNS_FILES_FILEFAILURE_H
#define COLUMNS_FILES_FILEFAILURE_H

#include <stdexcept>
#include <string>

namespace dstext {

class FileFailure : public std::runtime_error {
 public:
  // `text` says what is wrong, `file` names what it concerns.
  FileFailure(const std::string& text, const std::string& file) : std::runtime_error(text), m_file(file) {}

  const std::string& File() const { return m_file; }

 private:
  std::string m_file;
};

}  // namespace dstext

#endif
