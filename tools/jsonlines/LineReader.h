// Reads a text line by line, and counts the lines. Blank lines at the end are left out.
//
// Threads: one thread at a time.

#ifndef TOOLS_JSONLINES_LINEREADER_H
#define TOOLS_JSONLINES_LINEREADER_H

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tools/files/InputBytes.h"
#include "tools/files/InputWindow.h"

namespace tool {

inline constexpr std::size_t kLongestLine = std::size_t{1} << 30;  // in bytes; longer than the largest possible case
inline constexpr std::string_view kBlanks = " \t\r\n";             // of JSON
inline constexpr char kTooLongLine[] = "the line is longer than any case can be";

inline bool IsBlank(std::string_view text) { return text.find_first_not_of(kBlanks) == std::string_view::npos; }

// Says why a line could not be parsed. A number beyond the range of a double is valid JSON, too.
std::string ParseTrouble(std::size_t position, const nlohmann::detail::exception& error);

class LineReader {
 public:
  // The input outlives this object and is at its start.
  explicit LineReader(InputBytes& input) : m_input(input), m_window(input) {}

  // Goes to the next line. Returns false at the end. Throws ToolError for a line that is longer than any case can be.
  bool Next();
  // The line without its line feed, valid until the next call of Next.
  std::string_view Text() const { return m_text; }
  // Its number, from 1.
  long long Number() const { return m_number; }
  // Throws a ToolError with the number of the line.
  [[noreturn]] void Fail(const std::string& text) const;

 private:
  bool FindLine();
  bool IsBlankToTheEnd();

  InputBytes& m_input;
  InputWindow m_window;
  std::string_view m_text;
  std::size_t m_size = 0;  // bytes of the line with its line feed
  long long m_number = 0;
};

}  // namespace tool

#endif
