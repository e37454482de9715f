// Random dictionaries and cases are written, read and compared. Appending in pieces gives the same file as writing at
// once.

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableNames.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"

namespace files_test {
namespace {

constexpr std::size_t kDateAndTime = 92;
constexpr std::size_t kDateAndTimeSize = 17;

class RandomFile : public testing::TestWithParam<unsigned> {
 protected:
  // In a locale with multibyte characters segments end between characters, otherwise anywhere.
  RandomFile() {
    SetUTF8mode(1);
    std::setlocale(LC_CTYPE, GetParam() % 2 == 0 ? "C" : "C.UTF-8");
  }
  ~RandomFile() override {
    std::setlocale(LC_CTYPE, "C");
    SetUTF8mode(0);
  }

  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_engine); }
  bool OneIn(int n) { return Between(1, n) == 1; }

  // Returns letters of one to four bytes each, at most `size` bytes of whole letters.
  std::string Text(int size) {
    static const std::vector<std::string> kLetters = {"a", "B", " ", "7", "\u00E9", "\u20AC", "\U0001F427"};
    std::string text;
    while (std::ssize(text) < size) {
      const std::string& letter = kLetters[static_cast<std::size_t>(Between(0, static_cast<int>(kLetters.size()) - 1))];
      if (std::ssize(text + letter) > size) break;
      text += letter;
    }
    return text;
  }

  // Long names begin alike, so that their short forms collide.
  std::string Name() {
    static const std::vector<std::string> kStems = {
        "a",    "Income", "VERYLONGNAME", "verylongname_of_a_variable_\u00FC", "V1",
        "V2_A", "LONGS0", "x_",           "\u00C4\u00D6\u00DC\u00DF"};
    std::string name = kStems[static_cast<std::size_t>(Between(0, static_cast<int>(kStems.size()) - 1))];
    while (OneIn(2)) name += static_cast<char>('a' + Between(0, 25));
    if (OneIn(5)) name += std::string(static_cast<std::size_t>(64 - std::ssize(name)), 'Z');
    return m_file.GoodVarName(name);
  }

  int Type() {
    switch (Between(0, 5)) {
      case 0:
      case 1:
        return 0;
      case 2:
        return Between(1, 8);
      case 3:
        return Between(9, 255);
      case 4:
        return Between(256, 1100);
      default:
        return std::vector{
            252, 255, 256, 504, 505, 756, 2520, MAX_STRING_TYPE}[static_cast<std::size_t>(Between(0, 7))];
    }
  }

  double Number() {
    switch (Between(0, 6)) {
      case 0:
        return -0.0;
      case 1:
        return QUAV_DataSource::SystemMissing();
      case 2:
        return QUAV_DataSource::HighNumber();
      case 3:
        return Between(-200, 200) + 0.5;
      default:
        return Between(-120, 170);
    }
  }

  void MakeMissing(QUAV_Variable& variable) {
    if (variable.GetType() != 0) {
      const std::string values[3] = {Text(8), Text(5), Text(1)};
      variable.SetMissingValues(values[0].c_str(), OneIn(2) ? values[1].c_str() : nullptr, nullptr);
      return;
    }
    const double low = -Between(1, 100);
    const double high = Between(1, 100);
    const double single = Between(200, 300);
    if (OneIn(2)) {
      variable.SetMissingRange(OneIn(3) ? nullptr : &low, OneIn(3) ? nullptr : &high, OneIn(2) ? &single : nullptr);
    } else {
      variable.SetMissingValues(&low, &high, OneIn(2) ? &single : nullptr);
    }
  }

  QUAV_ValueLabelMap Labels(int type) {
    QUAV_ValueLabelMap map(type);
    for (int i = Between(0, 6); i > 0; --i) {
      // Labels of short values have at most 255 bytes in a file.
      const std::string label = Text(Between(0, type > 8 ? 600 : 255));
      if (type == 0) {
        map.AddPair(static_cast<double>(Between(-20, 20)), label);
      } else {
        map.AddPair(Text(type), label);
      }
    }
    return map;
  }

