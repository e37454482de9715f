// Bytes as a person tells them, for golden files.

#ifndef TESTS_SUPPORT_TOLDBYTES_H
#define TESTS_SUPPORT_TOLDBYTES_H

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

// Bytes told as pairs of hexadecimal digits and as text in quotes; "#" begins a note that runs to the end of the line.
inline std::string BytesOf(std::string_view told) {
  std::string bytes;
  for (std::size_t i = 0; i < told.size();) {
    if (told[i] == '#') {
      i = std::min(told.find('\n', i), told.size());
    } else if (told[i] == '"') {
      const std::size_t end = told.find('"', i + 1);
      bytes += told.substr(i + 1, end - i - 1);
      i = end + 1;
    } else if (std::isxdigit(static_cast<unsigned char>(told[i]))) {
      bytes += static_cast<char>(std::stoi(std::string(told.substr(i, 2)), nullptr, 16));
      i += 2;
    } else {
      ++i;
    }
  }
  return bytes;
}

#endif
