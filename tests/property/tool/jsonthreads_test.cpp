// Random JSON lines, good and damaged, read on several threads in small blocks: dictionary, cases, warnings and errors are
// those of one thread.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/cli/InputFile.h"
#include "tests/property/tool/CsvFiles.h"
#include "tests/property/tool/DictionaryText.h"
#include "tests/support/Seeds.h"
#include "tools/files/GzipOutput.h"
#include "tools/jsonlines/JsonLinesCases.h"
#include "tools/jsonlines/JsonLinesDictionary.h"
#include "tools/messages/ToolError.h"

namespace jsonthreads_test {
namespace {

using csvfiles::Source;

constexpr int kFiles = Seeds(2'000);

struct Outcome {
  std::string dictionary;
  std::string cells;
  std::string messages;

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) { *out << outcome.dictionary << "\n" << outcome.messages; }

void AppendCells(tool::CaseReader& cases, std::size_t cellsPerCase, std::string& kept) {
  while (cases.Next()) kept.append(CellText(cases.Cells()), cellsPerCase * sizeof(OBS));
}

// What comes of a file: objects without a dictionary, or lists with that of two numbers and a text.
Outcome OutcomeOf(const InputFile& file, bool areLists, bool isPacked, const tool::BlockWork& work) {
  Outcome outcome;
  std::string failure;
  testing::internal::CaptureStderr();
  try {
    auto input = std::make_unique<tool::InputBytes>(file.Path());
    if (isPacked) input->Unpack();
    if (areLists) {
      SystemFileDataSource dictionary;
      for (const auto& [name, type] : {std::pair("A", 0), std::pair("B", 40), std::pair("C", 0)}) {
        QUAV_Variable variable(type);
        variable.SetName(name);
        dictionary.MakeVariable(variable, nullptr);
      }
      tool::JsonLinesCases cases(std::move(input), tool::JsonForm::lists, dictionary, {}, work);
      AppendCells(cases, dictionary.GetObsAreaSize(), outcome.cells);
    } else {
      tool::JsonLinesDictionary typed = tool::TypeJsonObjects({input.get(), input.get()}, work);
      outcome.dictionary = DictionaryText(*typed.dictionary);
      for (const std::string& member : typed.members) outcome.dictionary += member + "\n";
      tool::JsonLinesCases cases(std::move(input), typed.members, *typed.dictionary, {}, work);
      AppendCells(cases, typed.dictionary->GetObsAreaSize(), outcome.cells);
    }
  } catch (const tool::ToolError& error) {
    failure = error.what();
  }
  // The file has another name each time.
  outcome.messages = testing::internal::GetCapturedStderr() + failure;
  return outcome;
}

// A member keeps its kind in all of a file, but for a slip now and then.
std::string Value(Source& source, std::size_t kind, bool slips) {
  if (slips && source.OneIn(200)) kind = source.Below(6);
  switch (kind) {
    case 0:
      return "1" + source.Digits(8);
    case 1:
      return "-" + source.Digits(3).insert(0, "1") + "." + source.Digits(4);
    case 2:
      return "\"" + csvfiles::Date(source) + "\"";
    case 3:
      return "\"" + std::string(source.Below(30), 'x') + "\"";
    case 4:
      return source.Pick(std::array<const char*, 4>{"\"NaN\"", "null", "1e5", "\"Infinity\""});
    default:
      return source.Pick(std::array<const char*, 6>{"true", "[1]", "{}", "123456789012345678", "007", "\"\\u00e9\""});
  }
}

std::string Line(Source& source, bool isList, bool slips) {
  static constexpr std::array<std::string_view, 8> kNames{"a", "B", "c c", "d", "", "e", "f", "\\u00c4"};
  const char* const blank = source.OneIn(5) ? " \r" : "";
  std::string line = std::string(isList ? "[" : "{") + blank;
  const std::size_t count = isList ? 3 : source.Below(4);
  for (std::size_t k = 0; k < count; ++k) {
    if (k > 0) line += ",";
    const std::size_t member = isList ? k : (2 * k + source.Below(source.OneIn(100) ? 4 : 2)) % kNames.size();
    if (!isList) line += "\"" + std::string(kNames[member]) + "\":";
    line += Value(source, isList ? (k == 1 ? 3 : k / 2) : member % 4, slips);
  }
  return line + (isList ? "]" : "}");
}

class JsonThreads : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
  void TearDown() override { SetUTF8mode(0); }
};

TEST_F(JsonThreads, HaveTheOutcomeOfOneThread) {
  const unsigned first = std::random_device()();
  std::array<tool::TaskPool, 3> pools{tool::TaskPool(2), tool::TaskPool(3), tool::TaskPool(7)};
  int good = 0;
  for (int i = 0; i < kFiles && !HasFailure(); ++i) {
    const unsigned seed = first + static_cast<unsigned>(i);
    Source source(seed);
    const bool areLists = source.OneIn(2);
    const bool slips = source.OneIn(2);
    std::string bytes;
    for (std::size_t lines = source.Below(60); lines > 0; --lines) bytes += Line(source, areLists, slips) + "\n";
    if (source.OneIn(4) && !bytes.empty()) bytes.pop_back();
    if (source.OneIn(6) && !bytes.empty())
      bytes[source.Below(bytes.size())] = source.Pick(std::string_view("\n\",{}\r1x"));
    const bool isPacked = source.OneIn(5);
    std::string onDisk = bytes;
    if (isPacked) {
      tool::GzipOutput packing;
      onDisk = packing.Pack(bytes);
      onDisk += packing.End();
      if (source.OneIn(3)) onDisk.resize(source.Below(onDisk.size()) + 1);
    }
    SCOPED_TRACE("seed " + std::to_string(seed) + (isPacked ? " packed" : "") + "\n" + bytes);
    const InputFile file(onDisk);
    const Outcome one = OutcomeOf(file, areLists, isPacked, {});
    if (!one.cells.empty()) ++good;
    for (tool::TaskPool& pool : pools) {
      const std::size_t blockSize = 1 + source.Below(source.OneIn(2) ? 8 : 200);
      SCOPED_TRACE(std::to_string(pool.Threads()) + " threads, blocks of " + std::to_string(blockSize) + " bytes");
      EXPECT_EQ(one, OutcomeOf(file, areLists, isPacked, {&pool, blockSize}));
    }
  }
  EXPECT_LT(kFiles / 2, good) << "most of the files were wrong from the start";
  std::printf("JSON lines from seed %u on\n", first);
}

}  // namespace
}  // namespace jsonthreads_test
