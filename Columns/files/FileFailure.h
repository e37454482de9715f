// What fails with files. A failure with a number in the message catalog is a QuavServerError; the number stands here when
// several rooms use it. FileFailure has no number.

#ifndef COLUMNS_FILES_FILEFAILURE_H
#define COLUMNS_FILES_FILEFAILURE_H

#include <stdexcept>
#include <string>

namespace dstext {

inline constexpr int kCannotOpen = 1201;

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
