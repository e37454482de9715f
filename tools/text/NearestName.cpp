#include "tools/text/NearestName.h"

#include <algorithm>
#include <cstddef>

namespace tool {

namespace {

constexpr std::size_t kLongestName = 128;  // bytes; longer ones are nobody's typing mistake

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if ('A' <= c && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

std::size_t MostMistakes(std::size_t length) { return 1 + (length > 3 ? (length - 3) / 3 : 0); }

// The distance of Damerau and Levenshtein in which no piece is edited twice, by its table of prefixes: row i is for the
// first i bytes of `a`.
std::size_t Mistakes(std::string_view a, std::string_view b) {
  using Row = std::vector<std::size_t>;
  Row beforeLast(b.size() + 1);
  Row last(b.size() + 1);
  Row present(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) present[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    beforeLast.swap(last);
    last.swap(present);
    present[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      present[j] = std::min({last[j] + 1, present[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) present[j] = std::min(present[j], beforeLast[j - 2] + 1);
    }
  }
  return present[b.size()];
}

}  // namespace

std::string NearestName(std::string_view typed, const std::vector<std::string>& names) {
  if (typed.size() > kLongestName) return {};
  const std::string wanted = LowerCase(typed);
  std::string nearest;
  std::size_t least = MostMistakes(typed.size()) + 1;
  for (const std::string& name : names) {
    const std::size_t difference = std::max(name.size(), wanted.size()) - std::min(name.size(), wanted.size());
    if (difference >= least) continue;
    const std::size_t mistakes = Mistakes(wanted, LowerCase(name));
    if (mistakes >= least || mistakes >= name.size()) continue;
    least = mistakes;
    nearest = name;
  }
  return nearest;
}

std::string NearestNameHint(std::string_view typed, const std::vector<std::string>& names) {
  const std::string nearest = NearestName(typed, names);
  return nearest.empty() ? std::string() : "; did you mean " + nearest + "?";
}

}  // namespace tool
