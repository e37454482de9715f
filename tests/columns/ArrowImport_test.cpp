#include "datasrc/ArrowImport.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Columns/dictionary/FileOpening.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/columns/MadeStream.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Reading.h"
#include "tests/support/TempFile.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using Stream = Arrow<ArrowArrayStream>;

namespace ArrowImport_test {
namespace {

const double kMissing = QUAV_DataSource::SystemMissing();

class ArrowImport : public testing::Test {
 protected:
  ArrowImport() { SetUTF8mode(1); }
  ~ArrowImport() override { SetUTF8mode(0); }

  ArrowImportResult WriteMade(const MadeStream& made, const ArrowWriteOptions& options = {}) const {
    Stream stream = made.Stream();
    return WriteArrowStream(&stream, Path(), options);
  }
  ArrowImportResult Write(const std::vector<MadeColumn>& columns, const ArrowWriteOptions& options = {}) const {
    return WriteMade(MadeStream(columns), options);
  }

  // The text of the refusal. Nothing may be left of the file.
  std::string Refusal(const std::vector<MadeColumn>& columns, const ArrowWriteOptions& options = {}) const {
    return RefusalOfMade(MadeStream(columns), options);
  }
  std::string RefusalOfMade(const MadeStream& made, const ArrowWriteOptions& options = {}) const {
    std::filesystem::remove(Path());
    try {
      WriteMade(made, options);
    } catch (const ArrowImportError& error) {
      EXPECT_TRUE(std::filesystem::is_empty(m_folder.Directory()));
      return error.what();
    }
    return "no refusal";
  }

  std::string Path() const { return m_folder.Name(); }

  std::vector<double> Numbers(int column = 0) const {
    const SystemFileDataSource file(Path(), "", false);
    ColumnReader reader(file, {.columns = {{column}}});
    std::vector<double> numbers;
    while (const auto batch = reader.Next())
      numbers.insert(numbers.end(), batch->columns[0].numbers, batch->columns[0].numbers + batch->rows);
    return numbers;
  }

  std::vector<std::string> Texts(int column = 0) const {
    const SystemFileDataSource file(Path(), "", false);
    ColumnReader reader(file, {.columns = {{column}}});
    std::vector<std::string> texts;
    while (const auto batch = reader.Next())
      for (long long row = 0; row < batch->rows; ++row) texts.emplace_back(batch->columns[0].Text(row));
    return texts;
  }

