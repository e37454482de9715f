#include "tools/csv/CsvNames.h"

#include <array>
#include <unordered_set>

#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"

namespace tool {

namespace {

using Names = std::unordered_set<std::string>;

int IsTaken(void* names, unsigned long, const char* candidate) {
  return int{static_cast<const Names*>(names)->contains(QUAVMBstrupr_A(candidate))};
}

}  // namespace

std::vector<std::string> MendedNames(const std::vector<std::string>& header) {
  std::vector<std::string> mended;
  Names taken;  // in upper case
  for (const std::string& text : header) {
    std::array<char, kMaxVariableName + 1> name{};
    text.copy(name.data(), kMaxVariableName);
    GenerateQUAVName(name.data(), mended.size() + 1, IsTaken, &taken, 0);
    mended.emplace_back(name.data());
    taken.insert(QUAVMBstrupr_A(mended.back()));
  }
  return mended;
}

}  // namespace tool
