// Opens the input as a system file and reads its cases, in sequence and with seeks.
//
// Inputs on which the library ends the process by its contract are found by the tool's look-ahead and stepped around;
// so each assertion that this target meets is a find, in the library or in the look-ahead.

#include <algorithm>
#include <memory>

#include "MemoryFile.h"
#include "datasrc/datasrc.h"
#include "tools/systemfile/RecordLookAhead.h"

namespace {

// A small file may claim cases of a few cells and hold millions of them in nothing but codes.
constexpr int kMaxCases = 2'000;
// The cells of a case that the target is ready to have in memory.
constexpr unsigned int kMaxCells = 1 << 22;

void ReadCases(const SystemFileDataSource& source) {
  std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  int rows = 0;
  while (rows < kMaxCases && cases->Next()) ++rows;
  for (const long long row : {0LL, rows / 2LL, rows + 1LL}) {
    cases->Seek(row);
    cases->Next();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file(data, size);
  if (tool::FindFatalFlaw(file.Path())) return 0;
  try {
    const SystemFileDataSource source(file.Path(), "", false);
    if (source.ColumnCount() != 0 && source.GetObsAreaSize() <= kMaxCells) ReadCases(source);
  } catch (const QuavServerError&) {
    // A bad file, told as such.
  }
  return 0;
}
