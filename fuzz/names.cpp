// Validates, repairs, cuts and shortens names of any bytes, in UTF-8 and in a single-byte code page. A repaired name is
// legal.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileOptions.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

// Says that the first `count` candidates are taken.
int IsTaken(void* count, unsigned long, const char* candidate) {
  Check(ValidateQUAVNameCheckLastChar(candidate) == kNameIsLegal);
  return (*static_cast<int*>(count))-- > 0;
}

void Mend(const std::string& text, int taken) {
  std::array<char, kMaxVariableName + 1> name{};
  text.copy(name.data(), kMaxVariableName);
  GenerateQUAVName(name.data(), 7, &IsTaken, &taken, 0);
  Check(ValidateQUAVNameCheckLastChar(name.data()) == kNameIsLegal);
}

void Shorten(const std::string& text) {
  std::array<char, 9> name;
  Check(SystemFileOptions::strTrunc(name.data(), text.c_str(), 8) <= 8);
  SystemFileOptions::checkTerminalChar(name.data());
  SystemFileOptions::addNameSuffix(name.data(), text.c_str(), static_cast<int>(text.size() * 31), 8);
  Check(SystemFileDataSource::SaveDS::NamePrefix(text.c_str()).size() <= 5);
}

// Repairs a dictionary. Line feeds separate the names of its columns in the text.
void Repair(const std::string& text) {
  SystemFileDataSource source;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    source.MakeVariable(0, nullptr).SetName(text.substr(start, end - start).c_str());
    start = end + 1;
  }
  SystemFileDataSource::FixVarNames(source);
  const VariableNameIndex index(source);
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    Check(index.Find(source.GetVariable(column).GetUpperCaseName()) == column);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  SetUTF8mode(data[0] & 1);
  if ((data[0] & 1) == 0) QUAVMBDefaultCodePageSet_A("windows-1252");
  ValidateQUAVName(text.c_str());
  Mend(text, data[0] >> 1);
  Shorten(text);
  Repair(text);
  return 0;
}
