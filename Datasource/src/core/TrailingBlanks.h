// Text without the blanks that fill its field.

#ifndef DATASRC_SRC_CORE_TRAILINGBLANKS_H
#define DATASRC_SRC_CORE_TRAILINGBLANKS_H

#include <string_view>

inline std::string_view WithoutTrailingBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

#endif
