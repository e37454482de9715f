// CSV read in blocks on several threads, beside the same CSV read by one reader.

#include "tools/csv/CsvBlocks.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/cli/InputFile.h"
#include "tests/support/Seeds.h"
#include "tools/csv/CsvCases.h"
#include "tools/csv/CsvNames.h"
#include "tools/files/GzipOutput.h"
#include "tools/messages/ToolError.h"

namespace CsvBlocks_test {
namespace {

constexpr char kRefused[] = "refused";

// Returns the line of the record and its fields. In a part of the input, the line is not known.
std::string Shown(const tool::CsvReader& reader) {
  std::string text;
  for (const std::string_view field : reader.Fields()) text.append(field).append("|");
  return text + "\n";
}

void RefuseField(const tool::CsvReader& reader) {
  if (reader.Fields().back() == kRefused) reader.Fail("a refused field");
}

// Collects records as text. It is full after a few.
class Collector final : public tool::RecordTaker {
 public:
  Collector(std::string& all, std::size_t most) : m_all(all), m_most(most) {}

  void Clear() override {
    m_text.clear();
    m_count = 0;
  }
  bool Take(const tool::CsvReader& reader) override {
    if (reader.Fields().back() == kRefused) return false;
    m_text += Shown(reader);
    ++m_count;
    return true;
  }
  void Refuse(const tool::CsvReader& reader) override {
    RefuseField(reader);
    reader.Fail("no reason");
  }
  bool IsFull() const override { return m_count >= m_most; }
  void Deliver(long long blankLines) override {
    for (; blankLines > 0; --blankLines) m_all += "|\n";
    m_all += m_text;
  }

 private:
  std::string& m_all;
  std::size_t m_most;
  std::string m_text;
  std::size_t m_count = 0;
};

class CsvBlocks : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }
  void TearDown() override { SetUTF8mode(0); }

  using Open = std::unique_ptr<tool::InputBytes> (*)(const InputFile& file);
  static std::unique_ptr<tool::InputBytes> OpenPlain(const InputFile& file) {
    return std::make_unique<tool::InputBytes>(file.Path());
  }
  static std::unique_ptr<tool::InputBytes> OpenPacked(const InputFile& file) {
    auto input = OpenPlain(file);
    input->Unpack();
    return input;
  }

  // Returns the records, the error and its line. The first record is the header.
  static std::string OnOneThread(std::string_view bytes, const tool::CsvDialect& dialect = {}, Open open = OpenPlain) {
    const InputFile file(bytes);
    std::string all;
    try {
      const auto input = open(file);
      tool::CsvReader reader(*input, dialect);
      const std::size_t fields = tool::ReadHeader(reader, dialect, "").size();
      while (reader.Next()) {
        tool::RefuseWrongCount(reader, fields);
        RefuseField(reader);
        all += Shown(reader);
      }
    } catch (const tool::ToolError& error) {
      all += error.what();
    }
    return all;
  }
  static std::string InBlocks(std::string_view bytes, const tool::BlockWork& work, const tool::CsvDialect& dialect = {},
                              std::size_t most = 1000, Open open = OpenPlain) {
    const InputFile file(bytes);
    std::string all;
    try {
      const auto input = open(file);
      tool::CsvReader reader(*input, dialect);
      const std::size_t fields = tool::ReadHeader(reader, dialect, "").size();
      while (reader.IsHolding() && reader.Next()) {
        tool::RefuseWrongCount(reader, fields);
        RefuseField(reader);
        all += Shown(reader);
      }
      tool::CsvBlocks blocks(*input, reader, dialect, fields, work,
                             [&all, most] { return std::make_unique<Collector>(all, most); });
      while (blocks.DeliverNext()) {
      }
      EXPECT_FALSE(blocks.DeliverNext());
    } catch (const tool::ToolError& error) {
      all += error.what();
    }
    return all;
  }
  // Cuts the text in every way.
  void ExpectTheSame(const std::string& text, const tool::CsvDialect& dialect = {}) {
    SCOPED_TRACE(text);
    const std::string one = OnOneThread(text, dialect);
    for (std::size_t blockSize = 1; blockSize <= text.size() + 1; blockSize += kPlaceStep) {
      SCOPED_TRACE(blockSize);
      EXPECT_EQ(one, InBlocks(text, {&m_two, blockSize}, dialect));
      EXPECT_EQ(one, InBlocks(text, {&m_three, blockSize}, dialect, 1 + blockSize % 3));
    }
  }

