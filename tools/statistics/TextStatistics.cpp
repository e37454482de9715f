#include "tools/statistics/TextStatistics.h"

#include <algorithm>
#include <array>
#include <bit>

namespace tool {

namespace {

constexpr std::size_t kMostCounted = 256;                    // texts of a variable without labels
constexpr std::size_t kMostTextSize = std::size_t{8} << 20;  // kMostListedValues of the longest texts fit
constexpr std::size_t kMostLabelledTextSize = std::size_t{32} << 20;

template <class Number>
std::uint64_t Load(const char* bytes) {
  std::array<char, sizeof(Number)> number;
  std::copy_n(bytes, number.size(), number.begin());
  return std::bit_cast<Number>(number);
}

// Returns a number for a text of at most 7 bytes; texts of one size have different numbers.
std::uint64_t ShortWord(std::string_view text) {
  const char* const end = text.data() + text.size();
  if (text.size() >= 4) return Load<std::uint32_t>(text.data()) << 32 | Load<std::uint32_t>(end - 4);
  if (text.size() >= 2) return Load<std::uint16_t>(text.data()) << 16 | Load<std::uint16_t>(end - 2);
  return text.empty() ? 0 : static_cast<unsigned char>(text.front());
}

TextKey KeyOf(std::string_view text, bool isMissing) {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  if (text.size() < kWord) return {ShortWord(text), text.size() << 1 | std::size_t{isMissing}};
  TextKey key{kMixFirst ^ text.size(), isMissing ? kMixFirst : kMixSecond};
  const auto add = [&key](std::uint64_t word) {
    key = {Mixed(key.first ^ word, kMixSecond), Mixed(key.second + word, kMixFirst) ^ std::rotl(key.second, 23)};
  };
  const std::uint64_t last = Load<std::uint64_t>(text.data() + text.size() - kWord);
  for (; text.size() > kWord; text.remove_prefix(kWord)) add(Load<std::uint64_t>(text.data()));
  add(last);
  add(kMixFirst);
  return key;
}

bool IsBefore(const ValueCount& a, const ValueCount& b) {
  // When a valid and a user-missing text are equal, the valid one comes first.
  return a.text != b.text ? a.text < b.text : !a.isMissing && b.isMissing;
}

}  // namespace

TextStatistics::TextStatistics(bool hasLabels, TextLabels labels)
    : m_hasLabels(hasLabels), m_labels(std::move(labels)) {}

void TextStatistics::Add(const BatchColumn& texts, const BatchColumn* valid, const double* weights, long long rows) {
  for (long long row = 0; row < rows; ++row) {
    const double weight = weights == nullptr ? 1 : weights[row];
    if (weight > 0) AddText(texts.Text(row), valid != nullptr && !valid->HasValue(row), weight);
  }
}

void TextStatistics::AddText(std::string_view text, bool isMissing, double weight) {
  if (m_listing == Listing::none && m_toldApart.IsOver()) return m_measured.Add(text, isMissing, 1, weight);
  const TextKey key = KeyOf(text, isMissing);
  if (Count* const count = Counted(key, text, isMissing)) {
    ++count->n;
    count->weight.Add(weight);
    return;
  }
  m_measured.Add(text, isMissing, 1, weight);
  m_toldApart.Add(key);
}

// Returns null for a text that is not listed.
TextStatistics::Count* TextStatistics::Counted(const TextKey& key, std::string_view text, bool isMissing) {
  if (const std::uint32_t known = m_listed.Find(key); known != KeyTable<TextKey>::kNone) return &m_counts[known];
  if (m_listing != Listing::all) return nullptr;
  const auto mostTexts = m_hasLabels ? static_cast<std::size_t>(kMostDistinctValues) : kMostCounted;
  const std::size_t mostSize = m_hasLabels ? kMostLabelledTextSize : kMostTextSize;
  if (m_counts.size() == mostTexts || text.size() > mostSize - m_textSize) {
    EndListing();
    return Counted(key, text, isMissing);
  }
  m_listed.Add(key);
  m_textSize += text.size();
  return &m_counts.emplace_back(std::string(text), isMissing, 0, LongSum());
}

// Lists only texts with a label from now on. The others are measured, and told apart.
void TextStatistics::EndListing() {
  const KeyTable<TextKey> keys = std::exchange(m_listed, {});
  std::vector<Count> counts = std::exchange(m_counts, {});
  for (const auto& [text, label] : m_labels) {
    for (const bool isMissing : {false, true}) {
      m_listed.Add(KeyOf(text, isMissing));
      m_counts.emplace_back(text, isMissing, 0, LongSum());
    }
  }
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const std::uint32_t place = m_listed.Find(keys.Keys()[i]);
    if (place != KeyTable<TextKey>::kNone) {
      m_counts[place] = std::move(counts[i]);
    } else {
      m_measured.Add(counts[i].text, counts[i].isMissing, counts[i].n, counts[i].weight.Value());
      m_toldApart.Add(keys.Keys()[i]);
    }
  }
  m_listing = m_labels.empty() ? Listing::none : Listing::labelled;
}

