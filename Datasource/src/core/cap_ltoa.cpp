#include "core/cap_ltoa.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "Platform/Assert.h"

char* cap_ltoa(long value, char* out, unsigned radix) {
  constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  QUAV_ASSERT(radix <= kDigits.size(), "Radix <= 36");
  const bool isNegative = radix == 10 && value < 0;
  auto rest = static_cast<unsigned long>(value);
  if (isNegative) rest = 0 - rest;
  std::string text;
  do text += kDigits[rest % radix];
  while ((rest /= radix) != 0);
  if (isNegative) text += '-';
  char* const end = std::ranges::reverse_copy(text, out).out;
  *end = '\0';
  return out;
}
