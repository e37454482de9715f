// Record 23: the sort keys, and the sparse index of their values. Format: docs/system-file.md, "Record 23".

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "core/systemfileformat.h"
#include "datasrc/SortIndexInfo.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

using Keys = std::vector<FileSort::SortKey>;
using Pairs = std::vector<SortIndexInfo::SortIndexKeyRowPair>;

constexpr char kKeyEnd = '!';
constexpr std::size_t kLeastText = 2;

std::string KeyText(const FileSort::SortKey& key) {
  const auto number = [](int unsignedNumber) { return std::to_string(static_cast<unsigned int>(unsignedNumber)); };
  return number(key.cellIndex) + ":" + std::to_string(key.keyAttribute) + ":" + number(key.stringLength) + kKeyEnd;
}

// Deliberate: a blank in a string key truncates the record. The text begins with a number, never with white space.
std::string UpToWhiteSpace(const std::string& text) { return text.substr(0, text.find_first_of(" \t\n\v\f\r")); }

// `keyText` is the text before the pairs. Deliberate: searches the whole text for the end of the first key, and takes
// an item without numbers as a key too.
Keys ParseKeys(const std::string& text, const std::string& keyText) {
  Keys keys;
  std::size_t start = 0;
  for (std::size_t end = text.find(kKeyEnd); end != text.npos; end = keyText.find(kKeyEnd, start)) {
    const std::string item = keyText.substr(start, end - start);
    FileSort::SortKey key;
    std::sscanf(item.c_str(), "%d:%d:%d", &key.cellIndex, &key.keyAttribute, &key.stringLength);
    keys.push_back(key);
    start = end + 1;
  }
  return keys;
}

SortIndexInfo::SortIndexKeyRowPair ParsePair(const std::string& entry) {
  const std::size_t unit = entry.find(unitDelimiterChar);
  const std::string row = unit == entry.npos ? std::string() : entry.substr(unit + 1);
  return {entry.substr(0, unit), std::strtol(row.c_str(), nullptr, 10)};
}

Pairs ParsePairs(const std::string& text, std::size_t start) {
  Pairs pairs;
  for (std::size_t end = 0; end != text.npos; start = end + 1) {
    end = text.find(groupDelimiterChar, start);
    pairs.push_back(ParsePair(text.substr(start, end - start)));
  }
  return pairs;
}

class SFExtensionSortCasesKey final : public SystemFileExtensionHandler {
 public:
  SFExtensionSortCasesKey() { Register(kSortKeySubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    const SortIndexInfo& info = source.GetSortIndexInfo();
    if (info.GetIndexKeys().empty()) return;
    std::string text;
    for (const FileSort::SortKey& key : info.GetIndexKeys()) text += KeyText(key);
    for (const auto& pair : info.GetIndex())
      text += groupDelimiterChar + pair.GetKeyValue() + unitDelimiterChar + std::to_string(pair.GetRowIndex());
    record.Fill(UpToWhiteSpace(text));
  }

  void Read(SystemFileDataSource& source, SystemFileOptions&, const SystemFileExtensionRecord& record) override {
    Require(record.UnitSize() == sizeof(char), kMalformed, "rec.UnitSize() == sizeof(char)");
    Require(record.NUnits() >= 0, kMalformed, "rec.NUnits() >= 0");
    const std::string text(record.Text());
    if (text.size() < kLeastText) return;
    const std::size_t group = text.find(groupDelimiterChar);
    SortIndexInfo info;
    if (group != text.npos) info.SetIndexKeys(ParseKeys(text, text.substr(0, group)));
    info.SetIndex(ParsePairs(text, group == text.npos ? 0 : group + 1));
    source.SetSortIndexInfo(info);
  }
};

SFExtensionSortCasesKey theSortCasesKeyHandler;

}  // namespace
