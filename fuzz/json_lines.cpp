// Takes the input as JSON lines: makes a dictionary of its objects, reads its cases for it on one thread and in small blocks
// on two, writes them to a system file and reads them back.
//
// Dictionary, cases and errors do not depend on the threads, and the system file returns the same bits. The first byte
// chooses the size of the blocks.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CasesThroughFile.h"
#include "MemoryFile.h"
#include "datasrc/datasrc.h"
#include "tools/jsonlines/JsonLinesCases.h"
#include "tools/jsonlines/JsonLinesDictionary.h"
#include "tools/messages/ToolError.h"

namespace {

struct Outcome {
  std::vector<std::string> members;
  std::vector<int> types;
  std::vector<Cells> rows;
  std::string error;

  bool operator==(const Outcome&) const = default;
};

// The dictionary is null after an error.
std::pair<std::unique_ptr<QUAV_DataSource>, Outcome> Read(const MemoryFile& file, const tool::BlockWork& work) {
  Outcome outcome;
  try {
    auto input = std::make_unique<tool::InputBytes>(file.Path());
    tool::JsonLinesDictionary typed = tool::TypeJsonObjects({input.get()}, work);
    outcome.members = typed.members;
    for (int column = 0; column < static_cast<int>(typed.dictionary->ColumnCount()); ++column)
      outcome.types.push_back(typed.dictionary->GetVariable(column).GetType());
    tool::JsonLinesCases cases(std::move(input), typed.members, *typed.dictionary, {}, work);
    while (outcome.rows.size() * typed.dictionary->GetObsAreaSize() < kMaxCells && cases.Next())
      outcome.rows.emplace_back(cases.Cells(), cases.Cells() + typed.dictionary->GetObsAreaSize());
    return {std::move(typed.dictionary), std::move(outcome)};
  } catch (const tool::ToolError& error) {
    outcome.error = error.what();
  }
  return {nullptr, std::move(outcome)};
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  PrepareForText();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static auto* const pool = new tool::TaskPool(2);
  const MemoryFile file(data + 1, size - 1);
  const auto [dictionary, outcome] = Read(file, {});
  Require(outcome == Read(file, {.pool = pool, .blockSize = data[0] + std::size_t{1}}).second);
  if (dictionary) RequireRowsThroughFile(*dictionary, outcome.rows);
  return 0;
}
