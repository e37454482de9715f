// Small files as the writer makes them, byte by byte in native byte order. Only the date and the time in the header are
// not compared.

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <string_view>

#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/support/AnnotatedBytes.h"
#include "tests/support/Reading.h"

namespace writing_test {
namespace {

static_assert(std::endian::native == std::endian::little, "the expected bytes are little-endian");

constexpr std::size_t kDateAndTime = 92;
constexpr std::size_t kDateAndTimeSize = 17;

std::string WithoutDateAndTime(std::string bytes) {
  return bytes.size() < kDateAndTime ? bytes : bytes.replace(kDateAndTime, kDateAndTimeSize, kDateAndTimeSize, '?');
}

// ---- Every record ----

constexpr char kHeader[] = R"(
  "$FL2"                                                            # magic
  "@(#) MOR QUAV TABULATORS 64-bit Linux 25.0.0.1              "    # eye catcher, 60 bytes
  02 00 00 00               # layout code 2
  04 00 00 00               # nominal case size: 4 cells
)";

constexpr char kHeaderRest[] = R"(
  04 00 00 00               # weight index: slot 4, the variable W
  02 00 00 00               # 2 cases, written at the end
  00 00 00 00 00 00 59 40   # bias 100.0
  "?????????" "????????"    # creation date and time
  "A label                                                         " # file label, 64 bytes
  00 00 00                  # padding
)";

constexpr char kRecords[] = R"(
  02 00 00 00               # variable record
  00 00 00 00               # numeric
  01 00 00 00               # has a label
  FD FF FF FF               # missing count -3: a range and one value
  02 08 05 00               # print format: 2 decimals, width 8, type 5
  01 0A 11 00               # write format: 1 decimal, width 10, type 17
  "NUMBER_O"                # short name
  05 00 00 00 "fifth" 20 20 20          # label of 5 bytes, 3 blanks
  00 00 00 00 00 00 F0 BF   # missing from -1.0
  00 00 00 00 00 00 E0 BF   # to -0.5
  00 00 00 00 00 80 58 40   # and 98.0

  02 00 00 00               # variable record
  0A 00 00 00               # a string of 10 bytes
  00 00 00 00               # no label
  00 00 00 00               # the missing value is in record 22
  00 0A 01 00               # print format A10
  00 0A 01 00               # write format A10
  "TXT     "                # short name

  02 00 00 00               # variable record
  FF FF FF FF               # continues the string
  00 00 00 00 00 00 00 00   # no label, no missing values
  01 1D 01 00 01 1D 01 00   # formats that describe nothing
  "        "                # no name

  02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00   # variable record: numeric, no label, no missing values
  02 08 05 00 00 0C 37 00                           # formats F8.2, and type 119 of width 12 without its highest bit
  "W       "                                        # name

  03 00 00 00               # value label record
  02 00 00 00               # 2 labels
  00 00 00 00 00 00 04 C0   # for -2.5
  08 "two half" 20 20 20 20 20 20 20    # 8 bytes of text, filled to 15
  00 00 00 00 00 00 F0 3F   # for 1.0
  03 "one" 20 20 20 20      # 3 bytes of text, filled to 7
  04 00 00 00               # variable index record
  02 00 00 00               # 2 variables
  01 00 00 00 04 00 00 00   # slots 1 and 4

  06 00 00 00               # document record
  01 00 00 00               # 1 line of 80 bytes
  "A line of the documents                                                         "

  07 00 00 00 03 00 00 00 04 00 00 00 08 00 00 00   # record 3: 8 units of 4 bytes
  19 00 00 00 00 00 00 00 01 00 00 00               # release 25.0.1
  D0 02 00 00 01 00 00 00 01 00 00 00               # machine 720, floating point 1, compression code 1
  02 00 00 00                                       # little-endian
  E9 FD 00 00                                       # UTF-8, 65001

  07 00 00 00 04 00 00 00 08 00 00 00 03 00 00 00   # record 4: 3 units of 8 bytes
  FF FF FF FF FF FF EF FF                           # system-missing
  FF FF FF FF FF FF EF 7F                           # highest
  FF FF FF FF FF FF EF FF                           # lowest

  07 00 00 00 0B 00 00 00 04 00 00 00 09 00 00 00   # record 11: 9 units of 4 bytes
  03 00 00 00 0C 00 00 00 02 00 00 00               # level scale, width 12, centred
  01 00 00 00 0A 00 00 00 00 00 00 00               # level of strings, width 10, left
  00 00 00 00 08 00 00 00 01 00 00 00               # no level, width 8, right

  07 00 00 00 0D 00 00 00 01 00 00 00 25 00 00 00   # record 13: 37 bytes
  "NUMBER_O=Number_of_things" 09 "TXT=txt" 09 "W=W"

  07 00 00 00 10 00 00 00 08 00 00 00 02 00 00 00   # record 16: 2 units of 8 bytes
  01 00 00 00 00 00 00 00
  02 00 00 00 00 00 00 00                           # 2 cases

  07 00 00 00 12 00 00 00 01 00 00 00 3D 00 00 00   # record 18: 61 bytes
  "Number_of_things:$@Role('0'" 0A 29               # every variable has a role; 29 is a closing parenthesis
  "/txt:$@Role('0'" 0A 29
  "/W:$@Role('0'" 0A 29

  07 00 00 00 15 00 00 00 01 00 00 00 25 00 00 00   # record 21: 37 bytes
  03 00 00 00 "txt"                                 # the variable
  0A 00 00 00 01 00 00 00                           # its width and one label
  0A 00 00 00 "y         "                          # the value
  04 00 00 00 "yes!"                                # the label

  07 00 00 00 16 00 00 00 01 00 00 00 14 00 00 00   # record 22: 20 bytes
  03 00 00 00 "txt"                                 # the variable
  01 08 00 00 00 "nothing "                         # one value of 8 bytes

  07 00 00 00 18 00 00 00 01 00 00 00 06 00 00 00   # record 24: 6 bytes
  "editor"

  07 00 00 00 19 00 00 00 01 00 00 00 0D 00 00 00   # record 25: 13 bytes
  01 00 00 00 "W"                                   # the variable
  02 08 05 00                                       # print format F8.2
  00 0C 77 00                                       # write format: type 119, width 12

  07 00 00 00 63 00 00 00 02 00 00 00 03 00 00 00   # record 99, kept unchanged: 3 units of 2 bytes
  "abcdef"

  E7 03 00 00               # end of the dictionary, 999
  00 00 00 00               # filler
)";

