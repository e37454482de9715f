// Opens the input as a system file, writes its dictionary and cases to a new file, and reads that: the cases are the
// same. Only a text of more than 255 bytes with a zero byte may change: zero bytes pad the segments that it is stored in.

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "MemoryFile.h"
#include "SystemFileInput.h"
#include "datasrc/datasrc.h"

namespace {

constexpr std::size_t kMaxCases = 200;
constexpr unsigned int kMaxCells = 1 << 16;
constexpr int kWidestOneSegment = 255;  // bytes

std::vector<std::vector<OBS>> Cases(const QUAV_DataSource& source) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* const cells = cases->GetObsPointer(0);
  std::vector<std::vector<OBS>> all;
  while (all.size() < kMaxCases && cases->Next() != 0) all.emplace_back(cells, cells + source.GetObsAreaSize());
  return all;
}

bool HasZeroInLongText(const QUAV_DataSource& source, const std::vector<std::vector<OBS>>& cases) {
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    const int width = source.GetVariable(column).GetType();
    if (width <= kWidestOneSegment) continue;
    for (const auto& cells : cases) {
      const std::string_view text(CellText(&cells[static_cast<std::size_t>(source.ObsIndex(column))]),
                                  static_cast<std::size_t>(width));
      if (text.find('\0') != text.npos) return true;
    }
  }
  return false;
}

void Write(const QUAV_DataSource& source, const std::vector<std::vector<OBS>>& cases, bool compress,
           const std::string& path) {
  SystemFileDataSource file;
  file.CopyDictionary(source);
  file.SetCompression(compress);
  file.SetFileSpec(path.c_str());
  file.CommitDictionary();
  for (const auto& cells : cases) file.AddRow(cells.data());
  file.Close();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  UseSystemFile(data, size, [](const SystemFileDataSource& source) {
    if (source.ColumnCount() == 0 || source.GetObsAreaSize() > kMaxCells) return;
    const auto cases = Cases(source);
    if (HasZeroInLongText(source, cases)) return;
    for (const bool compress : {false, true}) {
      const MemoryFile copy(nullptr, 0);
      Write(source, cases, compress, copy.Path());
      const SystemFileDataSource read(copy.Path(), "", false);
      if (read.ColumnCount() != source.ColumnCount() || Cases(read) != cases) std::abort();
    }
  });
  return 0;
}
