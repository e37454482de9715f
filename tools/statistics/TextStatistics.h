// Collects the figures of a text variable.
//
//   TextStatistics statistics(hasLabels, labels);
//   statistics.Add(column, isMissing, weights, rows);   any number of times
//   statistics.Result(isMissing);
//
// Texts are counted while there are few of them, and while they take little memory. The others are only told apart, by
// 128 bits of each; above kMostDistinctValues not even that.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_STATISTICS_TEXTSTATISTICS_H
#define TOOLS_STATISTICS_TEXTSTATISTICS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datasrc/ColumnBatch.h"
#include "tools/statistics/DistinctKeys.h"
#include "tools/statistics/KeyTable.h"
#include "tools/statistics/LongSum.h"
#include "tools/statistics/VariableStatistics.h"

namespace tool {

// Labels of texts without trailing blanks, in any order.
using TextLabels = std::vector<std::pair<std::string, std::string>>;

// Stands for a text: the bytes and the size of one of at most 7 bytes, two hashes of a longer one. A valid text and a
// user-missing one differ, even when both are shown alike because their bytes form no character.
struct TextKey {
  static const TextKey kNone;

  std::uint64_t first;
  std::uint64_t second;

  std::uint64_t Hash() const { return Mixed(first ^ kMixFirst, second ^ kMixSecond); }
  bool operator==(const TextKey&) const = default;
};

// No short text has it, and hardly any other.
inline constexpr TextKey TextKey::kNone{~std::uint64_t{0}, ~std::uint64_t{0}};

class TextStatistics {
 public:
  // A variable with value labels lists its values, also when `labels` is empty. No text has two labels.
  TextStatistics(bool hasLabels, TextLabels labels);

  // `valid` is a column of the same rows that has no value where the text is user-missing; null when none is. `weights`
  // is as for NumberStatistics::Add.
  void Add(const BatchColumn& texts, const BatchColumn* valid, const double* weights, long long rows);
  // `isMissing` says whether a labelled text that no case has would be user-missing.
  VariableStatistics Result(const std::function<bool(std::string_view)>& isMissing) const;

 private:
  struct Count {
    std::string text;
    bool isMissing = false;
    long long n = 0;
    LongSum weight;
  };
  // The figures of texts that are not listed.
  struct Measured {
    // A text that `n` rows have.
    void Add(std::string_view text, bool isMissing, long long rows, double textWeight);

    long long n = 0;
    long long userMissing = 0;
    long long blank = 0;
    LongSum weight;
    LongSum missingWeight;
    std::optional<std::string> min;
    std::optional<std::string> max;
  };

  void AddText(std::string_view text, bool isMissing, double weight);
  Count* Counted(const TextKey& key, std::string_view text, bool isMissing);
  void EndListing();
  std::vector<ValueCount> Values(bool onlyLabelled, const std::function<bool(std::string_view)>& isMissing) const;

  bool m_hasLabels;
  TextLabels m_labels;

  enum class Listing { all, labelled, none };
  Listing m_listing = Listing::all;
  KeyTable<TextKey> m_listed;
  std::vector<Count> m_counts;                             // of the texts in m_listed
  std::size_t m_textSize = 0;                              // of these texts
  DistinctKeys<TextKey> m_toldApart{kMostDistinctValues};  // the texts that are not listed
  Measured m_measured;
};

}  // namespace tool

#endif
