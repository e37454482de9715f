// Collects what differs between two data sets, as lines for people.
//
// Threads: one thread at a time.

#ifndef TOOLS_DIFF_DIFFERENCES_H
#define TOOLS_DIFF_DIFFERENCES_H

#include <string>

#include "tools/text/Color.h"

namespace tool {

class Differences {
 public:
  // The lines are appended to `out`, which outlives this object.
  Differences(std::string& out, const Color& color) : m_out(out), m_color(color) {}

  // Adds the line "TITLE: FIRST -> SECOND". Both are text from OneLine.
  void Add(const std::string& title, const std::string& first, const std::string& second) {
    m_isAny = true;
    m_out += m_color.Bold() + title + m_color.Plain() + ": " + m_color.Red() + first + m_color.Plain() + " -> " +
             m_color.Green() + second + m_color.Plain() + "\n";
  }
  // Adds the line "TITLE: TEXT".
  void Add(const std::string& title, const std::string& text) {
    m_isAny = true;
    m_out += m_color.Bold() + title + m_color.Plain() + ": " + text + "\n";
  }

  bool IsAny() const { return m_isAny; }

 private:
  std::string& m_out;
  const Color& m_color;
  bool m_isAny = false;
};

}  // namespace tool

#endif
