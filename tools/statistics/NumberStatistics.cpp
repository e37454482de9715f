#include "tools/statistics/NumberStatistics.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace tool {

namespace {

// So many other values of a variable without labels are counted: these tables stay in the processor's cache.
constexpr std::size_t kMostCounted = 1024;

constexpr auto kSmallBits = [] {
  std::array<std::uint64_t, 256> bits{};
  for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = std::bit_cast<std::uint64_t>(static_cast<double>(i));
  return bits;
}();

// Returns the low byte of the number if it is a small whole number, otherwise any byte. The sum has the digits of a
// small number at its end.
inline std::size_t LowByte(double number) {
  constexpr double kTwoTo52 = 4503599627370496.0;
  return std::bit_cast<std::uint64_t>(number + kTwoTo52) & 0xFF;
}

bool IsBefore(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return !std::isnan(a) && std::isnan(b);
  if (a != b) return a < b;
  return std::signbit(a) && !std::signbit(b);
}

std::uint64_t Bits(double number) { return NumberCell(number).bits; }

}  // namespace

NumberStatistics::NumberStatistics(const QUAV_Variable& variable, bool hasLabels, NumberLabels labels)
    : m_missing(variable), m_hasLabels(hasLabels), m_labels(std::move(labels)) {
  static_assert(kSmallBits.size() == kSmallNumbers);
}

void NumberStatistics::Add(const double* numbers, const double* weights, std::size_t rows) {
  if (weights != nullptr && m_weights.empty()) m_weights.resize(kSlots);
  for (std::size_t start = 0; start < rows; start += kChunk) {
    const std::size_t count = std::min(kChunk, rows - start);
    if (weights == nullptr)
      AddChunk(numbers + start, count);
    else
      AddWeightedChunk(numbers + start, weights + start, count);
  }
}

// No branch depends on the number: which values are small, and which missing, is often anybody's guess.
inline std::size_t NumberStatistics::SlotOf(double number) {
  const std::size_t small = LowByte(number);
  const std::size_t isSmall{kSmallBits[small] == Bits(number)};
  const std::size_t other = kOther + std::size_t{Bits(number) == kSystemMissingBits};
  return other ^ ((other ^ small) & (std::size_t{0} - isSmall));
}

// Counts each row as if its number were small, and corrects that for the others: most columns have few or no others.
void NumberStatistics::AddChunk(const double* numbers, std::size_t rows) {
  if (m_listing == Listing::none && m_toldApart.IsOver()) return AddMeasuredChunk(numbers, rows);
  Others others;
  std::size_t count = 0;
  const auto add = [&](std::size_t lane, double number) {
    const std::size_t small = LowByte(number);
    ++m_counts[lane][small];
    others.numbers[count] = number;
    count += std::size_t{kSmallBits[small] != Bits(number)};
  };
  std::size_t row = 0;
  for (; row + kLanes <= rows; row += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) add(lane, numbers[row + lane]);
  for (; row < rows; ++row) add(0, numbers[row]);
  for (std::size_t i = 0; i < count; ++i) {
    const double number = others.numbers[i];
    --m_counts[0][LowByte(number)];  // the sum of the lanes counts
    others.numbers[others.count] = number;
    others.count += std::size_t{Bits(number) != kSystemMissingBits};
  }
  m_counts[0][kSystemMissing] += static_cast<long long>(count - others.count);
  AddOthers(others);
}

// For a variable whose values are neither counted nor told apart any more.
void NumberStatistics::AddMeasuredChunk(const double* numbers, std::size_t rows) {
  const auto isMissing = [](double number) { return Bits(number) == kSystemMissingBits; };
  const auto missing = std::count_if(numbers, numbers + rows, isMissing);
  m_counts[0][kSystemMissing] += missing;
  if (missing == 0 && m_missing.IsEmpty()) return m_measured.AddValid(numbers, nullptr, rows);
  Others others;
  for (std::size_t row = 0; row < rows; ++row) {
    others.numbers[others.count] = numbers[row];
    others.count += std::size_t{!isMissing(numbers[row])};
  }
  m_measured.Add(others, *this);
}

