// The form of a name that look-ups compare: upper case, at most 128 bytes. Variables store theirs.

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

// Returns this form of a name to look up. Trailing blanks do not count, but the first character always does.
inline std::string SoughtUpperName(std::string_view name) {
  while (name.size() > 1 && name.back() == ' ') name.remove_suffix(1);
  return UpperName(name);
}

#endif