constexpr char kPlainCases[] = R"(
  00 00 00 00 00 00 F0 3F "ten letter" "      " 00 00 00 00 00 00 F8 3F   # 1.0, "ten letter", 1.5
  FF FF FF FF FF FF EF FF "x       " "        " 00 00 00 00 00 E0 62 40   # system-missing, "x", 151.0
)";

constexpr char kCodedCases[] = R"(
  65 FD FD FD FF FD FE FB                                         # 1.0, 3 literals, missing, literal, blanks, 151.0
  "ten lett" "er      " 00 00 00 00 00 00 F8 3F "x       "
)";

// Sets up the dictionary of the records above.
void SetUp(SystemFileDataSource& file) {
  file.SetLabel("A label");
  QUAV_Variable& number = file.MakeVariable(0, nullptr);
  number.SetName("Number_of_things");
  number.SetLabel("fifth");
  number.SetWriteFormat(QUAV_Format(kFormatScientific, 10, 1));
  const double low = -1.0;
  const double high = -0.5;
  const double single = 98.0;
  number.SetMissingRange(&low, &high, &single);
  number.SetMeasurementLevel(QUAV_Variable::kLevelScale);
  number.SetDisplayWidth(12);
  number.SetAlignment(QUAV_Variable::kAlignCenter);
  QUAV_Variable& text = file.MakeVariable(10, nullptr);
  text.SetName("txt");
  text.SetMissingValues("nothing ", nullptr, nullptr);
  QUAV_ValueLabelMap texts(10);
  texts.AddPair(std::string("y"), "yes!");
  text.SetValueLabels(texts);
  QUAV_Variable& weight = file.MakeVariable(0, nullptr);
  weight.SetName("W");
  weight.SetWriteFormat(QUAV_Format(static_cast<FormatType>(119), 12, 0));
  QUAV_ValueLabelMap numbers(0);
  numbers.AddPair(1.0, "one");
  numbers.AddPair(-2.5, "two half");
  file.GetVariable(0).SetValueLabels(numbers);
  file.GetVariable(2).SetValueLabels(numbers);
  file.SetWeightVar(2);
  file.SetExtension(0, 1, 80, FileText("A line of the documents", 80).data());
  file.SetExtension(99, 2, 3, "abcdef");
  DataEditorFormattingInfo formatting;
  formatting.SetInfo("editor");
  file.SetDEFormattingInfo(formatting);
}

