// A small system file byte by byte, in both byte orders, with plain cases and with case codes; and the samples that
// hold one data set in all four forms.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "datasrc/QUAV_ValueLabelMap.h"
#include "tests/support/AnnotatedBytes.h"
#include "tests/support/Reading.h"

namespace reading_test {
namespace {

constexpr char kEyeCatcher[] = R"(
  "$FL2"                                                            # magic
  "@(#) GOLDEN BYTES                                           "    # eye catcher, 60 bytes
)";

constexpr char kDateAndLabel[] = R"(
  "05 Nov 98"                                                       # creation date
  "07:08:09"                                                        # creation time
  "A label                                                         " # file label, 64 bytes
  00 00 00                                                          # padding
)";

// ---- Little-endian ----

constexpr char kLittleHeader[] = R"(
  02 00 00 00               # layout code 2
  04 00 00 00               # nominal case size: 4 cells
)";

constexpr char kLittleDictionary[] = R"(
  04 00 00 00               # weight index: slot 4, the variable W
  02 00 00 00               # 2 cases
  00 00 00 00 00 00 59 40   # bias 100.0
)";

constexpr char kLittleRecords[] = R"(
  02 00 00 00               # variable record
  00 00 00 00               # numeric
  01 00 00 00               # has a label
  FD FF FF FF               # missing count -3: a range and one value
  02 08 05 00               # print format: 2 decimals, width 8, type 5
  01 0A 11 00               # write format: 1 decimal, width 10, type 17
  "NUM     "                # name
  05 00 00 00 "fifth" 00 00 00          # label of 5 bytes, 3 bytes of filler
  00 00 00 00 00 00 F0 BF   # missing from -1.0
  00 00 00 00 00 00 E0 BF   # to -0.5
  00 00 00 00 00 80 58 40   # and 98.0

  02 00 00 00               # variable record
  0A 00 00 00               # a string of 10 bytes
  00 00 00 00               # no label
  01 00 00 00               # one missing value
  00 0A 01 00               # print format A10
  00 0A 01 00               # write format A10
  "TXT     "                # name
  "nothing "                # missing value, 8 bytes

  02 00 00 00               # variable record
  FF FF FF FF               # continues the string
  00 00 00 00 00 00 00 00   # no label, no missing values
  00 01 01 00 00 01 01 00   # formats that are not read
  "        "                # no name

  02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00   # variable record: numeric, no label, no missing values
  00 03 05 00 00 03 05 00                           # formats F3.0
  "W       "                                        # name

  03 00 00 00               # value label record
  02 00 00 00               # 2 labels
  00 00 00 00 00 00 F0 3F   # for 1.0
  03 "one" 00 00 00 00      # 3 bytes of text, filled to 7
  00 00 00 00 00 00 04 C0   # for -2.5
  08 "two half" 00 00 00 00 00 00 00    # 8 bytes of text, filled to 15
  04 00 00 00               # variable index record
  02 00 00 00               # 2 variables
  01 00 00 00 04 00 00 00   # slots 1 and 4

  06 00 00 00               # document record
  01 00 00 00               # 1 line of 80 bytes
  "A line of the documents                                                         "

  07 00 00 00               # extension record
  63 00 00 00               # subtype 99
  02 00 00 00 03 00 00 00   # 3 units of 2 bytes
  "abcdef"

  E7 03 00 00               # end of the dictionary, 999
  00 00 00 00               # filler
)";

constexpr char kLittlePlainCases[] = R"(
  00 00 00 00 00 00 F0 3F "ten letter" "      " 00 00 00 00 00 00 F8 3F   # 1.0, "ten letter", 1.5
  FF FF FF FF FF FF EF FF "x       " "        " 00 00 00 00 00 E0 62 40   # system-missing, "x", 151.0
)";

constexpr char kLittleCodedCases[] = R"(
  65 FD FD FD FF FD FE FB   # 1.0, literal, literal, literal; system-missing, literal, blanks, 151.0
  "ten lett" "er      "
  00 00 00 00 00 00 F8 3F   # 1.5
  "x       "
)";

// ---- Big-endian ----

constexpr char kBigHeader[] = R"(
  00 00 00 02               # layout code 2
  00 00 00 04               # nominal case size: 4 cells
)";

constexpr char kBigDictionary[] = R"(
  00 00 00 04               # weight index: slot 4, the variable W
  00 00 00 02               # 2 cases
  40 59 00 00 00 00 00 00   # bias 100.0
)";