void TextStatistics::Measured::Add(std::string_view text, bool isMissing, long long rows, double textWeight) {
  if (isMissing) {
    userMissing += rows;
    missingWeight.Add(textWeight);
    return;
  }
  n += rows;
  weight.Add(textWeight);
  if (text.empty()) blank += rows;
  if (!min || text < *min) min = text;
  if (!max || text > *max) max = text;
}

VariableStatistics TextStatistics::Result(const std::function<bool(std::string_view)>& isMissing) const {
  Measured all = m_measured;
  const std::optional<std::size_t> toldApart = m_toldApart.Count();
  auto distinct = static_cast<long long>(toldApart.value_or(0));
  for (const Count& count : m_counts) {
    if (count.n == 0) continue;
    all.Add(count.text, count.isMissing, count.n, count.weight.Value());
    ++distinct;
  }
  VariableStatistics result;
  result.isNumber = false;
  result.n = all.n;
  result.userMissing = all.userMissing;
  result.blank = all.blank;
  result.weight = all.weight.Value();
  result.missingWeight = all.missingWeight.Value();
  result.minText = all.min;
  result.maxText = all.max;
  if (toldApart && distinct <= kMostDistinctValues) result.distinct = distinct;
  const bool isShort = result.distinct && *result.distinct <= static_cast<long long>(kMostListedValues);
  if (m_hasLabels || (isShort && m_listing == Listing::all))
    result.values = Values(m_listing != Listing::all || !result.distinct, isMissing);
  return result;
}

std::vector<ValueCount> TextStatistics::Values(bool onlyLabelled,
                                               const std::function<bool(std::string_view)>& isMissing) const {
  std::vector<ValueCount> values;
  std::vector<bool> isSeen(m_labels.size());
  KeyTable<TextKey> labelled;  // numbers the labels
  for (const auto& [text, label] : m_labels) labelled.Add(KeyOf(text, false));
  for (const Count& count : m_counts) {
    const std::uint32_t label = labelled.Find(KeyOf(count.text, false));
    const bool hasLabel = label != KeyTable<TextKey>::kNone;
    if (count.n == 0 || (onlyLabelled && !hasLabel)) continue;
    ValueCount& value = values.emplace_back();
    value.text = count.text;
    value.n = count.n;
    value.weighted = count.weight.Value();
    value.isMissing = count.isMissing;
    if (!hasLabel) continue;
    value.label = m_labels[label].second;
    isSeen[label] = true;
  }
  for (std::size_t i = 0; i < m_labels.size(); ++i) {
    if (isSeen[i]) continue;
    ValueCount& value = values.emplace_back();
    value.text = m_labels[i].first;
    value.label = m_labels[i].second;
    value.isMissing = isMissing(value.text);
  }
  std::ranges::sort(values, IsBefore);
  return values;
}

}  // namespace tool
