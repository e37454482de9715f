// Colours for text on a terminal, by the escape sequences that all terminals of today know.
//
//   const Color color(STDOUT_FILENO);
//   out += color.Bold() + name + color.Plain();
//
// Threads: SetColorMode before any other thread starts; else any.

#ifndef TOOLS_TEXT_COLOR_H
#define TOOLS_TEXT_COLOR_H

#include <string>

namespace tool {

enum class ColorMode { automatic, always, never };

// For the whole process; automatic at first.
void SetColorMode(ColorMode mode);

class Color {
 public:
  // Automatic means that the descriptor is a terminal which is not dumb, and that NO_COLOR is not set or empty.
  explicit Color(int descriptor);

  // Each begins a style; Plain ends it. All are empty without colours.
  std::string Bold() const { return Style("1"); }
  std::string Faint() const { return Style("2"); }
  std::string Red() const { return Style("31"); }
  std::string Green() const { return Style("32"); }
  std::string Yellow() const { return Style("33"); }
  std::string Plain() const { return Style("0"); }

 private:
  std::string Style(const char* code) const { return m_isUsed ? std::string("\x1b[") + code + "m" : std::string(); }

  bool m_isUsed;
};

// Returns the columns of the terminal: by COLUMNS if that is a number, else by the terminal itself. Returns 0 when the
// descriptor is no terminal.
std::size_t TerminalWidth(int descriptor);

}  // namespace tool

#endif