void NumberStatistics::AddWeightedChunk(const double* numbers, const double* weights, std::size_t rows) {
  Others others;
  std::size_t count = 0;
  for (std::size_t row = 0; row < rows; ++row) {
    const std::size_t slot = weights[row] > 0 ? SlotOf(numbers[row]) : kUnweighted;
    ++m_counts[row % kLanes][slot];
    m_weights[slot].Add(weights[row]);
    others.numbers[count] = numbers[row];
    others.weights[count] = weights[row];
    count += std::size_t{slot == kOther};
  }
  others.count = count;
  AddOthers(others);
}

void NumberStatistics::AddOthers(Others& others) {
  if (others.count == 0) return;
  if (m_listing != Listing::none) CountOthers(others);
  if (others.count == 0) return;
  m_toldApart.Add(others.count, [&](std::size_t i) { return NumberKey{Bits(others.numbers[i])}; });
  m_measured.Add(others, *this);
}

// Counts the values that are listed, and leaves the others.
void NumberStatistics::CountOthers(Others& others) {
  std::size_t left = 0;
  for (std::size_t i = 0; i < others.count; ++i) {
    const NumberKey key{Bits(others.numbers[i])};
    const std::uint32_t place = m_listing == Listing::all ? m_listed.Add(key) : m_listed.Find(key);
    if (place == KeyTable<NumberKey>::kNone) {
      others.numbers[left] = others.numbers[i];
      others.weights[left++] = others.weights[i];
      continue;
    }
    if (place == m_listedCounts.size()) m_listedCounts.emplace_back();
    ++m_listedCounts[place].n;
    if (IsWeighted()) m_listedCounts[place].weight.Add(others.weights[i]);
  }
  others.count = left;
  const auto most = m_hasLabels ? static_cast<std::size_t>(kMostDistinctValues) : kMostCounted;
  if (m_listing == Listing::all && m_listed.Size() > most) EndListing();
}

// Lists only values with a label from now on. The others are measured, and told apart.
void NumberStatistics::EndListing() {
  const KeyTable<NumberKey> keys = std::exchange(m_listed, {});
  const std::vector<Count> counts = std::exchange(m_listedCounts, {});
  for (const auto& [number, label] : m_labels) m_listed.Add({Bits(number)});
  m_listedCounts.resize(m_listed.Size());
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const NumberKey key = keys.Keys()[i];
    const std::uint32_t place = m_listed.Find(key);
    if (place != KeyTable<NumberKey>::kNone) {
      m_listedCounts[place] = counts[i];
    } else {
      const double number = CellNumber({key.bits});
      m_measured.Add(number, counts[i], *this);
      m_toldApart.Add(key);
    }
  }
  m_listing = m_listed.Size() == 0 ? Listing::none : Listing::labelled;
}

// ---- Figures of values that are not listed ----

void NumberStatistics::Measured::Add(const Others& others, const NumberStatistics& owner) {
  if (owner.m_missing.IsEmpty())
    return AddValid(others.numbers.data(), owner.IsWeighted() ? others.weights.data() : nullptr, others.count);
  Others valid;
  for (std::size_t i = 0; i < others.count; ++i) {
    const bool isMissing = owner.m_missing.Has(others.numbers[i]);
    valid.numbers[valid.count] = others.numbers[i];
    valid.weights[valid.count] = others.weights[i];
    valid.count += std::size_t{!isMissing};
    if (isMissing) AddMissing(1, owner.IsWeighted() ? others.weights[i] : 1);
  }
  AddValid(valid.numbers.data(), owner.IsWeighted() ? valid.weights.data() : nullptr, valid.count);
}

void NumberStatistics::Measured::AddValid(const double* numbers, const double* weights, std::size_t count) {
  n += static_cast<long long>(count);
  // No comparison holds for a NaN.
  using Pair [[gnu::vector_size(2 * sizeof(double))]] = double;
  Pair least = {min, min};
  Pair most = {max, max};
  std::size_t i = 0;
  for (; i + 2 <= count; i += 2) {
    const Pair pair = {numbers[i], numbers[i + 1]};
    least = pair < least ? pair : least;
    most = pair > most ? pair : most;
  }
  min = std::min(least[0], least[1]);
  max = std::max(most[0], most[1]);
  if (i < count) {
    min = numbers[i] < min ? numbers[i] : min;
    max = numbers[i] > max ? numbers[i] : max;
  }
  moments.Add(numbers, weights, count);
}

