// A failure of the tool itself, which has no number in the message catalog. A failure with a number is a
// QuavServerError.

#ifndef TOOLS_MESSAGES_TOOLERROR_H
#define TOOLS_MESSAGES_TOOLERROR_H

#include <stdexcept>
#include <string>

namespace tool {

class ToolError : public std::runtime_error {
 public:
  // `text` says what is wrong, `file` names what it concerns.
  ToolError(const std::string& text, const std::string& file) : std::runtime_error(text), m_file(file) {}

  const std::string& File() const { return m_file; }

 private:
  std::string m_file;
};

}  // namespace tool

#endif
