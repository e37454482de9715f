// Gets documents from any run of lines, saves them and gets them again: they are the same.
//
//   input   1 byte: the unit size
//           the run, cut to whole units
//
// Incomplete lines and date lines without a date end the process, by contract. The target skips them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Contract.h"
#include "core/systemfileformat.h"
#include "datasrc/DSDocument.h"
#include "tests/support/MemorySource.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckSorted(std::vector<DSDocument> documents) {
  DeDup(documents);
  for (std::size_t i = 1; i < documents.size(); ++i) Check(documents[i - 1] < documents[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t unitSize = std::max<std::size_t>(data[0], 1);
  const std::size_t units = (size - 1) / unitSize;
  const std::string run(reinterpret_cast<const char*>(data + 1), units * unitSize);
  if (run.empty()) return 0;
  MemorySource source;
  source.SetExtension(kDocumentExtension, static_cast<int>(unitSize), static_cast<long>(units), run.data());
  std::vector<DSDocument> documents;
  if (!Survives([&] { documents = GetDocuments(source); })) return 0;
  SaveDocuments(documents, source);
  Check(documents == GetDocuments(source));
  CheckSorted(documents);
  return 0;
}
