#include "Columns/arrow/ArrowTimes.h"

#include <chrono>
#include <cmath>
#include <limits>

namespace {

constexpr std::chrono::sys_days kDayZero = std::chrono::year(1582) / 10 / 14;
static_assert(kDaysBefore1970 == -kDayZero.time_since_epoch().count());
constexpr std::int64_t kMicroseconds = 1'000'000;  // of a second
constexpr double kMostSeconds = 1e13;  // more than 63 bits of microseconds, from any day

// The fraction is rounded by itself. All microseconds of today have more than 53 bits, so that a product with the whole
// value would round to even ones.
std::optional<std::int64_t> MicrosecondsAfter(std::int64_t second, double value) {
  if (!(std::abs(value) < kMostSeconds)) return std::nullopt;
  const double whole = std::trunc(value);
  const auto fraction = static_cast<std::int64_t>(std::round((value - whole) * double{kMicroseconds}));
  if (whole + static_cast<double>(fraction) / double{kMicroseconds} != value) return std::nullopt;
  std::int64_t microseconds = static_cast<std::int64_t>(whole) - second;
  if (__builtin_mul_overflow(microseconds, kMicroseconds, &microseconds)) return std::nullopt;
  if (__builtin_add_overflow(microseconds, fraction, &microseconds)) return std::nullopt;
  return microseconds;
}

}  // namespace

std::optional<std::int32_t> DaysSince1970(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (std::fmod(value, double{kSecondsPerDay}) != 0) return std::nullopt;  // NaN, too, and what comes of infinity
  const double days = value / kSecondsPerDay - double{kDaysBefore1970};
  if (days < double{Limits::min()} || days > double{Limits::max()}) return std::nullopt;
  return static_cast<std::int32_t>(days);
}

std::optional<std::int64_t> Microseconds(double seconds) { return MicrosecondsAfter(0, seconds); }

std::optional<std::int64_t> MicrosecondsSince1970(double value) {
  return MicrosecondsAfter(kDaysBefore1970 * kSecondsPerDay, value);
}
