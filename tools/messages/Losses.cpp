#include "tools/messages/Losses.h"

#include <algorithm>

#include "tools/messages/Report.h"

namespace tool {

void Losses::Add(const std::string& kind, long long count) {
  if (count == 0) return;
  const auto known = std::ranges::find(m_counts, kind, &std::pair<std::string, long long>::first);
  if (known == m_counts.end()) {
    m_counts.emplace_back(kind, count);
  } else {
    known->second += count;
  }
}

long long Losses::Count(const std::string& kind) const {
  const auto known = std::ranges::find(m_counts, kind, &std::pair<std::string, long long>::first);
  return known == m_counts.end() ? 0 : known->second;
}

void Losses::Report(const std::string& file) const {
  for (const auto& [kind, count] : m_counts)
    ReportWarning(count == kNoNumber ? kind : kind + ": " + std::to_string(count), file);
}

}  // namespace tool
