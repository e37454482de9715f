// Reads sort keys and their index from the text of a record, writes them and reads them again, and searches them
// among a few cases. No text ends the process.
//
//   input   the text

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "core/systemfileformat.h"
#include "datasrc/QUAV_Case.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "systemfile/SystemFileOptions.h"
#include "tests/support/MemorySource.h"
#include "tests/support/WrittenRecord.h"

namespace {

using Pairs = std::vector<SortIndexInfo::SortIndexKeyRowPair>;

void Check(bool holds) {
  if (!holds) std::abort();
}

SortIndexInfo Read(const std::string& text) {
  SystemFileExtensionRecord record;
  record.Fill(text);
  SystemFileDataSource source;
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSortKeySubtype, source, options, record);
  return source.GetSortIndexInfo();
}

// Expects the same keys, and the same pairs up to the first one with white space.
void ReadAgain(const SortIndexInfo& info) {
  SystemFileDataSource source;
  source.SetSortIndexInfo(info);
  const std::string text = WrittenRecord(source, {kSortKeySubtype}).Contents();
  Check(text.empty() == info.GetIndexKeys().empty());
  if (text.empty()) return;
  const SortIndexInfo again = Read(text);
  Check(again.GetIndexKeys() == info.GetIndexKeys());
  const Pairs& pairs = again.GetIndex();
  Check(pairs.size() <= info.GetIndex().size());
  for (std::size_t i = 0; i + 1 < pairs.size(); ++i) Check(pairs[i] == info.GetIndex()[i]);
}

void Search(SortIndexInfo& info) {
  MemorySource source;
  source.AddNumber("N");
  source.AddText("S", 12);
  for (const char* text : {"a", "b", "b", "c"}) source.AddCase({1.5, text});
  info.SetDataSource(&source);
  Pairs pairs = info.GetIndex();
  pairs.emplace_back(std::string(200, '5'), 1);
  for (const auto& pair : pairs) {
    std::string key = pair.GetKeyValue();
    if (!key.empty()) ++key.back();
    try {
      info.FindRecordFromKeyValues(key);
    } catch (const std::out_of_range&) {
      // The key value is too short, or the key is outside the case.
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;  // by contract every record has contents
  SortIndexInfo info = Read(std::string(reinterpret_cast<const char*>(data), size));
  ReadAgain(info);
  Search(info);
  return 0;
}
