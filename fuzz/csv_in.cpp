// Takes the input as CSV: types its columns, then reads its cases for the resulting dictionary, writes them to a system
// file and reads them back.
//
// Every case must be readable with the chosen types, and the system file must return the same bits.

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CasesThroughFile.h"
#include "MemoryFile.h"
#include "datasrc/datasrc.h"
#include "tools/csv/CsvCases.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/messages/ToolError.h"

namespace {

std::vector<Cells> ReadCases(std::unique_ptr<tool::InputBytes> input, const QUAV_DataSource& dictionary) {
  tool::CsvCases cases(std::move(input), {}, dictionary, {.digitsAreKept = true}, -1);
  return RowsOf(cases, dictionary);
}

void Convert(std::unique_ptr<tool::InputBytes> input, bool hasZeroBytes) {
  const tool::CsvDictionary typed = tool::TypeCsv(*input, {});
  const QUAV_DataSource& dictionary = *typed.dictionary;
  if (dictionary.GetObsAreaSize() * static_cast<std::size_t>(typed.rows + 1) > kMaxCells) return;
  std::vector<Cells> rows;
  try {
    rows = ReadCases(std::move(input), dictionary);
  } catch (const tool::ToolError&) {
    // A very long string cannot hold zero bytes. There is no other reason.
    Require(hasZeroBytes);
    return;
  }
  Require(static_cast<long long>(rows.size()) == typed.rows);
  RequireRowsThroughFile(dictionary, rows);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  PrepareForText();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file(data, size);
  try {
    Convert(std::make_unique<tool::InputBytes>(file.Path()), std::count(data, data + size, 0) != 0);
  } catch (const tool::ToolError&) {
    // Bad CSV, reported as such.
  }
  return 0;
}
