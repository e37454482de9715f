// Opens the input as a system file and reads its cases, in sequence and with seeks.
//
// By contract, some inputs end the process. The tool's look-ahead finds them and the target skips them. So each
// assertion that fails here is a defect in the library or in the look-ahead.

#include <algorithm>
#include <memory>

#include "MemoryFile.h"
#include "datasrc/datasrc.h"
#include "tools/systemfile/RecordLookAhead.h"

namespace {

// A small file may have cases of a few cells, and millions of them in nothing but codes.
constexpr int kMaxCases = 2'000;
// The most cells of a case that the target keeps in memory.
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
    // A bad file, reported as such.
  }
  return 0;
}