std::string Written(bool compress) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  SetUp(file);
  file.CharacterEncoding("UTF-8");
  file.SetCompression(compress);
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  for (const FileCase& values :
       {FileCase{1.0, FileText("ten letter", 10), 1.5}, FileCase{kFileSystemMissing, FileText("x", 10), 151.0}})
    file.AddRow(CellsOf(values).data());
  file.Close();
  return WithoutDateAndTime(onDisk.Bytes());
}

std::string Expected(const char* compression, const char* cases) {
  return AnnotatedBytes(std::string(kHeader) + compression + kHeaderRest + kRecords + cases);
}

TEST(GoldenWriting, WritesEveryRecordAndPlainCases) { EXPECT_EQ(Expected("00 00 00 00", kPlainCases), Written(false)); }

TEST(GoldenWriting, WritesEveryRecordAndCodedCases) { EXPECT_EQ(Expected("01 00 00 00", kCodedCases), Written(true)); }

// ---- Very long strings ----

TEST(GoldenWriting, SplitsAVeryLongStringIntoSegments) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("a");
  file.MakeVariable(300, nullptr).SetName("LongStringVar");
  file.MakeVariable(0, nullptr).SetName("LONGS0");
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  const std::string text = std::string(250, 'x') + "yyyyyzzzzz";
  file.AddRow(CellsOf({1.0, FileText(text, 300), 2.0}).data());
  file.Close();

  // The segments: 255 bytes and a blank, then 48 bytes. The name LONGS0 is taken.
  SystemFileBuilder expected;
  FileHeader header{.eyeCatcher = "@(#) MOR QUAV TABULATORS 64-bit Linux 25.0.0.1",
                    .nominalCaseSize = 40,
                    .cases = 1,
                    .date = "?????????",
                    .time = "????????"};
  expected.Header(header).Number("A");
  expected.Variable({.name = "LONGSTRI", .type = 255, .print = 0x1FF00, .write = 0x1FF00});
  for (int i = 0; i < 31; ++i) expected.Variable({.type = -1, .print = 0x11D01, .write = 0x11D01});
  expected.Variable({.name = "LONGS1", .type = 48, .print = 0x13000, .write = 0x13000});
  for (int i = 0; i < 5; ++i) expected.Variable({.type = -1, .print = 0x11D01, .write = 0x11D01});
  expected.Number("LONGS0");
  const std::string bytes = WithoutDateAndTime(onDisk.Bytes());
  EXPECT_EQ(expected.Bytes(), bytes.substr(0, expected.Size()));

  const std::string names("A=a\tLONGSTRI=LongStringVar\tLONGS0=LONGS0");
  const std::string names13 = SystemFileBuilder().Extension(13, 1, static_cast<int>(names.size()), names).Bytes();
  const std::string strings14 =
      SystemFileBuilder().Extension(14, 1, 14, std::string_view("LONGSTRI=300\0\t", 14)).Bytes();
  EXPECT_NE(std::string::npos, bytes.find(names13 + strings14));

  const std::string row =
      SystemFileBuilder().F64(1.0).Raw(std::string(250, 'x') + "yyyyy ").Text("zzzzz", 48).F64(2.0).Bytes();
  EXPECT_EQ(row, bytes.substr(bytes.size() - row.size()));
}

}  // namespace
}  // namespace writing_test
