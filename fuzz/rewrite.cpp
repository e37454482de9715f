// Opens the input as a system file, writes its dictionary and cases to a new file, and reads that: the cases are the
// same.

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

#include "MemoryFile.h"
#include "datasrc/datasrc.h"

namespace {

constexpr std::size_t kMaxCases = 200;
constexpr unsigned int kMaxCells = 1 << 16;

std::vector<std::vector<OBS>> Cases(const QUAV_DataSource& source) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* const cells = cases->GetObsPointer(0);
  std::vector<std::vector<OBS>> all;
  while (all.size() < kMaxCases && cases->Next() != 0) all.emplace_back(cells, cells + source.GetObsAreaSize());
  return all;
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
  const MemoryFile file(data, size);
  QUAV_FileStream stream(file.Path().c_str(), "rb", false);
  if (FindFatalRecord(stream)) return 0;
  try {
    const SystemFileDataSource source(file.Path(), "", false);
    if (source.ColumnCount() == 0 || source.GetObsAreaSize() > kMaxCells) return 0;
    const auto cases = Cases(source);
    for (const bool compress : {false, true}) {
      const MemoryFile copy(nullptr, 0);
      Write(source, cases, compress, copy.Path());
      const SystemFileDataSource read(copy.Path(), "", false);
      if (read.ColumnCount() != source.ColumnCount() || Cases(read) != cases) std::abort();
    }
  } catch (const QuavServerError&) {
    // A bad file, reported as such.
  }
  return 0;
}
