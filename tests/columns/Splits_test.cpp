#include "datasrc/Splits.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Columns/dictionary/FileOpening.h"
#include "Platform/text/QUAVMB.h"
#include "tests/columns/RandomFiles.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Seeds.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

namespace Splits_test {
namespace {

namespace fs = std::filesystem;

// ---- Reading ----

Outcome Whole(const QUAV_DataSource& source, const ColumnReaderOptions& options = {}) {
  Outcome outcome;
  ReadInto(outcome, source, options);
  return outcome;
}

Outcome OfSplits(const std::vector<std::string>& tokens, const ColumnReaderOptions& options = {},
                 const SplitOpening& opening = {}) {
  Outcome outcome;
  for (const std::string& token : tokens) {
    EXPECT_EQ(std::nullopt, outcome.error) << "only the last split has a fault";
    const Split split = OpenSplit(token, opening);
    EXPECT_EQ(static_cast<long long>(outcome.rows.size()), split.firstRow);
    EXPECT_EQ(&token == &tokens.back(), split.isLast);
    const std::size_t before = outcome.rows.size();
    ReadInto(outcome, *split.source, split.InSource(options));
    EXPECT_EQ(static_cast<std::size_t>(split.rows), outcome.rows.size() - before);
    if (tokens.size() > 1) {
      EXPECT_GT(split.rows, 0);
    }
  }
  return outcome;
}

void ExpectSplitsAreTheWhole(const QUAV_DataSource& source, const SplitOpening& opening = {}) {
  const Outcome whole = Whole(source);
  for (int count = 1; count <= 17; count += kPlaceStep) {
    const std::vector<std::string> tokens = MakeSplits(source, count);
    ASSERT_GE(tokens.size(), 1u);
    ASSERT_LE(tokens.size(), static_cast<std::size_t>(count));
    ASSERT_EQ(whole, OfSplits(tokens, {}, opening)) << count << " splits";
  }
}

std::string TextOfSplitError(const std::string& token, const SplitOpening& opening = {}) {
  try {
    OpenSplit(token, opening);
  } catch (const SplitError& error) {
    return error.what();
  }
  return "no error";
}

// A token with other contents, and the checksum that belongs to them.
std::string Forged(const std::string& contents) {
  const auto* const bytes = reinterpret_cast<const Bytef*>(contents.data());
  char sum[9];
  std::snprintf(sum, sizeof sum, "%08lx", crc32(0, bytes, static_cast<uInt>(contents.size())));
  return contents + sum;
}

std::vector<std::string> FieldsOf(const std::string& token) {
  std::vector<std::string> fields(1);
  for (const char c : token) {
    if (c == ':')
      fields.emplace_back();
    else
      fields.back() += c;
  }
  return fields;
}

std::string WithFields(const std::string& token, const std::vector<std::pair<std::size_t, std::string>>& changes) {
  std::vector<std::string> fields = FieldsOf(token);
  for (const auto& [index, text] : changes) fields.at(index) = text;
  std::string contents;
  for (std::size_t i = 0; i + 1 < fields.size(); ++i) contents += fields[i] + ':';
  return Forged(contents);
}

constexpr std::size_t kFirstRowField = 6;
constexpr std::size_t kRowsField = 7;
constexpr std::size_t kPositionField = 8;

// Changes the bytes of the file, but not its size and time.
void Replace(const TempFile& file, std::size_t at, const std::string& bytes) {
  const auto time = fs::last_write_time(file.Name());
  std::string all = file.Bytes();
  all.replace(at, bytes.size(), bytes);
  file.SetBytes(all);
  fs::last_write_time(file.Name(), time);
}

// The view of a file in another encoding is one in UTF-8 only in this mode.
class Splits : public testing::Test {
 protected:
  Splits() { SetUTF8mode(1); }
  ~Splits() override { SetUTF8mode(0); }
};

// ---- The whole ----

TEST_F(Splits, OfEverySampleAreTheWhole) {
  int files = 0;
  for (const char* folder : {"", "bad", "found"}) {
    for (const auto& entry : fs::directory_iterator(std::string(SAMPLES_DIR "/") + folder)) {
      if (entry.path().extension() != ".quav") continue;
      SCOPED_TRACE(entry.path());
      dstext::SourceLine source;
      const auto error =
          ErrorOf([&] { source = dstext::OpenInPresentEncoding(entry.path().string(), ExtNameStr(), nullptr); });
      if (error) continue;
      ++files;
      ASSERT_NO_FATAL_FAILURE(ExpectSplitsAreTheWhole(*source));
    }
  }
  EXPECT_GT(files, 15);
}

TEST_F(Splits, OfRandomFilesAreTheWhole) {
  unsigned int seed = 0;
  for (const int compression : {0, 1, 2}) {
    for (const std::endian order : {std::endian::little, std::endian::big}) {
      for (const int cases : {0, 1, 5, 16, 17, 333, 1200}) {
        SCOPED_TRACE(testing::Message() << compression << ' ' << (order == std::endian::big) << ' ' << cases);
        Shape shape = {.compression = compression, .order = order, .cases = cases};
        // A little more than one cell a case, some, and more than the groups that are found at a time.
        for (const int numbers : {1, 7, 2500}) {
          if (numbers * cases > 3000) continue;
          shape.numbers = numbers;
          const TempFile file(FileBytes(shape, ++seed));
          const SystemFileDataSource source(file.Name(), "", false);
          ASSERT_NO_FATAL_FAILURE(ExpectSplitsAreTheWhole(source));
        }
      }
    }
  }
}

TEST_F(Splits, OfLongZlibFilesBeginWithABlock) {
  const Shape shape = {.compression = 2, .numbers = 40, .cases = 16000, .blockSize = 128 * 1024};
  const TempFile file(FileBytes(shape));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::vector<std::string> tokens = MakeSplits(source, 2);
  ASSERT_THAT(tokens, SizeIs(2));
  const ColumnReaderOptions options = {.columns = {{0, 40}}};
  EXPECT_EQ(Whole(source, options), OfSplits(tokens, options));
  const long position = std::stol(FieldsOf(tokens[1]).at(kPositionField));
  EXPECT_GT(position, 1000000);
  EXPECT_LT(position % (128 * 1024), 41 * 9) << "not farther than a case";
}

TEST_F(Splits, OfOddGroupsAreTheWhole) {
  for (unsigned int seed = 0; seed < 20; ++seed) {
    const TempFile file(FileOfOddGroups(4 * static_cast<int>(50 + 37 * seed), seed));
    const SystemFileDataSource source(file.Name(), "", false);
    ASSERT_NO_FATAL_FAILURE(ExpectSplitsAreTheWhole(source)) << seed;
  }
}

// Row 0 has one place, though its first cell is far after the beginning of the data.
TEST_F(Splits, OfAFileThatBeginsWithGroupsWithoutCellsAreTheWhole) {
  for (const std::size_t groups : {1UL, 2UL, 3UL, 100UL, 5000UL}) {
    for (const int cases : {0, 1, 2, 300}) {
      const Shape shape = {.cases = cases};
      std::string bytes = FileBytes(shape);
      bytes.insert(Dictionary(shape).Size(), 8 * groups, '\0');
      const TempFile file(bytes);
      const SystemFileDataSource source(file.Name(), "", false);
      ASSERT_EQ(static_cast<std::size_t>(cases), Whole(source).rows.size());
      ASSERT_NO_FATAL_FAILURE(ExpectSplitsAreTheWhole(source)) << groups << ' ' << cases;
    }
  }
}

TEST_F(Splits, OfAFileThatIsCutHaveTheFaultAtTheEnd) {
  for (const int compression : {0, 1, 2}) {
    const std::string bytes = FileBytes({.compression = compression, .cases = 200});
    for (const std::size_t cut : {1UL, 7UL, 8UL, 9UL, 100UL, 1000UL, 3001UL}) {
      const TempFile file(bytes.substr(0, bytes.size() - cut));
      const SystemFileDataSource source(file.Name(), "", false);
      ASSERT_NO_FATAL_FAILURE(ExpectSplitsAreTheWhole(source)) << compression << ' ' << cut;
    }
  }
}

// After the cases that the header counts, blocks without a table may hold the rest of an append.
TEST_F(Splits, OfBlocksWithoutTheirTableEndWithTheCountedCases) {
  for (const std::int32_t count : {-1, 0, 50, 200, 300}) {
    const TempFile file(FileBytes({.compression = 2, .cases = 200, .count = count, .hasTable = false}));
    const SystemFileDataSource source(file.Name(), "", false);
    ASSERT_NO_FATAL_FAILURE(ExpectSplitsAreTheWhole(source)) << count;
  }
}

TEST_F(Splits, OfADamagedBlockHaveTheRowsBeforeIt) {
  const Shape shape = {.compression = 2, .cases = 500};
  std::string bytes = FileBytes(shape);
  bytes[Dictionary(shape).Size() + (bytes.size() - Dictionary(shape).Size()) / 2] ^= 0x55;
  const TempFile file(bytes);
  const SystemFileDataSource source(file.Name(), "", false);
  const Outcome whole = Whole(source);
  EXPECT_EQ(1205, whole.error);
  EXPECT_FALSE(whole.rows.empty());
  ExpectSplitsAreTheWhole(source);
}

TEST_F(Splits, OfAnEncryptedFileNeedItsPassword) {
  const TempFile file(EncryptedFile(FileBytes({.cases = 300}), "secret"));
  const SystemFileDataSource source(file.Name(), "secret", false);
  SplitOpening opening;
  opening.password.SetU8("secret");
  ExpectSplitsAreTheWhole(source, opening);
  const std::vector<std::string> tokens = MakeSplits(source, 2);
  EXPECT_EQ(1214, ErrorOf([&] { OpenSplit(tokens[1]); })->Number());
  EXPECT_THAT(tokens[1], testing::Not(HasSubstr("secret")));
}

TEST_F(Splits, TakeColumnsAndRows) {
  const TempFile file(FileBytes({.cases = 400}));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::vector<std::string> tokens = MakeSplits(source, 5);
  ASSERT_THAT(tokens, SizeIs(5));
  for (const std::vector<int>& columns : {std::vector{5, 0}, {3}, {}}) {
    ColumnReaderOptions options;
    options.columns = columns;
    options.rowsPerBatch = 64;
    EXPECT_EQ(Whole(source, options), OfSplits(tokens, options));
    for (const std::string& token : tokens) {
      const Split split = OpenSplit(token);
      for (const long long first : {0LL, 3LL, split.rows - 1, split.rows, split.rows + 1, 1LL << 62}) {
        for (const long long rows : {0LL, 2LL, 1LL << 62}) {
          ColumnReaderOptions inSplit = options;
          inSplit.firstRow = first;
          inSplit.rows = rows;
          Outcome got;
          ReadInto(got, *split.source, split.InSource(inSplit));
          ColumnReaderOptions inFile = options;
          inFile.firstRow = split.firstRow + std::min(first, split.rows);
          inFile.rows = std::min(rows, split.rows - std::min(first, split.rows));
          ASSERT_EQ(Whole(source, inFile), got) << first << ' ' << rows;
        }
      }
    }
  }
}

TEST_F(Splits, DivideTheWork) {
  for (const int compression : {0, 1, 2}) {
    const TempFile file(FileBytes({.compression = compression, .cases = 4000}));
    const SystemFileDataSource source(file.Name(), "", false);
    for (const int count : {2, 7, 16}) {
      const std::vector<std::string> tokens = MakeSplits(source, count);
      ASSERT_THAT(tokens, SizeIs(count));
      for (const std::string& token : tokens)
        EXPECT_NEAR(4000.0 / count, static_cast<double>(OpenSplit(token).rows), 4000.0 / count / 8) << compression;
    }
  }
}

// The first cases become others. A walk from the start would come to other rows.
TEST_F(Splits, BeginWithoutAWalkFromTheStart) {
  const Shape shape = {.cases = 1000};
  const TempFile file(FileBytes(shape));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::vector<std::string> tokens = MakeSplits(source, 4);
  const Outcome whole = Whole(source);
  Replace(file, Dictionary(shape).Size(), std::string(64, static_cast<char>(100)));
  for (std::size_t k = 1; k < tokens.size(); ++k) {
    const Split split = OpenSplit(tokens[k]);
    Outcome got;
    ReadInto(got, *split.source, split.InSource({}));
    const auto first = whole.rows.begin() + split.firstRow;
    EXPECT_EQ(std::vector<BatchRow>(first, first + split.rows), got.rows);
  }
}

TEST_F(Splits, InflateTheirOwnBlocksOnly) {
  const Shape shape = {.compression = 2, .cases = 1000};
  const TempFile file(FileBytes(shape));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::vector<std::string> tokens = MakeSplits(source, 4);
  const Outcome whole = Whole(source);
  Replace(file, Dictionary(shape).Size() + 40, "wrong");
  const Split split = OpenSplit(tokens[2]);
  Outcome got;
  ReadInto(got, *split.source, split.InSource({}));
  EXPECT_EQ(std::nullopt, got.error);
  const auto first = whole.rows.begin() + split.firstRow;
  EXPECT_EQ(std::vector<BatchRow>(first, first + split.rows), got.rows);
}

// ---- Tokens ----

TEST_F(Splits, HaveTokensThatNeedNoQuotes) {
  const TempFile file(FileBytes({}), "it's 50% \"ö\".quav");
  const SystemFileDataSource source(file.Name(), "", false);
  for (const std::string& token : MakeSplits(source, 3)) {
    EXPECT_THAT(token, MatchesRegex("[-a-zA-Z0-9/._%:]+"));
    EXPECT_THAT(token, StartsWith("datasrc-split-1:/"));
    EXPECT_THAT(token, HasSubstr("it%27s%2050%25%20%22%c3%b6%22.quav:"));
  }
  EXPECT_EQ(Whole(source), OfSplits(MakeSplits(source, 3)));
}

TEST_F(Splits, OfAFileAsItIsStoredHaveItsPathInUtf8) {
  const TempFile file("", "ö.quav");
  fs::copy_file(SAMPLES_DIR "/cp1252.quav", file.Name(), fs::copy_options::overwrite_existing);
  const auto source = dstext::OpenAsStored(file.Name(), ExtNameStr());
  const std::vector<std::string> tokens = MakeSplits(*source, 1);
  EXPECT_THAT(tokens[0], HasSubstr("/%c3%b6.quav:"));
  EXPECT_EQ(Whole(*source), OfSplits(tokens));
}

TEST_F(Splits, HaveTheAbsolutePath) {
  const TempFile file(FileBytes({}));
  const fs::path before = fs::current_path();
  fs::current_path(file.Directory());
  std::vector<std::string> tokens;
  {
    const SystemFileDataSource source("sample.quav", "", false);
    tokens = MakeSplits(source, 2);
  }
  fs::current_path(before);
  EXPECT_EQ(100u, OfSplits(tokens).rows.size());
}

TEST_F(Splits, OpenACopyThatKeepsItsTime) {
  const TempFile file(FileBytes({}));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::vector<std::string> tokens = MakeSplits(source, 3);
  const TempFile copy(file.Bytes());
  SplitOpening opening;
  opening.file = ExtNameStr(copy.Name());
  EXPECT_THAT(TextOfSplitError(tokens[0], opening), HasSubstr("not the one of its splits"));
  fs::last_write_time(copy.Name(), fs::last_write_time(file.Name()));
  fs::remove(file.Name());
  EXPECT_EQ(1201, ErrorOf([&] { OpenSplit(tokens[0]); })->Number());
  EXPECT_EQ(Whole(source), OfSplits(tokens, {}, opening));
}

TEST_F(Splits, OfAChangedFileAreErrors) {
  const Shape shape = {.cases = 100};
  const std::string bytes = FileBytes(shape);
  const TempFile file(bytes);
  std::vector<std::string> tokens;
  {
    const SystemFileDataSource source(file.Name(), "", false);
    tokens = MakeSplits(source, 2);
  }
  const auto time = fs::last_write_time(file.Name());
  const auto expectChanged = [&](const char* what) {
    EXPECT_EQ("the file is not the one of its splits any more: " + file.Name(), TextOfSplitError(tokens[1])) << what;
    file.SetBytes(bytes);
    fs::last_write_time(file.Name(), time);
    EXPECT_EQ("no error", TextOfSplitError(tokens[1])) << what;
  };
  fs::last_write_time(file.Name(), time + std::chrono::nanoseconds(1));
  expectChanged("time");
  file.SetBytes(bytes + std::string(8, static_cast<char>(100)));
  fs::last_write_time(file.Name(), time);
  expectChanged("size");
  Replace(file, Dictionary(shape).Size() - 1, "x");
  expectChanged("dictionary");
  Replace(file, bytes.size() - 1, "x");
  expectChanged("end");
  {
    SystemFileDataSource source(file.Name(), "", false);
    source.AddRow(std::vector<OBS>(source.GetObsAreaSize()).data());
    source.Close();
  }
  expectChanged("append");
}

TEST_F(Splits, AreNotMadeOfAFileThatWasChangedAfterItWasOpened) {
  const TempFile file(FileBytes({}));
  const SystemFileDataSource source(file.Name(), "", false);
  file.SetBytes(file.Bytes() + std::string(8, static_cast<char>(100)));
  EXPECT_THROW(MakeSplits(source, 2), SplitError);
}

// Each bit of each byte.
TEST_F(Splits, RefuseDamagedTokens) {
  const TempFile file(FileBytes({.cases = 40}));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::string token = MakeSplits(source, 2)[1];
  for (std::size_t at = 0; at < token.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = token;
      damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
      ASSERT_EQ("the token of a split is damaged", TextOfSplitError(damaged)) << damaged;
    }
    ASSERT_EQ("the token of a split is damaged", TextOfSplitError(token.substr(0, at)));
    ASSERT_EQ("the token of a split is damaged", TextOfSplitError(token.substr(at + 1)));
  }
  for (const std::string& other : {token + "x", token + ":", token + "\n", " " + token, token + token})
    EXPECT_EQ("the token of a split is damaged", TextOfSplitError(other)) << other;
}

TEST_F(Splits, RefuseTokensOfAnotherForm) {
  const TempFile file(FileBytes({}));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::string token = MakeSplits(source, 2)[1];
  EXPECT_EQ("no error", TextOfSplitError(WithFields(token, {})));
  EXPECT_THAT(TextOfSplitError(WithFields(token, {{0, "datasrc-split-2"}})), HasSubstr("of a version"));
  const std::vector<std::pair<std::size_t, std::string>> changes = {
      {0, "datasrc"}, {1, ""},         {1, "%00"},       {1, "/a%2"},  {1, "/a%2Fb"}, {1, "/a%62"}, {1, "/a b"},
      {1, "%"},       {2, "-1"},       {2, "007"},       {2, ""},      {2, "1x"},     {3, "+1"},    {3, "-0"},
      {4, "1234567"}, {4, "1234567G"}, {4, "ABCDEF01"},  {5, "Shown"}, {5, ""},       {6, "-1"},    {7, "-1"},
      {8, "-1"},      {9, "next"},     {9, "last:more"}, {10, ""},     {10, "%00"},   {10, "a b"}};
  for (const auto& change : changes)
    EXPECT_EQ("the token of a split is damaged", TextOfSplitError(WithFields(token, {change}))) << change.second;
  const std::string huge = "9223372036854775807";
  EXPECT_EQ("the token of a split is damaged", TextOfSplitError(WithFields(token, {{6, huge}, {7, "1"}})));
  EXPECT_EQ("the token of a split is damaged", TextOfSplitError(WithFields(token, {{6, "9223372036854775808"}})));
}

TEST_F(Splits, RefuseAnEncodingThatIsNone) {
  const TempFile file(FileBytes({}));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::string token = MakeSplits(source, 1)[0];
  EXPECT_EQ("no error", TextOfSplitError(WithFields(token, {{10, "ISO-8859-1"}})));
  EXPECT_EQ("the split is of a file in an encoding that this library does not know: ebcdic, more or less",
            TextOfSplitError(WithFields(token, {{10, "ebcdic%2c%20more%20or%20less"}})));
}

// Whoever makes a token with a right checksum gets wrong rows, or an error, but nothing worse.
TEST_F(Splits, OfForgedPlacesDoNoHarm) {
  for (const int compression : {0, 1, 2}) {
    const TempFile file(compression == 1 ? FileOfOddGroups(400, 5)
                                         : FileBytes({.compression = compression, .numbers = 3, .cases = 100}));
    const SystemFileDataSource source(file.Name(), "", false);
    const std::string token = MakeSplits(source, 3)[1];
    for (int position = 0; position < 4000; position += position < 150 ? 1 : 61) {
      for (const char* row : {"0", "77", "4611686018427387904"}) {
        const std::string forged = WithFields(
            token, {{kFirstRowField, row}, {kRowsField, "1000"}, {kPositionField, std::to_string(position)}});
        try {
          const Split split = OpenSplit(forged);
          for (const std::optional<std::vector<int>>& columns : {std::optional<std::vector<int>>(), {{0}}}) {
            Outcome outcome;
            ReadInto(outcome, *split.source, split.InSource({.columns = columns}));
            ASSERT_LE(outcome.rows.size(), 1000u);
            if (outcome.error) {
              ASSERT_EQ(1205, outcome.error);
            }
          }
        } catch (const SplitError& error) {
          ASSERT_THAT(error.what(), HasSubstr("not the one of its splits"));
        }
      }
    }
    for (const char* position : {"1000000", "9223372036854775807", "9223372036854775800"})
      EXPECT_THAT(TextOfSplitError(WithFields(token, {{kPositionField, position}})), HasSubstr("not the one"));
  }
}

TEST_F(Splits, OfAPathThatIsNoFileAreErrors) {
  const TempFile file(FileBytes({}));
  const SystemFileDataSource source(file.Name(), "", false);
  const std::string token = MakeSplits(source, 1)[0];
  EXPECT_EQ(1201, ErrorOf([&] { OpenSplit(WithFields(token, {{1, file.Directory()}})); })->Number());
  EXPECT_EQ(1201, ErrorOf([&] { OpenSplit(WithFields(token, {{1, "/dev/null"}})); })->Number());
}

using SplitsDeathTest = Splits;

TEST_F(SplitsDeathTest, RefuseAWrongCountOrSource) {
  const TempFile file(FileBytes({}));
  const SystemFileDataSource source(file.Name(), "", false);
  for (const int count : {0, -1, kMostSplits + 1}) EXPECT_DEATH(MakeSplits(source, count), "kMostSplits");
  EXPECT_THAT(MakeSplits(source, kMostSplits), SizeIs(testing::Le(100u)));
  const MemorySource memory;
  EXPECT_DEATH(MakeSplits(memory, 1), "the source is a system file");
  const Split split = OpenSplit(MakeSplits(source, 1)[0]);
  EXPECT_DEATH(split.InSource({.firstRow = -1}), "no number is negative");
  EXPECT_DEATH(split.InSource({.rows = -1}), "no number is negative");
}

}  // namespace
}  // namespace Splits_test
