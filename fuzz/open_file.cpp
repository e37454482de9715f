// Opens the input as a system file and reads its cases, in sequence and with seeks.
//
// FindFatalRecord finds the inputs that end the process. The target skips an input if the contract has its assertion. An
// assertion that another input fails, or that the contract does not have, is a find.
//
// fuzz_records is the same target with the mutator of records.cpp.

#include <algorithm>
#include <memory>

#include "Contract.h"
#include "MemoryFile.h"
#include "datasrc/datasrc.h"

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

bool IsFatal(const MemoryFile& file) {
  QUAV_FileStream stream(file.Path().c_str(), "rb", false);
  const auto fatal = FindFatalRecord(stream);
  if (fatal) RequireContract(fatal->assertion);
  return fatal.has_value();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file(data, size);
  if (IsFatal(file)) return 0;
  try {
    const SystemFileDataSource source(file.Path(), "", false);
    GetDocuments(source);
    VariableSets(source, kPlainSets);
    VariableSets(source, kMRSets);
    if (source.ColumnCount() != 0 && source.GetObsAreaSize() <= kMaxCells) ReadCases(source);
  } catch (const QuavServerError&) {
    // A bad file, reported as such.
  }
  return 0;
}
