// Reads the input as an Arrow file, in either form, and its rows as cases: it is refused, or has cases.

#include <cstdint>
#include <cstdlib>

#include "MemoryFile.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowCases.h"
#include "datasrc/ArrowFile.h"

namespace {

constexpr long long kMostRows = 5000;  // rows of nulls without a type need no bytes

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool utf8 = (SetUTF8mode(1), true);
  const MemoryFile file(data, size);
  try {
    ArrowArrayStream stream;
    OpenArrowFile(file.Path(), &stream);
    ArrowCases cases(&stream, {.roundTimes = utf8, .isSecret = false});
    if (cases.TakeDictionary() == nullptr) std::abort();
    for (long long row = 0; row < kMostRows && cases.Next() != nullptr; ++row) {
    }
  } catch (const ArrowFileError&) {
    // No Arrow file.
  } catch (const ArrowImportError&) {
    // What no system file can hold, or a malformed message.
  } catch (const QuavServerError&) {
    // A dictionary that no system file can hold.
  }
  return 0;
}
