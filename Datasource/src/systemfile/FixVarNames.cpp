// Repairs the names of a dictionary from a file: other writers accept names that a dictionary must not have.

#include "systemfile/FixVarNames.h"

#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Platform/text/Ascii.h"
#include "Platform/text/QUAVMB.h"
#include "core/Warning.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableNames.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr std::string_view kSpecials = "@#$_.";
constexpr std::string_view kBadBeginnings = "#$_.";
constexpr int kLongestCharacter = 4;  // bytes

// Tests a character by its first byte.
bool IsAllowed(char c) {
  return quavmb::IsLetter(c) || quavmb::IsDigit(c) || static_cast<unsigned char>(c) >= 0x80 ||
         kSpecials.find(c) != kSpecials.npos;
}

}  // namespace

// Deliberate: a name in a file may begin with a digit, but a new name may not.
bool IsNameInFile(const char* name) {
  const char* p = name;
  int size = 0;
  while ((size = QUAVMBmblen_A(p, kLongestCharacter)) >= 1) {
    if (!IsAllowed(*p)) return false;
    if (p == name && size == 1 && kBadBeginnings.find(*p) != kBadBeginnings.npos) return false;
    p += size;
  }
  return *p == '\0' && p != name && p - name <= kMaxVariableName;
}

void SystemFileDataSource::FixVarNames(QUAV_DataSource& source, ErrorMonitor* monitor) {
  std::set<std::string> taken;
  std::vector<int> badColumns;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    const QUAV_Variable& variable = source.GetVariable(column);
    if (!IsNameInFile(variable.GetName()) || !taken.insert(variable.GetUpperCaseName()).second)
      badColumns.push_back(column);
  }
  // When memory runs out, no variable has another name.
  std::vector<QUAV_Variable> repaired;
  int number = 0;
  for (const int column : badColumns) {
    std::string name;
    do name = "V" + std::to_string(++number);
    while (!taken.insert(name).second);
    name[0] = 'v';
    repaired.push_back(std::as_const(source).GetVariable(column));
    repaired.back().SetName(name.c_str());
  }
  static_assert(std::is_nothrow_move_assignable_v<QUAV_Variable>);
  for (std::size_t i = 0; i < badColumns.size(); ++i) source.GetVariable(badColumns[i]) = std::move(repaired[i]);
  if (!badColumns.empty()) Warn(monitor, kNamesRepaired, "no message");
}

void SystemFileDataSource::FixVarNames(QUAV_DataSource& source) { FixVarNames(source, nullptr); }
