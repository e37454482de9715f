// A failure in a line of a text file.

#ifndef TOOLS_MESSAGES_LINEERROR_H
#define TOOLS_MESSAGES_LINEERROR_H

#include <string>

#include "tools/messages/ToolError.h"

namespace tool {

class LineError final : public ToolError {
 public:
  // `line` is counted from 1.
  LineError(const std::string& text, long long line, const std::string& file)
      : ToolError(text + " (at line " + std::to_string(line) + ")", file), m_text(text), m_line(line) {}

  long long Line() const { return m_line; }
  // Returns the same failure in a text that has so many lines before.
  LineError After(long long lines) const { return {m_text, m_line + lines, File()}; }

 private:
  std::string m_text;
  long long m_line;
};

}  // namespace tool

#endif
