// The short names of the variables in a file: unique, in upper case, at most 8 bytes.
//
// Three passes keep a name that fits, whatever its column is: first names of at most 8 bytes; then longer names,
// truncated; then, where such a name is taken, "V" and the number of the column with a suffix.

#include <array>
#include <cstring>
#include <set>
#include <string>

#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "core/systemfileformat.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr int kMaxPrefix = 5;

using ShortName = std::array<char, kShortNameSize + 1>;

// Returns a name that no column has yet, for the column with this number, counted from 1.
std::string NumberedName(int number, const char* longName, const std::set<std::string>& taken) {
  const std::string stem = "V" + std::to_string(number);
  for (int suffix = 0;; ++suffix) {
    ShortName name;
    if (const int fault = SystemFileNames::addNameSuffix(name.data(), stem.c_str(), suffix, kShortNameSize); fault != 0)
      ThrowError::String1(kDatasrcCatalog, fault, longName);
    if (!taken.contains(name.data())) return name.data();
  }
}

}  // namespace

const Renames& SystemFileDataSource::SaveDS::FormRenames() {
  Renames& renames = Options().renames;
  if (!renames.empty()) return renames;
  const auto nColumns = static_cast<int>(ColumnCount());
  renames.resize(ColumnCount());
  std::set<std::string> taken;
  const auto entry = [&renames](int column) -> Rename& { return renames[static_cast<std::size_t>(column)]; };

  for (int column = 0; column < nColumns; ++column) {
    entry(column).first = GetVariable(column).GetName();
    const char* const name = GetVariable(column).GetUpperCaseName();
    if (std::strlen(name) > kShortNameSize) continue;
    entry(column).second = name;
    taken.insert(name);
  }
  for (int column = 0; column < nColumns; ++column) {
    if (!entry(column).second.empty()) continue;
    ShortName name;
    SystemFileNames::strTrunc(name.data(), GetVariable(column).GetUpperCaseName(), kShortNameSize);
    SystemFileNames::checkTerminalChar(name.data());
    if (taken.insert(name.data()).second) entry(column).second = name.data();
  }
  for (int column = 0; column < nColumns; ++column) {
    std::string& name = entry(column).second;
    if (!name.empty()) continue;
    name = NumberedName(column + 1, GetVariable(column).GetName(), taken);
    taken.insert(name);
  }
  return renames;
}

std::string SystemFileDataSource::SaveDS::NamePrefix(const char* upperName) {
  int length = 0;
  while (upperName[length] != '\0') {
    const int size = QUAVMBmblen_A(upperName + length, kMaxPrefix);
    if (size < 1 || length + size > kMaxPrefix) break;
    length += size;
  }
  return {upperName, static_cast<std::size_t>(length)};
}
