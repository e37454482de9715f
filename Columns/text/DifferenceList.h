// Lists what is different between two dictionaries, as the text of one error. A text gets no longer for more differences
// than kMostListed.
//
// Threads: one thread at a time.

#ifndef COLUMNS_TEXT_DIFFERENCELIST_H
#define COLUMNS_TEXT_DIFFERENCELIST_H

#include <cstddef>
#include <string>

namespace dstext {

class DifferenceList {
 public:
  static constexpr std::size_t kMostListed = 20;

  void Add(const std::string& text) {
    if (m_count++ < kMostListed) m_text += (m_text.empty() ? "" : "; ") + text;
  }
  bool IsEmpty() const { return m_count == 0; }
  std::string Text() const {
    if (m_count <= kMostListed) return m_text;
    return m_text + "; and " + std::to_string(m_count - kMostListed) + " more differences";
  }

 private:
  std::string m_text;
  std::size_t m_count = 0;
};

}  // namespace dstext

#endif