constexpr char kBigRecords[] = R"(
  00 00 00 02               # variable record
  00 00 00 00               # numeric
  00 00 00 01               # has a label
  FF FF FF FD               # missing count -3: a range and one value
  00 05 08 02               # print format: type 5, width 8, 2 decimals
  00 11 0A 01               # write format: type 17, width 10, 1 decimal
  "NUM     "                # name
  00 00 00 05 "fifth" 00 00 00          # label of 5 bytes, 3 bytes of filler
  BF F0 00 00 00 00 00 00   # missing from -1.0
  BF E0 00 00 00 00 00 00   # to -0.5
  40 58 80 00 00 00 00 00   # and 98.0

  00 00 00 02               # variable record
  00 00 00 0A               # a string of 10 bytes
  00 00 00 00               # no label
  00 00 00 01               # one missing value
  00 01 0A 00               # print format A10
  00 01 0A 00               # write format A10
  "TXT     "                # name
  "nothing "                # missing value, 8 bytes: text is not byte-swapped

  00 00 00 02               # variable record
  FF FF FF FF               # continues the string
  00 00 00 00 00 00 00 00   # no label, no missing values
  00 01 01 00 00 01 01 00   # formats that are not read
  "        "                # no name

  00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 00   # variable record: numeric, no label, no missing values
  00 05 03 00 00 05 03 00                           # formats F3.0
  "W       "                                        # name

  00 00 00 03               # value label record
  00 00 00 02               # 2 labels
  3F F0 00 00 00 00 00 00   # for 1.0
  03 "one" 00 00 00 00      # 3 bytes of text, filled to 7
  C0 04 00 00 00 00 00 00   # for -2.5
  08 "two half" 00 00 00 00 00 00 00    # 8 bytes of text, filled to 15
  00 00 00 04               # variable index record
  00 00 00 02               # 2 variables
  00 00 00 01 00 00 00 04   # slots 1 and 4

  00 00 00 06               # document record
  00 00 00 01               # 1 line of 80 bytes
  "A line of the documents                                                         "

  00 00 00 07               # extension record
  00 00 00 63               # subtype 99
  00 00 00 02 00 00 00 03   # 3 units of 2 bytes
  "abcdef"

  00 00 03 E7               # end of the dictionary, 999
  00 00 00 00               # filler
)";

constexpr char kBigPlainCases[] = R"(
  3F F0 00 00 00 00 00 00 "ten letter" "      " 3F F8 00 00 00 00 00 00   # 1.0, "ten letter", 1.5
  FF EF FF FF FF FF FF FF "x       " "        " 40 62 E0 00 00 00 00 00   # system-missing, "x", 151.0
)";

constexpr char kBigCodedCases[] = R"(
  65 FD FD FD FF FD FE FB   # codes are bytes: the same as little-endian
  "ten lett" "er      "     # text too
  3F F8 00 00 00 00 00 00   # 1.5
  "x       "
)";

struct Form {
  const char* name;
  std::endian order;
  std::int32_t compression;
};

std::string FileOf(const Form& form) {
  const bool little = form.order == std::endian::little;
  const bool coded = form.compression == 1;
  std::string_view kind = coded ? (little ? "01 00 00 00" : "00 00 00 01") : "00 00 00 00";
  std::string_view cases =
      little ? (coded ? kLittleCodedCases : kLittlePlainCases) : (coded ? kBigCodedCases : kBigPlainCases);
  return AnnotatedBytes(kEyeCatcher) + AnnotatedBytes(little ? kLittleHeader : kBigHeader) + AnnotatedBytes(kind) +
         AnnotatedBytes(little ? kLittleDictionary : kBigDictionary) + AnnotatedBytes(kDateAndLabel) +
         AnnotatedBytes(little ? kLittleRecords : kBigRecords) + AnnotatedBytes(cases);
}

class GoldenFile : public testing::TestWithParam<Form> {
 protected:
  GoldenFile() : m_file(FileOf(GetParam())), m_source(m_file.Name(), "", false) {}

  TempFile m_file;
  SystemFileDataSource m_source;
};

