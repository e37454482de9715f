#include "Columns/arrowin/NumberReaders.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "Columns/arrow/ArrowTimes.h"

namespace arrowin {

// IEEE 754 binary16: a sign, 5 bits of exponent, 10 of fraction.
std::optional<double> HalfReals::Value(std::int64_t i) const {
  constexpr int kFractionBits = 10;
  constexpr int kMostExponent = 31;
  constexpr int kBias = 15;
  const unsigned bits = m_values[i];
  const int exponent = static_cast<int>(bits >> kFractionBits & kMostExponent);
  const int fraction = static_cast<int>(bits & ((1U << kFractionBits) - 1));
  double value = 0;
  if (exponent == kMostExponent) {
    value = fraction == 0 ? std::numeric_limits<double>::infinity() : std::numeric_limits<double>::quiet_NaN();
  } else if (exponent == 0) {
    value = std::ldexp(fraction, 1 - kBias - kFractionBits);
  } else {
    value = std::ldexp(fraction + (1 << kFractionBits), exponent - kBias - kFractionBits);
  }
  return (bits >> 15) != 0 ? -value : value;
}

// ---- Decimals ----

std::string Decimals::Text(std::int64_t i) const {
  constexpr std::size_t kMostWords = 8;
  constexpr std::uint32_t kChunk = 1'000'000'000;  // 9 digits at a time
  std::array<std::uint32_t, kMostWords> words{};
  const auto size = static_cast<std::size_t>(m_wordsOfOne);
  std::copy_n(m_words + i * m_wordsOfOne, size, words.begin());
  const bool isNegative = (words[size - 1] >> 31) != 0;
  if (isNegative) {  // two's complement: all bits inverted, and one added
    std::uint64_t carry = 1;
    for (std::size_t k = 0; k < size; ++k) {
      carry += static_cast<std::uint32_t>(~words[k]);
      words[k] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
  }
  std::string digits;  // the last first
  while (std::any_of(words.begin(), words.end(), [](std::uint32_t word) { return word != 0; })) {
    std::uint64_t rest = 0;
    for (std::size_t k = size; k-- > 0;) {
      rest = rest << 32 | words[k];
      words[k] = static_cast<std::uint32_t>(rest / kChunk);
      rest %= kChunk;
    }
    for (int digit = 0; digit < 9; ++digit, rest /= 10) digits += static_cast<char>('0' + rest % 10);
  }
  digits.erase(digits.find_last_not_of('0') + 1);
  // At least one digit before the point.
  const auto decimals = static_cast<std::size_t>(std::max(m_scale, 0));
  if (digits.size() <= decimals) digits.append(decimals + 1 - digits.size(), '0');
  std::string text(isNegative ? "-" : "");
  text.append(digits.rbegin(), digits.rend());
  if (decimals != 0) text.insert(text.size() - decimals, ".");
  if (m_scale < 0 && text != "0") text.append(static_cast<std::size_t>(-m_scale), '0');
  return text;
}

std::optional<double> Decimals::Value(std::int64_t i) const {
  constexpr std::size_t kMostCharacters = 400;  // a double has at most 309 digits before the point
  const std::string text = Text(i);
  double value = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc()) return std::nullopt;
  std::array<char, kMostCharacters> back;
  const auto [end, error] =
      std::to_chars(back.data(), back.data() + back.size(), value, std::chars_format::fixed, std::max(m_scale, 0));
  if (error != std::errc() || text != std::string_view(back.data(), end)) return std::nullopt;
  return value;
}

// ---- Times ----

std::optional<double> Days::Value(std::int64_t i) const {
  return SecondsOf(std::int64_t{m_days[i]} * kSecondsPerDay, {.isSince1970 = true});
}

namespace {

__extension__ using Wide = __int128;
__extension__ using WideSize = unsigned __int128;

// Returns the double nearest to ticks / perSecond, for up to 66 bits of ticks.
double Nearest(Wide ticks, std::int64_t perSecond) {
  constexpr WideSize kMostExact = WideSize{1} << 53;  // doubles hold all whole numbers up to it
  constexpr int kShift = 60;
  const WideSize size = ticks < 0 ? -static_cast<WideSize>(ticks) : static_cast<WideSize>(ticks);
  const auto divisor = static_cast<WideSize>(perSecond);
  double seconds = 0;
  if (size <= kMostExact) {
    seconds = static_cast<double>(size) / static_cast<double>(perSecond);
  } else {
    // More bits of the quotient than a double has; the last one says whether more would follow.
    const WideSize quotient = (size << kShift) / divisor;
    const bool isInexact = quotient * divisor != size << kShift;
    seconds = std::ldexp(static_cast<double>(quotient | WideSize{isInexact}), -kShift);
  }
  return ticks < 0 ? -seconds : seconds;
}

}  // namespace

std::optional<double> SecondsOf(std::int64_t ticks, const TickUnit& unit) {
  const std::int64_t before = unit.isSince1970 ? kDaysBefore1970 * kSecondsPerDay : 0;
  const Wide all = static_cast<Wide>(before) * unit.perSecond + ticks;
  const double seconds = Nearest(all, unit.perSecond);
  if (unit.isRounded) return seconds;
  // The ticks have to come back.
  const double whole = std::trunc(seconds);
  const Wide ticksAgain =
      static_cast<Wide>(whole) * unit.perSecond + std::llround((seconds - whole) * static_cast<double>(unit.perSecond));
  if (ticksAgain != all) return std::nullopt;
  return seconds;
}

}  // namespace arrowin
