// Counts what a conversion loses, by kind. Each kind is one warning with its number.
//
//   losses.Add("value labels that were cut to 255 bytes");
//   losses.Report(file);     "datasrc: warning: value labels that were cut to 255 bytes: 1: FILE"
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_MESSAGES_LOSSES_H
#define TOOLS_MESSAGES_LOSSES_H

#include <string>
#include <utility>
#include <vector>

namespace tool {

class Losses {
 public:
  // `kind` names the things that were lost, in the plural.
  void Add(const std::string& kind, long long count = 1);
  // Adds a warning without a number.
  void Note(const std::string& text) { m_counts.emplace_back(text, kNoNumber); }
  // Returns 0 for a kind that was never added.
  long long Count(const std::string& kind) const;
  bool IsEmpty() const { return m_counts.empty(); }
  // Warns about the file, for each kind in the order of its first loss.
  void Report(const std::string& file) const;

 private:
  static constexpr long long kNoNumber = -1;

  std::vector<std::pair<std::string, long long>> m_counts;
};

// The kind of values that lost bytes which are no text in the encoding.
inline std::string ReplacedValues(const std::string& encoding) {
  return "values with bytes that are no text in " + encoding + ", which were replaced";
}

}  // namespace tool

#endif