INSTANTIATE_TEST_SUITE_P(Forms, GoldenFile,
                         testing::Values(Form{"LittleEndianPlain", std::endian::little, 0},
                                         Form{"LittleEndianByteCodes", std::endian::little, 1},
                                         Form{"BigEndianPlain", std::endian::big, 0},
                                         Form{"BigEndianByteCodes", std::endian::big, 1}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(GoldenFile, HasItsHeaderFields) {
  EXPECT_EQ("@(#) GOLDEN BYTES", m_source.EyeCatcher());
  EXPECT_EQ(GetParam().order != std::endian::native, m_source.bReversedByteOrder());
  EXPECT_EQ(GetParam().compression, m_source.GetCompressionLevel());
  EXPECT_EQ(2, m_source.RowCount());
  EXPECT_STREQ("A label", m_source.GetLabel());
  EXPECT_EQ(2, m_source.GetWeightVarIndex());
  EXPECT_EQ(4u, m_source.GetObsAreaSize());
  // 5 November 1998 is 151963 days after 14 October 1582.
  EXPECT_EQ(151963 * 86400.0 + 7 * 3600 + 8 * 60 + 9, m_source.GetTimestamp());
}

TEST_P(GoldenFile, HasItsVariables) {
  ASSERT_EQ(3u, m_source.ColumnCount());
  const QUAV_Variable& number = m_source.GetVariable(0);
  EXPECT_STREQ("num", number.GetName());
  EXPECT_EQ(0, number.GetType());
  EXPECT_STREQ("fifth", number.GetLabel());
  EXPECT_EQ(QUAV_Format(kFormatNumber, 8, 2), number.GetFormatEx());
  EXPECT_EQ(QUAV_Format(kFormatScientific, 10, 1), number.GetWriteFormatEx());
  const QUAV_Variable& text = m_source.GetVariable(1);
  EXPECT_STREQ("txt", text.GetName());
  EXPECT_EQ(10, text.GetType());
  EXPECT_EQ(nullptr, text.GetLabel());
  EXPECT_EQ(QUAV_Format(kFormatString, 10, 0), text.GetFormatEx());
  const QUAV_Variable& weight = m_source.GetVariable(2);
  EXPECT_STREQ("w", weight.GetName());
  EXPECT_EQ(QUAV_Format(kFormatNumber, 3, 0), weight.GetFormatEx());
}

TEST_P(GoldenFile, HasItsMissingValues) {
  const OBS* values[3] = {};
  ASSERT_EQ(-3, m_source.GetVariable(0).GetMissingValues(values[0], values[1], values[2]));
  EXPECT_EQ(-1.0, CellNumber(*values[0]));
  EXPECT_EQ(-0.5, CellNumber(*values[1]));
  EXPECT_EQ(98.0, CellNumber(*values[2]));
  ASSERT_EQ(1, m_source.GetVariable(1).GetMissingValues(values[0], values[1], values[2]));
  EXPECT_EQ("nothing ", std::string(CellText(values[0]), 8));
  EXPECT_EQ(0, m_source.GetVariable(2).GetMissingValues(values[0], values[1], values[2]));
}

TEST_P(GoldenFile, HasItsValueLabels) {
  const auto& labels = m_source.GetVariable(0).GetValueLabels();
  EXPECT_TRUE(labels == m_source.GetVariable(2).GetValueLabels());
  EXPECT_FALSE(m_source.GetVariable(1).GetValueLabels().IsValid());
  const QUAV_ValueLabelMap map(labels);
  EXPECT_EQ(2, map.Size());
  EXPECT_STREQ("one", map.GetLabel(1.0));
  EXPECT_STREQ("two half", map.GetLabel(-2.5));
}

TEST_P(GoldenFile, HasItsDocumentsAndUnknownRecord) {
  EXPECT_EQ(FileText("A line of the documents", 80), QUAV_DataSource::Extension(m_source, 0).Elements());
  EXPECT_EQ("abcdef", QUAV_DataSource::Extension(m_source, 99).Elements());
  EXPECT_EQ(2, QUAV_DataSource::Extension(m_source, 99).ElementSize());
  EXPECT_TRUE(m_source.bExtensionFound(0));
  EXPECT_TRUE(m_source.bExtensionFound(99));
}

TEST_P(GoldenFile, HasItsCases) {
  EXPECT_EQ(CellsOf(std::vector<FileCase>{{1.0, "ten letter", 1.5}, {kFileSystemMissing, FileText("x", 16), 151.0}}),
            AllCells(m_source));
}

// ---- Samples ----

const std::vector<FileCase> kMixedCases = {
    {1.0, "A", 1.0, FileText("first text", 20), 1.5, "abcdefgh", 3.0},
    {2.0, "BB", 2.5, FileText("", 20), 2.0, "", kFileSystemMissing},
    {3.0, "", kFileSystemMissing, FileText("twenty bytes of text", 20), 0.25, "missing!", -5.0},
    {4.0, "ZZZ", 95.0,
     FileText("\xC3\x9Cn\xC3\xAF"
              "c\xC3\xB6"
              "d\xC3\xA9",
              20),
     1.0, "\xC3\xA4\xC3\xB6\xC3\xBC", 0.0},
    {5.0, "X", -1.0, FileText("x", 20), 100.0, "1234", 1e-09},
};

class MixedSample : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Forms, MixedSample,
                         testing::Values("mixed_little_none", "mixed_little_bytecode", "mixed_big_none",
                                         "mixed_big_bytecode"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(MixedSample, HoldsTheSameCases) {
  const SystemFileDataSource source(std::string(SAMPLES_DIR) + "/" + GetParam() + ".quav", "", false);
  EXPECT_EQ(5, source.RowCount());
  EXPECT_EQ(9u, source.GetObsAreaSize());
  EXPECT_EQ(CellsOf(kMixedCases), AllCells(source));
}

TEST_P(MixedSample, HoldsTheSameVariables) {
  const SystemFileDataSource source(std::string(SAMPLES_DIR) + "/" + GetParam() + ".quav", "", false);
  const SystemFileDataSource truth(std::string(SAMPLES_DIR) + "/mixed_little_none.quav", "", false);
  ASSERT_EQ(7u, source.ColumnCount());
  for (int column = 0; column < 7; ++column) EXPECT_TRUE(truth.GetVariable(column) == source.GetVariable(column));
  EXPECT_EQ(4, source.GetWeightVarIndex());
  EXPECT_STREQ("Mixed variables, both byte orders", source.GetLabel());
  EXPECT_EQ(truth.GetTimestamp(), source.GetTimestamp());
}

}  // namespace
}  // namespace reading_test
