// Numbers whose decimals begin with another sign than a point.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_CSV_DECIMALMARK_H
#define TOOLS_CSV_DECIMALMARK_H

#include <string>
#include <string_view>

namespace tool {

class DecimalMark {
 public:
  explicit DecimalMark(char mark) : m_mark(mark) {}

  // Returns the text of a number with a point for the mark, and of every other number a text that is none: with the mark
  // "," the text "1.5" is no number. In times, both the mark and the point stand before fractions of a second. The result
  // is valid until the next call.
  std::string_view WithPoint(std::string_view text) {
    if (m_mark == '.') [[likely]]
      return text;
    return Exchanged(text);
  }

 private:
  std::string_view Exchanged(std::string_view text) {
    const bool isTime = text.find_first_of(":D") != text.npos;
    m_text = text;
    for (char& c : m_text) {
      if (c == m_mark) {
        c = '.';
      } else if (c == '.' && !isTime) {
        c = m_mark;
      }
    }
    return m_text;
  }

  char m_mark;
  std::string m_text;
};

}  // namespace tool

#endif
