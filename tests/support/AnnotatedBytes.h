// Bytes in a readable form with notes, for golden files.

#ifndef TESTS_SUPPORT_ANNOTATEDBYTES_H
#define TESTS_SUPPORT_ANNOTATEDBYTES_H

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

// Returns the bytes of a text that holds pairs of hexadecimal digits and quoted texts; "#" begins a note that runs to
// the end of the line.
inline std::string AnnotatedBytes(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == '#') {
      i = std::min(text.find('\n', i), text.size());
    } else if (text[i] == '"') {
      const std::size_t end = text.find('"', i + 1);
      bytes += text.substr(i + 1, end - i - 1);
      i = end + 1;
    } else if (std::isxdigit(static_cast<unsigned char>(text[i]))) {
      bytes += static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16));
      i += 2;
    } else {
      ++i;
    }
  }
  return bytes;
}

#endif