void NumberStatistics::Measured::Add(double number, const Count& count, const NumberStatistics& owner) {
  if (count.n == 0) return;
  const double weight = owner.WeightOf(count);
  if (owner.m_missing.Has(number)) return AddMissing(count.n, weight);
  n += count.n;
  min = number < min ? number : min;
  max = number > max ? number : max;
  moments.Add(&number, &weight, 1);
}

void NumberStatistics::Measured::AddMissing(long long count, double weight) {
  userMissing += count;
  missingWeight.Add(weight);
}

// ---- Result ----

double NumberStatistics::WeightOf(const Count& count) const {
  return IsWeighted() ? count.weight.Value() : static_cast<double>(count.n);
}

NumberStatistics::Count NumberStatistics::SlotCount(std::size_t slot) const {
  Count count;
  for (const auto& lane : m_counts) count.n += lane[slot];
  if (IsWeighted()) count.weight = m_weights[slot];
  return count;
}

VariableStatistics NumberStatistics::Result() const {
  Measured all = m_measured;
  const std::optional<std::size_t> toldApart = m_toldApart.Count();
  auto distinct = static_cast<long long>(toldApart.value_or(0));
  ForEachCount([&](double number, const Count& count) {
    all.Add(number, count, *this);
    distinct += count.n != 0;
  });
  VariableStatistics result;
  result.n = all.n;
  result.systemMissing = SlotCount(kSystemMissing).n;
  result.userMissing = all.userMissing;
  result.weight = all.moments.Weight();
  result.missingWeight = all.missingWeight.Value() + WeightOf(SlotCount(kSystemMissing));
  if (all.min <= all.max) {
    result.min = all.min;
    result.max = all.max;
  }
  result.mean = all.moments.Mean();
  result.deviation = all.moments.Deviation();
  result.sum = all.moments.Sum();
  if (toldApart && distinct <= kMostDistinctValues) result.distinct = distinct;
  if (m_hasLabels || (result.distinct && *result.distinct <= static_cast<long long>(kMostListedValues)))
    result.values = Values(!result.distinct);
  return result;
}

template <class Visitor>
void NumberStatistics::ForEachCount(Visitor visit) const {
  for (std::size_t small = 0; small < kSmallNumbers; ++small) visit(static_cast<double>(small), SlotCount(small));
  for (std::size_t i = 0; i < m_listedCounts.size(); ++i)
    visit(CellNumber({m_listed.Keys()[i].bits}), m_listedCounts[i]);
}

std::vector<ValueCount> NumberStatistics::Values(bool onlyLabelled) const {
  std::vector<ValueCount> values;
  KeyTable<NumberKey> labelled;  // numbers the labels
  std::vector<bool> isSeen;
  for (const auto& [number, label] : m_labels) labelled.Add({Bits(number)});
  isSeen.resize(labelled.Size());
  const auto add = [&](double number, const Count& count, std::uint32_t label) {
    ValueCount& value = values.emplace_back();
    value.number = number;
    value.n = count.n;
    value.weighted = WeightOf(count);
    value.isMissing = m_missing.Has(number);
    if (label != KeyTable<NumberKey>::kNone) value.label = m_labels[label].second;
  };
  ForEachCount([&](double number, const Count& count) {
    const std::uint32_t label = labelled.Find({Bits(number)});
    if (count.n == 0 || (onlyLabelled && label == KeyTable<NumberKey>::kNone)) return;
    if (label != KeyTable<NumberKey>::kNone) isSeen[label] = true;
    add(number, count, label);
  });
  for (std::uint32_t label = 0; label < m_labels.size(); ++label)
    if (!isSeen[label]) add(m_labels[label].first, {}, label);
  std::ranges::sort(values, IsBefore, &ValueCount::number);
  return values;
}

}  // namespace tool