  void MakeVariable() {
    QUAV_Variable variable(Type());
    variable.SetName(Name().c_str());
    const int type = variable.GetType();
    if (OneIn(2)) variable.SetLabel(Text(Between(0, 300)).c_str());
    if (OneIn(2)) MakeMissing(variable);
    if (OneIn(3)) variable.SetValueLabels(Labels(type));
    // The variable may share the map of an earlier one.
    for (int other = 0; other < static_cast<int>(m_file.ColumnCount()); ++other) {
      const QUAV_Variable& before = std::as_const(m_file).GetVariable(other);
      if (before.GetType() == type && OneIn(3)) variable.SetValueLabels(before.GetValueLabels());
    }
    if (type == 0 && OneIn(2))
      variable.SetFormat(static_cast<FormatType>(Between(3, 90)), Between(1, 40), Between(0, 3));
    variable.SetMeasurementLevel(static_cast<QUAV_Variable::MeasurementLevel>(Between(0, 3)));
    variable.SetAlignment(static_cast<QUAV_Variable::Alignment>(Between(0, 2)));
    variable.SetDisplayWidth(static_cast<short>(Between(1, 100)));
    m_file.MakeVariable(variable, nullptr);
  }

  void MakeDictionary() {
    for (int i = Between(1, 12); i > 0; --i) MakeVariable();
    m_file.SetLabel(Text(60).c_str());
    // A file does not keep the trailing blanks of its label.
    std::string label = m_file.GetLabel();
    label.erase(label.find_last_not_of(' ') + 1);
    m_file.SetLabel(label.c_str());
    if (OneIn(2)) m_file.SetWeightVar(Between(-1, static_cast<int>(m_file.ColumnCount()) - 1));
    if (OneIn(2)) m_file.SetExtension(77, 3, 4, "twelve bytes");
    if (OneIn(2)) {
      DataEditorFormattingInfo info;
      info.SetInfo("the editor's");
      m_file.SetDEFormattingInfo(info);
    }
  }

  std::vector<OBS> Case() {
    std::vector<OBS> cells;
    for (int column = 0; column < static_cast<int>(m_file.ColumnCount()); ++column) {
      const int type = std::as_const(m_file).GetVariable(column).GetType();
      const FileValue value = type == 0
                                  ? FileValue(Number())
                                  : FileText(Text(OneIn(3) ? type : Between(0, type)), static_cast<std::size_t>(type));
      for (const OBS& cell : CellsOf(value)) cells.push_back(cell);
    }
    return cells;
  }

  std::vector<std::vector<OBS>> Cases(int count) {
    std::vector<std::vector<OBS>> cases;
    for (int i = 0; i < count; ++i) cases.push_back(Case());
    return cases;
  }

  std::mt19937 m_engine{GetParam()};
  SystemFileDataSource m_file;
};

void ExpectSameVariable(const QUAV_Variable& expected, const QUAV_Variable& actual) {
  SCOPED_TRACE(expected.GetName());
  EXPECT_STREQ(expected.GetName(), actual.GetName());
  EXPECT_EQ(expected.GetType(), actual.GetType());
  EXPECT_STREQ(expected.GetLabel(), actual.GetLabel());
  EXPECT_EQ(expected.GetFormat(), actual.GetFormat());
  EXPECT_EQ(expected.GetWriteFormat(), actual.GetWriteFormat());
  EXPECT_EQ(expected.GetMeasurementLevel(), actual.GetMeasurementLevel());
  EXPECT_EQ(expected.GetAlignment(), actual.GetAlignment());
  EXPECT_EQ(expected.GetDisplayWidth(), actual.GetDisplayWidth());
  const OBS* e[3];
  const OBS* a[3];
  const int code = expected.GetMissingValues(e[0], e[1], e[2]);
  ASSERT_EQ(code, actual.GetMissingValues(a[0], a[1], a[2]));
  for (int i = 0; i < std::abs(code); ++i) EXPECT_EQ(*e[i], *a[i]);
  // The empty map of a wide string has no record.
  QUAV_ValueLabelMap labels(expected.GetValueLabels());
  if (labels.Size() != 0) {
    EXPECT_TRUE(labels == QUAV_ValueLabelMap(actual.GetValueLabels()));
  } else {
    EXPECT_EQ(0, QUAV_ValueLabelMap(actual.GetValueLabels()).Size());
  }
}

