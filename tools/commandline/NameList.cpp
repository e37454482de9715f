#include "tools/commandline/NameList.h"

#include <algorithm>

#include "tools/commandline/CommandLine.h"

namespace tool {

std::vector<std::string> ParseNames(const std::string& option, const std::optional<std::string>& text) {
  std::vector<std::string> names;
  if (!text) return names;
  for (std::size_t start = 0; start <= text->size();) {
    const std::size_t end = std::min(text->find(',', start), text->size());
    names.push_back(text->substr(start, end - start));
    if (names.back().empty()) throw WrongUsage(option, "a name is missing");
    start = end + 1;
  }
  return names;
}

}  // namespace tool