  tool::TaskPool m_two{2};
  tool::TaskPool m_three{3};
};

TEST_F(CsvBlocks, AreCutBetweenRecords) {
  ExpectTheSame("a,b\n1,2\n3,4\n5,6\n");
  ExpectTheSame("a,b\r\n1,2\r\n3,4\r\n5,6");
  ExpectTheSame("a,b\r1,2\r3,4\r5,6\r");
  ExpectTheSame("a,b\r1,2\r\n3,4\n5,6\r\r\n7,8");
  ExpectTheSame("a,b\n");
  ExpectTheSame("a,b");
  ExpectTheSame("");
}

TEST_F(CsvBlocks, KeepLineBreaksInQuotes) {
  ExpectTheSame("a,b\n1,\"x\ny\"\n2,\"\n\n\"\n3,\"p\r\nq\"\n\"4\",\"\r\"\n5,\"z\"\n");
  ExpectTheSame("a,b\n\"1\"\"\n\",\"\"\"\"\n\"2\",\"\n\"\"\n\"\n3,4\n");
  ExpectTheSame("a;b\n'1\n';'\n'''\n2;'\n\n\n\n\n\n'\n3;4\n", {.delimiter = ';', .quote = '\''});
}

// A quote inside a field is an ordinary character, so line ends after it look as if they were in quotes.
TEST_F(CsvBlocks, AreCutAgainWhereQuotesMislead) {
  ExpectTheSame("a,b\n5\",1\n6,2\n7\",3\n8,4\n");
  ExpectTheSame("a,b\n5\",\"x\ny\"\n6,\"\n\"\n7\",\"\n\n\n\"\n8,4\n9,\"\n\n\"\n");
  ExpectTheSame("a,b\n\"5\n\n\",1\n6\"6,\"2\n\n2\"\n7,3\n\"8\n\",\"4\n\n\n\n\n\n\n\n\n4\"\n9,9\n");
  ExpectTheSame("a,b\n\"\n,1\n2,3\n", {.quote = {}});
}

TEST_F(CsvBlocks, HandOutBlankLinesBetweenRecords) {
  ExpectTheSame("a\n1\n\n\n2\n \n3\n\r\n\r\n4\n\n\n  \n");
  ExpectTheSame("\n\na\n1\n\n");
  ExpectTheSame("a\n\n\n\n\n\n\n1");
  ExpectTheSame("a\n\n\n\n\n\n\n");
  ExpectTheSame("\n\n\n1\n\n2", {.hasHeader = false});
}

TEST_F(CsvBlocks, RefuseABlankLineAmongLongerRecords) {
  ExpectTheSame("a,b\n1,2\n\n3,4\n");
  ExpectTheSame("a,b\n1,2\n\n\n\n3,4,5\n");
  ExpectTheSame("a,b\n1,2\n\n\n\n\"3\n");
  ExpectTheSame("a,b\n1,2\n\n\n\n\xC3,4\n");
}

TEST_F(CsvBlocks, ReportTheLineOfAFault) {
  for (const std::string fault : {"1", "1,2,3", "\"1\"x,2", "\"1,2", "\xC3,2", "1,refused"})
    for (const std::string before : {"", "1,2\n3,4\n\"5\n\n\",6\n", "1,\"2\n\"\r\n3,4\r"})
      for (const std::string after : {"", "\n7,8\n", "\n7,8\n9\n10,\"11\n", "\n\n\n"})
        ExpectTheSame("a,b\n" + before + fault + after);
}

TEST_F(CsvBlocks, SkipTheMarkAndLines) {
  ExpectTheSame("\xEF\xBB\xBFskip\"\nskip\na,b\n1,2\n3,4,5\n", {.skippedLines = 2});
  ExpectTheSame("a,b\n1,NA\nNA,\"NA\"\n", {.missing = {"NA"}});
}

