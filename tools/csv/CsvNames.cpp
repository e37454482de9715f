#include "tools/csv/CsvNames.h"

#include <array>
#include <unordered_map>
#include <unordered_set>

#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

// Makes names differ, with the result of GenerateQUAVName: a taken name gets "_" and the letters of the first number
// whose name is free. A, B, ... Z are the numbers 0 to 25, then come AA, AB and so on. The name is cut to leave room.
//
// GenerateQUAVName begins each search at A, so that n equal names would cost n * n steps. Names that begin with the
// same text, as much of it as remains before k letters, share all their candidates with k letters. A name that is taken
// stays taken. So for each such text it is enough to search on from where the last search ended.
class UniqueNames {
 public:
  // Takes the name when it is free, otherwise its first free candidate. Returns what it took.
  std::string Take(const std::string& name) {
    if (IsNew(name)) return name;
    for (std::size_t nLetters = 1;; ++nLetters) {
      const std::string stem = Stem(name, kMaxVariableName - nLetters - 1);
      std::string& letters =
          m_next.try_emplace(QUAVMBstrupr_A(stem) + kSeparator + std::to_string(nLetters), nLetters, 'A').first->second;
      while (!letters.empty()) {
        const std::string candidate = stem + "_" + letters;
        if (!Advance(letters)) letters.clear();
        if (IsNew(candidate)) return candidate;
      }
    }
  }

 private:
  static constexpr char kSeparator = ' ';  // occurs in no name

  bool IsNew(const std::string& name) { return m_taken.insert(QUAVMBstrupr_A(name)).second; }

  // Returns the first bytes of the name, as many whole characters as fit.
  static std::string Stem(std::string name, std::size_t room) {
    name.resize(static_cast<std::size_t>(QUAVMBStringTruncate_A(name.data(), static_cast<int>(room))));
    return name;
  }

  // Goes to the next letters of the same number. Returns false after the last, which are all Z.
  static bool Advance(std::string& letters) {
    for (auto letter = letters.rbegin(); letter != letters.rend(); ++letter) {
      if (*letter != 'Z') {
        ++*letter;
        return true;
      }
      *letter = 'A';
    }
    return false;
  }

  std::unordered_set<std::string> m_taken;              // in upper case
  std::unordered_map<std::string, std::string> m_next;  // the letters to try next; empty when all are tried
};

}  // namespace

std::vector<std::string> MendedNames(const std::vector<std::string>& header) {
  std::vector<std::string> mended;
  UniqueNames names;
  for (const std::string& text : header) {
    std::array<char, kMaxVariableName + 1> name{};
    text.copy(name.data(), kMaxVariableName);
    GenerateQUAVName(name.data(), mended.size() + 1, nullptr, nullptr, 0);
    mended.push_back(names.Take(name.data()));
  }
  return mended;
}

std::vector<std::string> ReadHeader(CsvReader& reader, const CsvDialect& dialect, const std::string& file) {
  if (!dialect.hasHeader) reader.SetMissing(dialect.missing);
  if (!reader.Next()) throw ToolError(dialect.hasHeader ? "there is no header line" : "there is no case", file);
  if (!dialect.hasHeader) return std::vector<std::string>(reader.Fields().size());
  reader.SetMissing(dialect.missing);
  return {reader.Fields().begin(), reader.Fields().end()};
}

}  // namespace tool
