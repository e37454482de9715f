#include "tools/text/Color.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace tool {

namespace {

ColorMode& PresentMode() {
  static ColorMode mode = ColorMode::automatic;
  return mode;
}

std::string_view Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

bool IsUsed(int descriptor) {
  if (PresentMode() != ColorMode::automatic) return PresentMode() == ColorMode::always;
  return Variable("NO_COLOR").empty() && Variable("TERM") != "dumb" && isatty(descriptor) == 1;
}

}  // namespace

void SetColorMode(ColorMode mode) { PresentMode() = mode; }

Color::Color(int descriptor) : m_isUsed(IsUsed(descriptor)) {}

std::size_t TerminalWidth(int descriptor) {
  if (isatty(descriptor) != 1) return 0;
  const std::string_view text = Variable("COLUMNS");
  std::size_t columns = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), columns);
  if (parsed.ec == std::errc() && parsed.ptr == text.data() + text.size() && columns != 0) return columns;
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace tool
