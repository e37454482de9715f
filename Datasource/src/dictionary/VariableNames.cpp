#include "datasrc/VariableNames.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "Platform/text/Ascii.h"
#include "Platform/text/QUAVMB.h"
#include "core/NameSuffix.h"
#include "core/TrailingBlanks.h"

namespace {

constexpr std::string_view kSpecials = "@#$_.";
constexpr std::string_view kBadBeginnings = "_.";
constexpr std::array kReservedWords{"ALL", "AND", "BY", "EQ", "GE", "GT", "LE", "LT", "NE", "NOT", "OR", "TO", "WITH"};
constexpr std::size_t kLongestReservedWord = 4;
constexpr std::size_t kMaxNumericName = 7;
constexpr int kLongestCharacter = 4;  // bytes
constexpr int kLeastStem = 2;         // bytes of a name that must remain before a suffix

// Returns whether this character of one byte may be in a name.
bool IsNameByte(char c) {
  return static_cast<unsigned char>(c) > 127 || quavmb::IsLetter(c) || quavmb::IsDigit(c) ||
         kSpecials.find(c) != kSpecials.npos;
}

bool IsReserved(std::string_view name) {
  if (name.size() > kLongestReservedWord) return false;
  return std::ranges::any_of(kReservedWords, [name](const char* word) {
    return QUAVMBqstricmp_A(name.data(), static_cast<int>(name.size()), word, -1, 0) != 0;
  });
}

bool HasOnlyNameCharacters(std::string_view name) {
  while (!name.empty()) {
    const int size = QUAVMBmblen_A(name.data(), static_cast<int>(name.size()));
    if (size < 1 || (size == 1 && !IsNameByte(name.front()))) return false;
    name.remove_prefix(static_cast<std::size_t>(size));
  }
  return true;
}

// Returns whether the byte after the last such character is the terminator, a blank or a control character.
bool EndsWith(const char* name, char character) {
  const char* const last = QUAVMBstrrchr_A(name, character);
  return last != nullptr && static_cast<unsigned char>(last[1]) <= ' ';
}

// ---- Repairing ----

// Returns the characters of `name` that are allowed in a name, as many as fit.
std::string NameCharacters(const char* name) {
  std::string kept;
  while (*name != '\0') {
    const int size = QUAVMBmblen_A(name, kLongestCharacter);
    const auto bytes = static_cast<std::size_t>(std::max(size, 1));
    if (size > 1 || (size == 1 && IsNameByte(*name))) {
      if (kept.size() + bytes > kMaxVariableName) break;
      kept.append(name, bytes);
    }
    name += bytes;
  }
  return kept;
}

void Truncate(std::string& name, int size) {
  name.resize(static_cast<std::size_t>(QUAVMBStringTruncate_A(name.data(), size)));
}

// Contract: the number is printed as a signed one.
std::string NumberedName(unsigned long number) { return "V" + std::to_string(static_cast<long>(number)); }

std::string LegalName(const char* given, unsigned long number) {
  std::string name = NameCharacters(given);
  std::array<char, kMaxNumericName + 2> numeric;
  if (FormNumericQUAVName(numeric.data(), name.c_str()) != 0) name = numeric.data();
  for (;;) {
    switch (ValidateQUAVNameCheckLastChar(name.c_str())) {
      case kNameIsLegal:
        return name;
      case kNameEndsInPoint:
      case kNameEndsInUnderline:
        if (name.size() < 2) return NumberedName(number);
        Truncate(name, static_cast<int>(name.size()) - 1);
        break;
      case kNameOfScratch:
      case kNameOfSystem:
      case kNameReserved:
      case kNameBegin:
        name.insert(0, 1, '@');
        Truncate(name, kMaxVariableName);
        break;
      default:
        return NumberedName(number);
    }
  }
}

// Returns the name followed by "_" and the letters of the index; the name itself when too little of it would remain.
std::string Candidate(const std::string& name, unsigned long index) {
  const std::string letters = SuffixLetters(index);
  const int room = kMaxVariableName - static_cast<int>(letters.size()) - 1;
  if (room < kLeastStem) return name;
  std::string stem = name;
  Truncate(stem, room);
  return stem.empty() ? stem : stem + "_" + letters;
}

}  // namespace

int ValidateQUAVName(const char* text) {
  const std::string_view name = WithoutTrailingBlanks(text);
  if (name.empty() || name.size() > kMaxVariableName) return kNameLength;
  if (!HasOnlyNameCharacters(name)) return kNameCharacter;
  if (quavmb::IsDigit(name.front()) || kBadBeginnings.find(name.front()) != kBadBeginnings.npos) return kNameBegin;
  if (IsReserved(name)) return kNameReserved;
  if (name.front() == '#') return kNameOfScratch;
  return name.front() == '$' ? kNameOfSystem : kNameIsLegal;
}

int ValidateQUAVNameCheckLastChar(const char* name) {
  if (const int fault = ValidateQUAVName(name); fault != kNameIsLegal) return fault;
  if (EndsWith(name, '.')) return kNameEndsInPoint;
  return EndsWith(name, '_') ? kNameEndsInUnderline : kNameIsLegal;
}

int FormNumericQUAVName(char* output, const char* name) {
  const std::string_view digits = WithoutTrailingBlanks(name);
  if (digits.empty() || digits.size() > kMaxNumericName || !std::ranges::all_of(digits, quavmb::IsDigit)) return 0;
  std::memmove(output + 1, digits.data(), digits.size());
  output[0] = '@';
  output[1 + digits.size()] = '\0';
  return 1;
}

void GenerateQUAVName(char* name, unsigned long number, VariableNameTaken taken, void* context, unsigned long tag) {
  const std::string legal = LegalName(name, number);
  legal.copy(name, legal.size());
  name[legal.size()] = '\0';
  if (taken == nullptr) return;
  for (unsigned long index = 0; taken(context, tag, name) != 0; ++index) {
    const std::string candidate = Candidate(legal, index);
    candidate.copy(name, candidate.size());
    name[candidate.size()] = '\0';
  }
}