// Sanitized, a field of a megabyte takes seconds.
TEST_F(CsvBlocks, RefuseLongFieldsAtAnyPlace) {
  constexpr std::size_t kLongest = 1 << 20;
#ifdef DATASRC_SANITIZED
  const std::vector<std::size_t> places{200'000};
  const std::vector<std::string> ends{",1\n3,4\n"};
#else
  const std::vector<std::size_t> places{0, 200'000};
  const std::vector<std::string> ends{",1\n3,4\n", ",1", "\"x,1\n", ",\"1", ",\"1\"x\n"};
#endif
  for (const std::size_t before : places) {
    std::string text = "a,b\n";
    while (text.size() < before) text += "1,2\n";
    for (const std::size_t size : {kLongest, kLongest + 1, 2 * kLongest}) {
      for (const std::string& end : ends)
        for (const std::string start : {"", "\"", "1,"}) {
          const std::string all = text + start + std::string(size, 'x') + (start == "\"" ? "\"" : "") + end;
          SCOPED_TRACE(std::to_string(before) + " " + std::to_string(size) + start + end);
          const std::string one = OnOneThread(all);
          const bool isRefused = one.find("longer than any value") != one.npos;
          // With other ends, the longest field may have more bytes.
          if (size > kLongest || end == ",1\n3,4\n") {
            EXPECT_EQ(size > kLongest, isRefused);
          }
          EXPECT_TRUE(one == InBlocks(all, {&m_two}));
        }
    }
  }
}

// A record may be longer than many blocks.
TEST_F(CsvBlocks, ReadLongRecords) {
  std::string text = "a,b\n";
  for (const unsigned lines : {1U, 50'000U, 3U, 100'000U, 1U})
    text += "1,\"" + std::string(lines, '\n') + "\"\n2,5\"\n";
  text += "3,4,5\n";
  const std::string one = OnOneThread(text);
  EXPECT_TRUE(one.ends_with("(at line 150017)")) << one.substr(one.size() - 100);
  for (const unsigned blockSize : {100U, 1000U, 60'000U}) EXPECT_TRUE(one == InBlocks(text, {&m_two, blockSize}));
}

// What is before the damage comes first.
TEST_F(CsvBlocks, ReportAnInputThatCannotBeReadToItsEnd) {
  std::string text = "a,b\n";
  for (int i = 0; i < 60'000; ++i) text += std::to_string(i * 7919 % 10'007) + "," + std::to_string(i) + "\r\n";
  tool::GzipOutput packing;
  std::string packed(packing.Pack(text));
  packed.append(packing.End());
  for (std::size_t part = 1; part < 8; part += kPlaceStep) {
    std::string damaged = packed;
    const std::size_t at = damaged.size() * part / 8;
    damaged.replace(at, 20, 20, '\xFF');
    for (const std::string& bytes : {damaged, packed.substr(0, at)}) {
      const std::string one = OnOneThread(bytes, {}, OpenPacked);
      EXPECT_FALSE(one.ends_with('\n')) << "no error";
      for (const unsigned blockSize : {1000U, 65'536U, 1'000'000U})
        EXPECT_TRUE(one == InBlocks(bytes, {&m_three, blockSize}, {}, 1000, OpenPacked)) << part << " " << blockSize;
    }
  }
}

// A block of short texts makes many wide cases, of which only some are kept at a time.
TEST_F(CsvBlocks, FillWideCasesInParts) {
  SystemFileDataSource dictionary;
  QUAV_Variable variable(32'000);
  variable.SetName("a");
  dictionary.MakeVariable(variable, nullptr);
  std::string text = "a\n";
  constexpr int kCases = 3000;
  for (int i = 0; i < kCases; ++i) text += std::to_string(i) + "\n";
  const InputFile file(text);
  tool::CsvCases cases(OpenPlain(file), {}, dictionary, {}, -1, {&m_two, 4000});
  int count = 0;
  for (; cases.Next(); ++count)
    EXPECT_TRUE(std::string_view(CellText(cases.Cells()), 32'000).starts_with(std::to_string(count) + " "));
  EXPECT_EQ(kCases, count);
  EXPECT_FALSE(cases.Next());
}

// Text in another encoding needs a converter for each thread.
TEST_F(CsvBlocks, FillTextInAnotherEncoding) {
  SystemFileDataSource dictionary;
  QUAV_Variable variable(8);
  variable.SetName("a");
  dictionary.MakeVariable(variable, nullptr);
  std::string text = "a\n";
  for (int i = 0; i < 5000; ++i) text += "\u00E4" + std::to_string(i) + "\u20AC\n";
  const InputFile file(text + "\u4E2D\n");
  tool::CsvCases cases(OpenPlain(file), {}, dictionary, {.encoding = "windows-1252"}, -1, {&m_three, 500});
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(cases.Next());
    std::string wanted = "\xE4" + std::to_string(i) + "\x80";
    wanted.resize(8, ' ');
    EXPECT_EQ(wanted, std::string_view(CellText(cases.Cells()), 8));
  }
  EXPECT_THROW(cases.Next(), tool::LineError);
}

}  // namespace
}  // namespace CsvBlocks_test
