// Passes the input to the handler of an extension record. The dictionary has variables of every kind.
//
//   input   1 byte: selects the subtype
//           1 byte: bit 0: the file has the other byte order; bits 1 and 2: the unit size as a power of 2
//           the contents, cut to whole units
//
// Some lines of sets (subtypes 5, 7 and 19) and some numbers of date variables (subtype 6) end the process, by contract.
// The target skips them.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "Contract.h"
#include "core/systemfileformat.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "systemfile/SystemFileOptions.h"

namespace {

// Add a new subtype at the end, so that the kept inputs keep their meaning.
constexpr std::array kSubtypes{kSourceParametersSubtype,
                               kSourceNumbersSubtype,
                               kDisplaySubtype,
                               kLongNamesSubtype,
                               kVeryLongStringsSubtype,
                               kNumberOfCasesSubtype,
                               kLongStringLabelsSubtype,
                               kLongStringMissingSubtype,
                               kDEFormattingSubtype,
                               kFormatsSubtype,
                               kVariableSetsSubtype,
                               kTrendsSubtype,
                               kMRSetsSubtype,
                               kDatasetAttributesSubtype,
                               kVariableAttributesSubtype,
                               kEnhancedMRSetsSubtype,
                               kSortKeySubtype};

void AddVariable(SystemFileDataSource& source, int type, const char* name) {
  source.MakeVariable(type, nullptr).SetName(name);
}

// Adds numbers, strings, and columns that a record can join to a very long string of 600 bytes.
void SetUp(SystemFileDataSource& source, SystemFileOptions& options) {
  AddVariable(source, 0, "A");
  AddVariable(source, 8, "B");
  AddVariable(source, 40, "C");
  AddVariable(source, kSegmentType, "LONGS");
  AddVariable(source, kSegmentType, "LONGS0");
  AddVariable(source, 96, "LONGS1");
  AddVariable(source, 0, "Z");
  for (const char* name : {"A", "B", "LONGS", "Z"}) options.renames.push_back({name, name});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const int subtype = kSubtypes[data[0] % kSubtypes.size()];
  const int unitSize = 1 << (data[1] >> 1 & 3);
  const std::span contents = std::as_bytes(
      std::span(data + 2, (size - 2) / static_cast<std::size_t>(unitSize) * static_cast<std::size_t>(unitSize)));
  if (contents.empty()) return 0;  // by contract every record has contents
  SystemFileExtensionRecord record;
  record.Fill(unitSize, contents);
  SystemFileDataSource source;
  SystemFileOptions options;
  options.reversed = (data[1] & 1) != 0;
  SetUp(source, options);
  try {
    Survives([&] { SystemFileExtensionHandler::Read(subtype, source, options, record); });
  } catch (const SystemFileException&) {
    // A bad record, reported as such.
  }
  return 0;
}
