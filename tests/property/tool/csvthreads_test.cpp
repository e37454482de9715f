// Random CSV files, good and damaged, read and written on several threads in small blocks: cases, text, warnings and errors
// are those of one thread.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

#include "Platform/text/QUAVMB.h"
#include "tests/cli/InputFile.h"
#include "tests/property/tool/CsvFiles.h"
#include "tests/property/tool/DictionaryText.h"
#include "tests/support/Seeds.h"
#include "tools/cases/CopyCases.h"
#include "tools/csv/CsvCases.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/forms/TextCases.h"
#include "tools/messages/ToolError.h"

namespace csvthreads_test {
namespace {

using namespace csvfiles;

constexpr int kFiles = Seeds(3'000);

// What a conversion does with a file.
struct Outcome {
  std::string dictionary;
  std::string cells;
  std::string text;
  std::string messages;

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.dictionary << "\n" << outcome.text << "\n" << outcome.messages;
}

// Keeps the cells of the cases that it hands on.
class KeptCases final : public tool::CaseReader {
 public:
  KeptCases(tool::CaseReader& cases, std::size_t cellsPerCase, std::string& kept)
      : m_cases(cases), m_cellsPerCase(cellsPerCase), m_kept(kept) {}

  bool Next() override {
    if (!m_cases.Next()) return false;
    m_kept.append(CellText(Cells()), m_cellsPerCase * sizeof(OBS));
    return true;
  }
  const OBS* Cells() const override { return m_cases.Cells(); }

 private:
  tool::CaseReader& m_cases;
  std::size_t m_cellsPerCase;
  std::string& m_kept;
};

void Convert(const InputFile& file, const Made& made, const tool::BlockWork& work, std::size_t textBlock,
             tool::CaseForm form, Outcome& outcome) {
  auto input = Open(file, made);
  tool::CsvDictionary typed = tool::TypeCsv(*input, made.dialect, work);
  const QUAV_DataSource& dictionary = *typed.dictionary;
  outcome.dictionary = DictionaryText(dictionary) + std::to_string(typed.rows);
  tool::CsvCases cases(std::move(input), made.dialect, dictionary, {.digitsAreKept = true}, typed.rows, work);
  KeptCases kept(cases, dictionary.GetObsAreaSize(), outcome.cells);
  tool::Output output("");  // keeps its text, which is short
  tool::TextCases writer(dictionary, tool::AllColumns(dictionary), kUtf8Name, form, made.dialect, {}, output, work.pool,
                         textBlock);
  try {
    tool::CopyCases(kept, writer, tool::Progress::kNowhere);
  } catch (const tool::ToolError&) {
    outcome.text = output.Text().substr(0, output.Text().rfind('\n') + 1);
    output.Text().clear();
    // A value that would need quotes is refused when later cases may have been read.
    if (!made.dialect.quote) outcome.cells.clear();
    throw;
  }
  outcome.text = output.Text();
  output.Text().clear();
}

Outcome OutcomeOf(const InputFile& file, const Made& made, const tool::BlockWork& work, std::size_t textBlock,
                  tool::CaseForm form) {
  Outcome outcome;
  testing::internal::CaptureStderr();
  std::string failure;
  try {
    Convert(file, made, work, textBlock, form, outcome);
  } catch (const tool::ToolError& error) {
    failure = error.what();
  }
  // The file has another name each time.
  outcome.messages = testing::internal::GetCapturedStderr() + failure;
  return outcome;
}

// Changes, adds and removes bytes.
void Damage(Source& source, std::string& bytes) {
  constexpr std::string_view kBytes = "\"\"'\n\n\r,; x1\xC3\xFF";
  for (std::size_t count = 1 + source.Below(3); count > 0 && !bytes.empty(); --count) {
    const std::size_t at = source.Below(bytes.size());
    switch (source.Below(4)) {
      case 0:
        bytes[at] = source.Pick(kBytes);
        break;
      case 1:
        bytes.erase(at, 1 + source.Below(3));
        break;
      case 2:
        bytes.insert(at, source.OneIn(2) ? "\n\n" : "\r\n \r\n");
        break;
      default:
        bytes.insert(at, 1, source.Pick(kBytes));
        break;
    }
  }
}

class CsvThreads : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
  void TearDown() override { SetUTF8mode(0); }
};

TEST_F(CsvThreads, HaveTheOutcomeOfOneThread) {
  const unsigned first = std::random_device()();
  std::array<tool::TaskPool, 3> pools{tool::TaskPool(2), tool::TaskPool(3), tool::TaskPool(7)};
  for (int i = 0; i < kFiles && !HasFailure(); ++i) {
    const unsigned seed = first + static_cast<unsigned>(i);
    Source source(seed);
    Made made = MakeFile(source);
    if (source.OneIn(2)) Damage(source, made.bytes);
    SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + (made.isPacked ? "packed" : made.bytes));
    const InputFile file(made.bytes);
    const tool::CaseForm form = source.OneIn(3) ? tool::CaseForm::jsonLines : tool::CaseForm::csv;
    const Outcome one = OutcomeOf(file, made, {}, 1, form);
    for (tool::TaskPool& pool : pools) {
      const std::size_t blockSize = 1 + source.Below(source.OneIn(2) ? 8 : 200);
      const std::size_t textBlock = 1 + source.Below(200);
      SCOPED_TRACE(std::to_string(pool.Threads()) + " threads, blocks of " + std::to_string(blockSize) + " and " +
                   std::to_string(textBlock) + " bytes");
      EXPECT_EQ(one, OutcomeOf(file, made, {&pool, blockSize}, textBlock, form));
    }
  }
  std::printf("CSV files from seed %u on\n", first);
}

}  // namespace
}  // namespace csvthreads_test