void ExpectSameDictionary(const QUAV_DataSource& expected, const QUAV_DataSource& actual) {
  EXPECT_STREQ(expected.GetLabel(), actual.GetLabel());
  EXPECT_EQ(expected.GetWeightVarIndex(), actual.GetWeightVarIndex());
  EXPECT_EQ(expected.GetDEFormattingInfo(), actual.GetDEFormattingInfo());
  EXPECT_TRUE(QUAV_DataSource::Extension(expected, 77) == QUAV_DataSource::Extension(actual, 77));
  ASSERT_EQ(expected.ColumnCount(), actual.ColumnCount());
  for (int column = 0; column < static_cast<int>(expected.ColumnCount()); ++column)
    ExpectSameVariable(expected.GetVariable(column), actual.GetVariable(column));
}

TEST_P(RandomFile, IsReadAsWritten) {
  MakeDictionary();
  const auto cases = Cases(Between(0, 40));
  const TempFile onDisk("");
  m_file.SetCompression(OneIn(2));
  m_file.SetFileSpec(onDisk.Name().c_str());
  SystemFileDataSource before;
  before.CopyDictionary(m_file);
  m_file.CommitDictionary();
  for (const auto& cells : cases) m_file.AddRow(cells.data());
  m_file.Close();
  EXPECT_EQ(std::ssize(cases), m_file.RowCount());
  ExpectSameDictionary(before, m_file);  // the caller's dictionary does not change

  const SystemFileDataSource read(onDisk.Name(), "", false);
  ExpectSameDictionary(m_file, read);
  EXPECT_EQ(std::ssize(cases), read.RowCount());
  EXPECT_EQ(cases, AllCells(read));
  EXPECT_EQ(cases, AllCells(m_file)) << "read by the source that wrote them";
}

TEST_P(RandomFile, AppendingInPiecesEqualsWritingAtOnce) {
  MakeDictionary();
  const auto cases = Cases(Between(1, 60));
  const bool compress = OneIn(2);
  const auto open = [&](SystemFileDataSource& file, const TempFile& onDisk) {
    file.CopyDictionary(m_file);
    file.SetCompression(compress);
    file.SetFileSpec(onDisk.Name().c_str());
    file.CommitDictionary();
  };
  const TempFile atOnce("");
  {
    SystemFileDataSource file;
    open(file, atOnce);
    for (const auto& cells : cases) file.AddRow(cells.data());
  }
  const TempFile inPieces("");
  std::size_t next = 0;
  const auto addSome = [&](SystemFileDataSource& file) {
    for (int count = Between(0, 20); count > 0 && next < cases.size(); --count) file.AddRow(cases[next++].data());
  };
  {
    SystemFileDataSource file;
    open(file, inPieces);
    addSome(file);
    file.Close();
    addSome(file);  // with the same object
    file.Close();
  }
  while (next < cases.size()) {
    SystemFileDataSource file(inPieces.Name(), "", false);
    addSome(file);
    file.Close();
  }
  std::string expected = atOnce.Bytes();
  std::string actual = inPieces.Bytes();
  for (std::string* bytes : {&expected, &actual}) bytes->replace(kDateAndTime, kDateAndTimeSize, kDateAndTimeSize, '?');
  EXPECT_TRUE(expected == actual);
  EXPECT_EQ(cases, AllCells(SystemFileDataSource(inPieces.Name(), "", false)));
}

TEST_P(RandomFile, ComesBackThroughArrow) {
  MakeDictionary();
  const auto cases = Cases(Between(0, 30));
  const TempFile onDisk("");
  m_file.SetFileSpec(onDisk.Name().c_str());
  m_file.CommitDictionary();
  for (const auto& cells : cases) m_file.AddRow(cells.data());
  m_file.Close();

  const auto before = std::make_shared<const SystemFileDataSource>(onDisk.Name(), "", false);
  ArrowArrayStream stream;
  ExportArrowStream(before, {.reading = {.rowsPerBatch = Between(1, 7)}}, &stream);
  const TempFile copy("");
  WriteArrowStream(&stream, copy.Name(), {.compression = Between(0, 2), .sync = false});
  const SystemFileDataSource after(copy.Name(), "", false);
  ExpectSameDictionary(*before, after);
  EXPECT_EQ(AllCells(*before), AllCells(after));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomFile, testing::Range(0U, Seeds(60U)));

}  // namespace
}  // namespace files_test
