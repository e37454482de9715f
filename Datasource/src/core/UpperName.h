// The form of a name that look-ups compare: upper case, at most 128 bytes. Variables keep theirs.

#ifndef DATASRC_SRC_CORE_UPPERNAME_H
#define DATASRC_SRC_CORE_UPPERNAME_H

#include <array>
#include <string>
#include <string_view>

#include "Platform/text/QUAVMB.h"

inline constexpr int kUpperNameSize = 128;

inline std::string UpperName(std::string_view name) {
  std::array<char, kUpperNameSize> upper;
  const int length = QUAVMBMvUpper_A(upper.data(), kUpperNameSize, name.data(), static_cast<int>(name.size()), nullptr);
  return {upper.data(), static_cast<std::size_t>(length)};
}

// The same of a name that is sought: its trailing blanks do not count, but its first character always does.
inline std::string SoughtUpperName(std::string_view name) {
  while (name.size() > 1 && name.back() == ' ') name.remove_suffix(1);
  return UpperName(name);
}

#endif