 private:
  const TempFile m_folder{""};
};

// ---- Numbers ----

TEST_F(ArrowImport, EveryBitOfADoubleComesBack) {
  const std::vector<double> values{0.1, -0.0, std::numeric_limits<double>::denorm_min(),
                                   std::numeric_limits<double>::max(), std::numeric_limits<double>::infinity()};
  Write({NumberColumn("v", "g", values)});
  const std::vector<double> found = Numbers();
  ASSERT_EQ(values.size(), found.size());
  for (std::size_t i = 0; i < values.size(); ++i)
    EXPECT_EQ(std::bit_cast<std::uint64_t>(values[i]), std::bit_cast<std::uint64_t>(found[i]));
}

TEST_F(ArrowImport, NotANumberIsAValue) {
  Write({NumberColumn<double>("v", "g", {std::nan("")})});
  EXPECT_TRUE(std::isnan(Numbers()[0]));
}

TEST_F(ArrowImport, RefusesTheNumberOfMissing) {
  EXPECT_THAT(Refusal({NumberColumn<double>("v", "g", {1, kMissing})}),
              HasSubstr("of the column v in row 1 is the number that stands for a missing value"));
}

TEST_F(ArrowImport, NullIsMissing) {
  MadeColumn column = NumberColumn<std::int32_t>("v", "i", {1, 2, 3, 4, 5, 6, 7, 8, 9});
  column.buffers[0] = "\xFD\x01";
  Write({column});
  EXPECT_THAT(Numbers(), ElementsAre(1, kMissing, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(ArrowImport, OffsetsCountForValidityAndValues) {
  MadeColumn column = NumberColumn<std::int32_t>("v", "i", {1, 2, 3, 4, 5, 6, 7, 8, 9});
  column.buffers[0] = "\x7F\x01";
  column.offset = 6;
  column.length = 3;
  Write({column});
  EXPECT_THAT(Numbers(), ElementsAre(7, kMissing, 9));
}

TEST_F(ArrowImport, HalfPrecisionNumbers) {
  // 1, -2, the least normal, the least of all, the largest, infinity
  Write({NumberColumn<std::uint16_t>("v", "e", {0x3C00, 0xC000, 0x0400, 0x0001, 0x7BFF, 0x7C00})});
  EXPECT_THAT(Numbers(), ElementsAre(1, -2, std::ldexp(1, -14), std::ldexp(1, -24), 65504, HUGE_VAL));
}

TEST_F(ArrowImport, IntegersOfMoreThan53BitsAreRefused) {
  const std::int64_t least = std::numeric_limits<std::int64_t>::min();
  Write({NumberColumn<std::int64_t>("v", "l", {least, (1LL << 53) + 2, -(1LL << 60)})});
  EXPECT_THAT(Numbers(), ElementsAre(-0x1p63, 0x1p53 + 2, -0x1p60));
  for (const std::int64_t value : std::vector<std::int64_t>{(1LL << 53) + 1, -(1LL << 53) - 1, least + 1})
    EXPECT_THAT(Refusal({NumberColumn<std::int64_t>("v", "l", {0, value})}), HasSubstr(std::to_string(value)));
}

// ---- Decimals ----

TEST_F(ArrowImport, DecimalsOfEverySize) {
  Write({NumberColumn<std::int32_t>("a", "d:9,2,32", {-12345, 5}),
         NumberColumn<std::int64_t>("b", "d:18,2,64", {-12345, 5}),
         NumberColumn<std::int64_t>("c", "d:38,2", {-12345, -1, 5, 0}),
         NumberColumn<std::int64_t>("d", "d:70,2,256", {-12345, -1, -1, -1, 5, 0, 0, 0})});
  for (int column = 0; column < 4; ++column) EXPECT_THAT(Numbers(column), ElementsAre(-123.45, 0.05));
}

TEST_F(ArrowImport, DecimalsWithAScaleBelowZero) {
  Write({NumberColumn<std::int32_t>("a", "d:9,-3,32", {12, 0, -7})});
  EXPECT_THAT(Numbers(), ElementsAre(12000, 0, -7000));
}

TEST_F(ArrowImport, DecimalsWithTooManyDigitsAreRefused) {
  EXPECT_THAT(Refusal({NumberColumn<std::int64_t>("a", "d:18,3,64", {123456789012345678})}),
              HasSubstr("\"123456789012345.678\" of the column a in row 0 cannot be a number"));
}

// ---- Times ----

TEST_F(ArrowImport, TimesCountFrom1582) {
  constexpr double kDay = 86400;
  constexpr double k1970 = 141428 * kDay;
  Write({NumberColumn<std::int32_t>("d", "tdD", {-1, 19782}), NumberColumn<std::int64_t>("m", "tsm:", {-1500, 1250}),
         NumberColumn<std::int64_t>("n", "tDn", {-1'500'000'000, 250'000'000})});
  EXPECT_THAT(Numbers(0), ElementsAre(k1970 - kDay, k1970 + 19782 * kDay));
  EXPECT_THAT(Numbers(1), ElementsAre(k1970 - 1.5, k1970 + 1.25));
  EXPECT_THAT(Numbers(2), ElementsAre(-1.5, 0.25));
}

TEST_F(ArrowImport, TimesBecomeTheNearestDouble) {
  constexpr std::int64_t k1582 = -141428LL * 86400;
  Write({NumberColumn<std::int64_t>("us", "tDu", {-54887632, 54887632}),
         NumberColumn<std::int64_t>("ms", "tsm:", {k1582 * 1000 + 1, k1582 * 1000 - 1}),
         NumberColumn<std::int64_t>("s", "tss:", {k1582, (1LL << 53) + 2})});
  EXPECT_THAT(Numbers(0), ElementsAre(-54.887632, 54.887632));
  EXPECT_THAT(Numbers(1), ElementsAre(0.001, -0.001));
  EXPECT_THAT(Numbers(2), ElementsAre(0, 0x1p53 + 2 - static_cast<double>(k1582)));
}

TEST_F(ArrowImport, RoundedTimesBecomeTheNearestDouble) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  std::vector<std::int64_t> ticks{
      kMost, kMost - 1, -kMost, (1LL << 53) + 1, 999'999'999'999'999'999, 123'456'789'012'345'678};
  Write({NumberColumn<std::int64_t>("n", "tDn", ticks), NumberColumn<std::int64_t>("s", "tss:", ticks)},
        {.roundTimes = true});
  // Decimal text rounds once, too.
  std::vector<double> nearest;
  for (const std::int64_t tick : ticks) {
    std::string text = std::to_string(tick);
    nearest.push_back(std::stod(text.insert(text.size() - 9, ".")));
  }
  EXPECT_EQ(nearest, Numbers(0));
  EXPECT_EQ(9223372049074155007.0, Numbers(1)[0]);  // 2^63 - 1, and the seconds from 1582 to 1970
}

TEST_F(ArrowImport, TimesBetweenTwoDoublesAreRefusedUnlessRounded) {
  const std::vector<MadeColumn> columns{NumberColumn<std::int64_t>("n", "tsn:", {1'700'000'000'123'456'789})};
  EXPECT_THAT(Refusal(columns), HasSubstr("\"1700000000123456789/1000000000 s since 1970\" of the column n in row 0"));
  Write(columns, {.roundTimes = true});
  EXPECT_NEAR(141428 * 86400.0 + 1'700'000'000.123456789, Numbers()[0], 1e-5);
}

TEST_F(ArrowImport, TimesBeyondAllNumbersAreRefused) {
  for (const char* const format : {"tss:", "tsn:", "tDs"}) {
    const auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_THAT(Refusal({NumberColumn<std::int64_t>("n", format, {most - 1})}), HasSubstr("row 0")) << format;
    EXPECT_THAT(Refusal({NumberColumn<std::int64_t>("n", format, {-most})}), HasSubstr("row 0")) << format;
  }
}

// ---- Texts ----

TEST_F(ArrowImport, ATextIsAsWideAsTheWidest) {
  Write({TextColumn("t", {"a", "", "1234567890  ", "\xC3\xA4"})});
  EXPECT_THAT(Texts(), ElementsAre("a", "", "1234567890", "\xC3\xA4"));
  EXPECT_EQ(10, SystemFileDataSource(Path(), "", false).GetVariable(0).GetType());
}

TEST_F(ArrowImport, TextsOfManyRows) {
  std::vector<std::string> texts;
  for (std::size_t row = 0; row < 10'000; ++row) texts.emplace_back(row % 300, static_cast<char>('a' + row % 26));
  Write({TextColumn("t", texts)});
  EXPECT_EQ(texts, Texts());
}

TEST_F(ArrowImport, TextThatIsNotUtf8IsRefused) {
  EXPECT_THAT(Refusal({TextColumn("t", {"good", "\xC3"})}), HasSubstr("of the column t in row 1 is not UTF-8"));
}

TEST_F(ArrowImport, AZeroByteOfAWideTextIsRefused) {
  const std::string zero(1, '\0');
  EXPECT_THAT(Refusal({TextColumn("t", {"x", "a" + zero + "b" + std::string(300, 'c')})}),
              AllOf(HasSubstr("the value \"a\\u0000b"), HasSubstr("of the column t in row 1 contains a zero byte")));
}

TEST_F(ArrowImport, AZeroByteOfATextOfOneSegmentComesBack) {
  const std::string text = "a" + std::string(1, '\0') + std::string(253, 'c');
  Write({TextColumn("t", {text})});
  EXPECT_THAT(Texts(), ElementsAre(text));
}

TEST_F(ArrowImport, RowsOnBothSidesOfThoseTakenAtOnce) {
  for (const std::size_t rows : std::vector<std::size_t>{4095, 4096, 4097, 8192}) {
    std::vector<double> numbers(rows);
    for (std::size_t row = 0; row < rows; ++row) numbers[row] = static_cast<double>(row);
    Write({NumberColumn("v", "g", numbers)}, {.sync = false});
    EXPECT_EQ(numbers, Numbers()) << rows;
  }
}

TEST_F(ArrowImport, ViewsOfTexts) {
  // The text of the second lies in the first buffer, from byte 2 on.
  const std::string views = std::string("\x03\0\0\0abc\0\0\0\0\0\0\0\0\0", 16) + std::string("\x0D\0\0\0", 4) + "this" +
                            std::string("\0\0\0\0\x02\0\0\0", 8);
  MadeColumn column{"t", "vu", 2, {std::nullopt, views, "..this is long.", BytesOf<std::int64_t>({15})}};
  Write({column});
  EXPECT_THAT(Texts(), ElementsAre("abc", "this is long."));
  column.buffers[3] = BytesOf<std::int64_t>({14});
  EXPECT_THAT(Refusal({column}), HasSubstr("column t has in row 1 a text out of its buffers"));
}

// ---- Labels ----

class ArrowImportLabels : public ArrowImport {
 protected:
  static MadeColumn Answers(const std::vector<std::string>& texts) {
    MadeColumn column = TextColumn("answer", texts);
    column.metadata = {{kArrowVariableKey, R"({"type": 0, "value_labels": [[1, "yes"], [2, "no"], [3, "no"]]})"}};
    return column;
  }
};

TEST_F(ArrowImportLabels, BecomeTheirValues) {
  Write({Answers({"yes", "7.5", "NaN", "yes"})});
  const std::vector<double> found = Numbers();
  EXPECT_EQ(1, found[0]);
  EXPECT_EQ(7.5, found[1]);
  EXPECT_TRUE(std::isnan(found[2]));
}

TEST_F(ArrowImportLabels, OfSeveralValuesAreRefused) {
  EXPECT_THAT(Refusal({Answers({"yes", "no"})}),
              HasSubstr("\"no\" of the column answer in row 1 is the label of several values"));
}

TEST_F(ArrowImportLabels, ThatNoValueHasAreRefused) {
  EXPECT_THAT(Refusal({Answers({"maybe"})}), HasSubstr("is neither a label of the variable nor a number"));
}

TEST_F(ArrowImportLabels, OfTextsCountInDictionariesOnly) {
  const std::string metadata = R"({"type": 3, "value_labels": [["f", "female"], ["m", "male"]]})";
  MadeColumn plain = TextColumn("plain", {"f", "male", "x"});
  plain.metadata = {{kArrowVariableKey, metadata}};
  MadeColumn coded = NumberColumn<std::int8_t>("coded", "c", {2, 0, 1});
  coded.metadata = plain.metadata;
  coded.dictionary = std::make_shared<MadeColumn>(TextColumn("", {"male", "other", "f"}));
  Write({plain, coded});
  EXPECT_THAT(Texts(0), ElementsAre("f", "male", "x"));
  EXPECT_THAT(Texts(1), ElementsAre("f", "m", "other"));
}

TEST_F(ArrowImportLabels, DictionariesOfNumbers) {
  MadeColumn coded = NumberColumn<std::uint32_t>("coded", "I", {2, 0, 1, 2});
  coded.dictionary = std::make_shared<MadeColumn>(NumberColumn<double>("", "g", {1.5, 2.5, 3.5}));
  Write({coded});
  EXPECT_THAT(Numbers(), ElementsAre(3.5, 1.5, 2.5, 3.5));
}

TEST_F(ArrowImportLabels, TrailingBlanksDoNotCount) {
  MadeColumn coded = NumberColumn<std::int8_t>("coded", "c", {0, 1});
  coded.metadata = {{kArrowVariableKey, R"({"type": 3, "value_labels": [["f", "female"], ["m", "male "]]})"}};
  coded.dictionary = std::make_shared<MadeColumn>(TextColumn("", {"female  ", "male"}));
  Write({Answers({"yes ", "7.5  "}), coded});
  EXPECT_THAT(Numbers(0), ElementsAre(1, 7.5));
  EXPECT_THAT(Texts(1), ElementsAre("f", "m"));
}

// ---- The dictionary ----

TEST_F(ArrowImport, ATypeThatNoVariableHasIsRefused) {
  for (const char* const type : {"32768", "-1", "1.5", "\"3\"", "null", "true", "[]", "{}"})
    EXPECT_THAT(Refusal({TextColumn("t", {"a"})},
                        {.dictionary = R"({"variables": [{"name": "t", "type": )" + std::string(type) + "}]}"}),
                HasSubstr("the type of the variable t is not a whole number from 0 to 32767"))
        << type;
}

// ---- Arrays that are not what their schema says ----

TEST_F(ArrowImport, ArraysThatExceedAllMemoryAreRefused) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  MadeColumn column = NumberColumn<std::int32_t>("v", "i", {1, 2});
  for (const std::int64_t offset : {kMost, kMost - 1, kMost / 32 - 1}) {
    column.offset = offset;
    EXPECT_THAT(Refusal({column}), HasSubstr("column 0 of the stream is longer than memory can be")) << offset;
  }
  column.offset = 0;
  column.length = kMost;
  EXPECT_THAT(Refusal({column}), HasSubstr("longer than memory can be"));
  MadeColumn coded = NumberColumn<std::int8_t>("c", "c", {0});
  coded.dictionary = std::make_shared<MadeColumn>(TextColumn("", {"a"}));
  coded.dictionary->length = kMost;
  EXPECT_THAT(Refusal({coded}), HasSubstr("column 0 of the stream is longer than memory can be"));
}

TEST_F(ArrowImport, ARowThatIsNullAsAWholeIsRefused) {
  const MadeColumn column = NumberColumn<std::int32_t>("v", "i", {1, 2, 3});
  for (const auto& [bits, isRefused] : {std::pair{'\x07', false}, std::pair{'\x05', true}, std::pair{'\x03', true}}) {
    const MadeStream made({column}, std::string(1, bits));
    if (isRefused) {
      EXPECT_THAT(RefusalOfMade(made), HasSubstr("a row of the stream is null as a whole"));
    } else {
      EXPECT_EQ(3, WriteMade(made).rows);
    }
  }
}

TEST_F(ArrowImport, ArraysWithWrongBuffersAreRefused) {
  const MadeColumn good = NumberColumn<double>("v", "g", {1, 2});
  const std::vector<std::vector<std::optional<std::string>>> wrong{
      {}, {std::nullopt}, {std::nullopt, std::nullopt}, {std::nullopt, good.buffers[1], std::nullopt}};
  for (const auto& buffers : wrong) {
    MadeColumn column = good;
    column.buffers = buffers;
    EXPECT_THAT(Refusal({column}), HasSubstr("the column v has an array with")) << buffers.size();
  }
}

TEST_F(ArrowImport, OffsetsThatDecreaseAreRefused) {
  MadeColumn column = TextColumn("t", {"ab", "cd"});
  for (const std::vector<std::int32_t>& offsets : {std::vector{0, 3, 2}, std::vector{-1, 2, 4}}) {
    column.buffers[1] = BytesOf(offsets);
    EXPECT_THAT(Refusal({column}), HasSubstr("a text out of its buffers"));
  }
}

TEST_F(ArrowImport, IndexesOutsideTheirDictionaryAreRefused) {
  for (const std::int8_t index : {std::int8_t{-1}, std::int8_t{1}}) {
    MadeColumn coded = NumberColumn<std::int8_t>("c", "c", {0, index});
    coded.dictionary = std::make_shared<MadeColumn>(TextColumn("", {"a"}));
    EXPECT_THAT(Refusal({coded}), HasSubstr("column c has in row 1 an index outside its dictionary"));
  }
}

TEST_F(ArrowImport, ShortColumnsAreRefused) {
  EXPECT_THAT(Refusal({NumberColumn<double>("a", "g", {1, 2}), NumberColumn<double>("b", "g", {1})}),
              HasSubstr("column 1 of the stream is shorter than the others"));
}

TEST_F(ArrowImport, TypesOfNoVariableAreRefused) {
  for (const char* const format : {"d:5,-2147483648,128",
                                   "",
                                   "z",
                                   "Z",
                                   "vz",
                                   "w:16",
                                   "+l",
                                   "+s",
                                   "tiM",
                                   "tdx",
                                   "ts",
                                   "tsx:",
                                   "tsn",
                                   "tDnn",
                                   "d:",
                                   "d:5",
                                   "d:5,2,100",
                                   "d:5,2,128,1",
                                   "d:0,0",
                                   "d:77,0",
                                   "x",
                                   "gg"})
    EXPECT_THAT(Refusal({NumberColumn<double>("v", format, {1})}), HasSubstr("has the Arrow type")) << format;
}

TEST_F(ArrowImport, NamesOfNoVariableAreRefused) {
  for (const char* const name : {"a b", "$a", "#a", "_a", ".a", ""})
    EXPECT_THAT(Refusal({NumberColumn<double>(name, "g", {1})}),
                HasSubstr("the column \"" + std::string(name) + "\" has a name that no variable can have"));
  EXPECT_THAT(Refusal({NumberColumn<double>("abc", "g", {1}), NumberColumn<double>("ABC", "g", {1})}),
              HasSubstr("the column \"ABC\" has the name of an earlier column"));
}

TEST_F(ArrowImport, AStreamWithoutColumnsIsRefused) {
  EXPECT_THAT(Refusal({}), HasSubstr("the stream has no columns"));
}

TEST_F(ArrowImport, AStreamWithoutRowsMakesAFileWithoutCases) {
  Write({NumberColumn<double>("v", "g", {}), TextColumn("t", {})});
  EXPECT_THAT(Numbers(), ElementsAre());
  EXPECT_EQ(0, SystemFileDataSource(Path(), "", false).RowCount());
}

TEST_F(ArrowImport, MetadataThatAreNoJsonAreRefused) {
  MadeColumn column = NumberColumn<double>("v", "g", {1});
  for (const char* const text : {"{", "[]", "1", "{\"type\": 0} x"}) {
    column.metadata = {{kArrowVariableKey, text}};
    EXPECT_THAT(Refusal({column}), HasSubstr("in the metadata of the column v, the dictionary is not")) << text;
  }
}

// ---- Files and streams ----

TEST_F(ArrowImport, AReleasedStreamIsRefused) {
  ArrowArrayStream stream{};
  EXPECT_THROW(WriteArrowStream(&stream, Path()), ArrowImportError);
}

TEST_F(ArrowImport, TheStreamIsReleasedAlsoAfterAFailure) {
  Stream stream = MadeStream({TextColumn("a b", {"x"})}).Stream();
  EXPECT_THROW(WriteArrowStream(&stream, Path()), ArrowImportError);
  EXPECT_EQ(nullptr, stream.release);
}

TEST_F(ArrowImport, EveryFailedWriteIsReportedAndLeavesTheOldFile) {
  Write({NumberColumn<double>("old", "g", {1})});
  const std::vector<MadeColumn> columns{NumberColumn("v", "g", std::vector<double>(100'000, 0.5))};
  int failures = 0;
  for (int n = 1;; ++n) {
    const FailingCalls calls({.call = Call::write, .reason = ENOSPC}, n);
    try {
      Write(columns, {.sync = false});
    } catch (const std::exception&) {
      ++failures;
      EXPECT_THAT(Numbers(), ElementsAre(1)) << n;
      continue;
    }
    if (!FailingCalls::Struck()) break;
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(100'000u, Numbers().size());
}

TEST_F(ArrowImport, AnEncryptedFileOpensWithItsPassword) {
  Write({TextColumn("t", {"secret"})}, {.password = ExtNameStr("swordfish")});
  EXPECT_THROW(SystemFileDataSource(Path(), "", false), QuavServerError);
  EXPECT_EQ(1u, AllCells(SystemFileDataSource(Path(), "swordfish", false)).size());
  Stream more = MadeStream({TextColumn("t", {"more", "most"})}).Stream();
  EXPECT_EQ(2, AppendArrowStream(&more, Path(), {.password = ExtNameStr("swordfish")}).rows);
  EXPECT_EQ(3u, AllCells(SystemFileDataSource(Path(), "swordfish", false)).size());
}

TEST_F(ArrowImport, ExtensionBlocksTravelAlong) {
  const SystemFileDataSource before(SAMPLES_DIR "/unknown_records.quav", "", false);
  Stream stream;
  ExportArrowStream(std::shared_ptr<const QUAV_DataSource>(&before, [](const QUAV_DataSource*) {}), {}, &stream);
  WriteArrowStream(&stream, Path());
  const SystemFileDataSource after(Path(), "", false);
  ASSERT_FALSE(before.ExtensionTypes().empty());
  EXPECT_EQ(before.ExtensionTypes(), after.ExtensionTypes());
  for (const int type : before.ExtensionTypes())
    EXPECT_TRUE(QUAV_DataSource::Extension(before, type) == QUAV_DataSource::Extension(after, type)) << type;
}

// ---- All good samples ----

class SampleThroughArrow : public ArrowImport, public testing::WithParamInterface<std::string> {};

std::vector<std::string> Samples() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_DIR))
    if (entry.path().extension() == ".quav") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}
INSTANTIATE_TEST_SUITE_P(Good, SampleThroughArrow, testing::ValuesIn(Samples()),
                         [](const auto& sample) { return sample.param; });

TEST_P(SampleThroughArrow, HasItsCasesAgain) {
  const std::string sample = SAMPLES_DIR "/" + GetParam() + ".quav";
  for (const bool labels : {false, true}) {
    std::shared_ptr<const QUAV_DataSource> source = dstext::OpenInPresentEncoding(sample, ExtNameStr(), nullptr);
    Stream stream;
    ExportArrowStream(source, {.reading = {.rowsPerBatch = 5}, .labels = labels}, &stream);
    WriteArrowStream(&stream, Path());
    EXPECT_EQ(AllCells(*source), AllCells(SystemFileDataSource(Path(), "", false)));
  }
}

}  // namespace
}  // namespace ArrowImport_test
