#include "Columns/arrow/ArrowTimes.h"

#include <chrono>
#include <cmath>
#include <limits>

namespace {

constexpr std::chrono::sys_days kDayZero = std::chrono::year(1582) / 10 / 14;
static_assert(kDaysBefore1970 == -kDayZero.time_since_epoch().count());
constexpr std::int64_t kMicroseconds = 1'000'000;  // of a second
// Beyond it the microseconds do not fit into 63 bits.
constexpr double kMostSeconds = static_cast<double>(std::numeric_limits<std::int64_t>::max() / kMicroseconds);

}  // namespace

std::optional<std::int32_t> DaysSince1970(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (std::fmod(value, double{kSecondsPerDay}) != 0) return std::nullopt;  // NaN, too, and what comes of infinity
  const double days = value / kSecondsPerDay - double{kDaysBefore1970};
  if (days < double{Limits::min()} || days > double{Limits::max()}) return std::nullopt;
  return static_cast<std::int32_t>(days);
}

// The fraction is rounded by itself. All microseconds of today have more than 53 bits, so that a product with the whole
// value would round to even ones.
std::optional<std::int64_t> Microseconds(double seconds) {
  if (!(std::abs(seconds) < kMostSeconds)) return std::nullopt;
  const double whole = std::trunc(seconds);
  const auto fraction = static_cast<std::int64_t>(std::round((seconds - whole) * double{kMicroseconds}));
  const std::int64_t microseconds = static_cast<std::int64_t>(whole) * kMicroseconds + fraction;
  if (ValueOfMicroseconds(microseconds) != seconds) return std::nullopt;
  return microseconds;
}

std::optional<std::int64_t> MicrosecondsSince1970(double value) {
  const std::optional<std::int64_t> since1582 = Microseconds(value);
  constexpr std::int64_t kBefore = kDaysBefore1970 * kSecondsPerDay * kMicroseconds;
  std::int64_t since1970 = 0;
  if (!since1582 || __builtin_sub_overflow(*since1582, kBefore, &since1970)) return std::nullopt;
  return since1970;
}

double ValueOfMicroseconds(std::int64_t microseconds) {
  const std::int64_t whole = microseconds / kMicroseconds;
  const std::int64_t fraction = microseconds % kMicroseconds;
  return static_cast<double>(whole) + static_cast<double>(fraction) / double{kMicroseconds};
}
