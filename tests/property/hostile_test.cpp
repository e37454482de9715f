// Random dictionaries whose texts have bytes that mean something in a record. Saving one fails before a file is made,
// or the file opens and has the same dictionary. A comment says where a form leaves something out by design.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableSet.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"

namespace hostile_test {
namespace {

class HostileDictionary : public testing::TestWithParam<unsigned> {
 protected:
  HostileDictionary() {
    SetUTF8mode(1);
    m_file.CharacterEncoding(kUtf8Name);
    MakeVariables();
    MakeAttributes();
    MakeSets();
    MakeTexts();
  }
  ~HostileDictionary() override { SetUTF8mode(0); }

  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_engine); }
  bool OneIn(int n) { return Between(1, n) == 1; }
  template <class T>
  const T& OneOf(const std::vector<T>& list) {
    return list[static_cast<std::size_t>(Between(0, static_cast<int>(list.size()) - 1))];
  }

  // Of the dictionaries of one kind most have a text that a file cannot hold, of the other kind few.
  bool IsHostile() { return OneIn(GetParam() % 2 == 0 ? 30 : 400); }

  // Returns up to `size` bytes.
  std::string Text(int size) {
    static const std::vector<std::string> kPieces = {"a",  "B",  "7",      " ",      "'",           "(",
                                                     ")",  "/",  ":",      "=",      "$",           "!",
                                                     "\"", "=C", "\u00E9", "\u20AC", "   (Entered", "\t"};
    static const std::vector<std::string> kHostile = {"\n", "\r", std::string(1, '\0'), "\r\n", "\n\n"};
    std::string text;
    for (int pieces = Between(0, size); pieces > 0; --pieces) {
      const std::string piece = IsHostile() ? OneOf(kHostile)
                                : OneIn(8)  ? std::string(1, static_cast<char>(Between(0x80, 0xFF)))
                                            : OneOf(kPieces);
      if (std::ssize(text + piece) <= size) text += piece;
    }
    return text;
  }
  // Returns a name, which often is not a good one when the dictionary is to be hostile.
  std::string Name(const std::string& sign, int number) {
    std::string name = sign + OneOf<std::string>({"a", "Author", "x.y", "\u00C4", "a_long_name_of_a_"});
    if (IsHostile())
      name.insert(static_cast<std::size_t>(Between(0, static_cast<int>(name.size()))),
                  OneIn(2) ? OneOf<std::string>({"=", "\t", "\n", "\r", " ", "$", "(", "/", ":", "'", "\"", "#"})
                           : std::string(1, static_cast<char>(Between(1, 255))));
    if (!IsHostile()) name += std::to_string(number);
    return IsHostile() ? "" : name;
  }

  void MakeVariables() {
    for (int i = Between(2, 6); i > 0; --i) {
      QUAV_Variable variable(OneOf<int>({0, 5, 8, 9, 30, 255, 300}));
      variable.SetName(Name("", i).c_str());
      const int type = variable.GetType();
      const std::string label = Text(20);
      if (OneIn(2)) variable.SetLabel(label.data(), static_cast<unsigned int>(label.size()));
      if (OneIn(2) && type != 0) {
        OBS value = kBlankCell;
        std::ranges::copy(Text(std::min(type, 8)), CellText(&value));
        variable.SetMissingValues(1, &value, nullptr, nullptr);
      }
      QUAV_ValueLabelMap map(type);
      for (int k = Between(0, 3); k > 0; --k) {
        const std::string ofValue = Text(20).c_str();  // by design a NUL byte ends the label of a value
        type == 0 ? map.AddPair(static_cast<double>(k), ofValue) : map.AddPair(Text(type), ofValue);
      }
      if (map.Size() != 0) variable.SetValueLabels(map);
      m_file.MakeVariable(variable, nullptr);
    }
  }

  DatasourceAttributes Attributes() {
    DatasourceAttributes attributes;
    for (int i = Between(0, 4); i > 0; --i) {
      std::vector<std::string> values;
      for (int k = Between(0, 3); k > 0; --k) values.push_back(Text(12));
      attributes.Define(Name(OneIn(4) ? "$@" : "", i), values);
    }
    return attributes;
  }
  void MakeAttributes() {
    m_file.SetAttributes(Attributes());
    for (int column = 0; column < static_cast<int>(m_file.ColumnCount()); ++column)
      m_file.GetVariable(column).SetAttributes(Attributes());
  }

  VariableSetImpl Set(const std::string& sign, int number) {
    VariableSetImpl set;
    set.type = sign.empty() ? VariableSet::kPlain : Between(VariableSet::kCategories, VariableSet::kDichotomy);
    // A multiple response set without its "$" or its value ends the process.
    set.name = sign.empty() ? Name("", number) : "$" + Name("", number);
    if (set.type != VariableSet::kPlain) set.label = Text(12);
    if (set.type == VariableSet::kDichotomy) set.value = "1" + Text(4);
    set.useVariableCategoryLabels = set.type == VariableSet::kDichotomy && OneIn(2);
    set.labelSetByVariable = set.useVariableCategoryLabels && set.label.empty();
    for (int column = 0; column < static_cast<int>(m_file.ColumnCount()); ++column)
      if (column == 0 || OneIn(2)) set.members.push_back(m_file.GetVariable(column).GetID());
    return set;
  }
  void MakeSets() {
    std::vector<VariableSetImpl> plain;
    for (int i = Between(0, 3); i > 0; --i) plain.push_back(Set("", i));
    m_file.SetVariableSets(plain);
    std::vector<VariableSetImpl> multipleResponse;
    std::vector<VariableSetImpl> enhanced;
    for (int i = Between(0, 3); i > 0; --i) {
      VariableSetImpl set = Set("$", i);
      (set.useVariableCategoryLabels ? enhanced : multipleResponse).push_back(std::move(set));
    }
    // By design the enhanced dichotomies come last.
    multipleResponse.insert(multipleResponse.end(), enhanced.begin(), enhanced.end());
    m_file.SetMRSets(multipleResponse);
  }

  void MakeTexts() {
    // By design the header ends the label at a NUL byte, and has no blanks at its end.
    std::string label = Text(64).c_str();
    label.erase(label.find_last_not_of(' ') + 1);
    m_file.SetLabel(label.c_str());
    std::string documents;
    for (int i = Between(0, 3); i > 0; --i) {
      std::string line = Text(80);
      line.resize(80, ' ');
      documents += line;
    }
    if (!documents.empty()) m_file.SetExtension(0, 1, std::ssize(documents), documents.data());
    DataEditorFormattingInfo info;
    info.SetInfo("ab" + Text(20));  // by design a text of one byte is ignored
    m_file.SetDEFormattingInfo(info);
  }

  std::mt19937 m_engine{GetParam()};
  SystemFileDataSource m_file;
};

// By design an attribute without values is not written.
DatasourceAttributes AsWritten(const DatasourceAttributes& attributes) {
  DatasourceAttributes written;
  for (unsigned long k = 0; k < attributes.Size(); ++k)
    if (!attributes.Values(k).empty()) written.Define(attributes.Name(k), attributes.Values(k));
  return written;
}

std::string Bytes(const QUAV_DataSource& source, int extension) {
  QUAV_DataSource::Extension block(source, extension);
  std::string bytes(static_cast<std::size_t>(block.Length()), '\0');
  block.GetNext(bytes.data(), std::ssize(bytes));
  return bytes;
}

void ExpectSameVariable(const QUAV_Variable& expected, const QUAV_Variable& actual) {
  SCOPED_TRACE(expected.GetName());
  EXPECT_STREQ(expected.GetName(), actual.GetName());
  EXPECT_EQ(expected.GetType(), actual.GetType());
  EXPECT_STREQ(expected.GetLabel(), actual.GetLabel());
  EXPECT_TRUE(AsWritten(expected.GetAttributes()) == actual.GetAttributes());
  const OBS* e[3];
  const OBS* a[3];
  const int code = expected.GetMissingValues(e[0], e[1], e[2]);
  ASSERT_EQ(code, actual.GetMissingValues(a[0], a[1], a[2]));
  for (int i = 0; i < code; ++i) EXPECT_EQ(*e[i], *a[i]);
  const QUAV_ValueLabelMap labels(expected.GetValueLabels());
  ASSERT_EQ(labels.Size(), QUAV_ValueLabelMap(actual.GetValueLabels()).Size());
  EXPECT_TRUE(labels.Size() == 0 || labels == QUAV_ValueLabelMap(actual.GetValueLabels()));
}

TEST_P(HostileDictionary, IsRefusedOrReadAsWritten) {
  const TempFile directory("");
  const std::string path = directory.Directory() + "/new.quav";
  m_file.SetFileSpec(path.c_str());
  if (const auto error = ErrorOf([&] { m_file.CommitDictionary(); })) {
    EXPECT_TRUE(1505 <= error->Number() && error->Number() <= 1510) << error->Number();
    EXPECT_FALSE(std::filesystem::exists(path));
    return;
  }
  m_file.Close();
  const SystemFileDataSource read(path, "", false);
  EXPECT_STREQ(m_file.GetLabel(), read.GetLabel());
  EXPECT_TRUE(AsWritten(m_file.GetAttributes()) == read.GetAttributes());
  for (const VarSetsType list : {kPlainSets, kMRSets})
    EXPECT_TRUE(VariableSets(m_file, list) == VariableSets(read, list));
  EXPECT_EQ(Bytes(m_file, 0), Bytes(read, 0));
  EXPECT_EQ(m_file.GetDEFormattingInfo(), read.GetDEFormattingInfo());
  ASSERT_EQ(m_file.ColumnCount(), read.ColumnCount());
  for (int column = 0; column < static_cast<int>(read.ColumnCount()); ++column)
    ExpectSameVariable(std::as_const(m_file).GetVariable(column), read.GetVariable(column));
}

INSTANTIATE_TEST_SUITE_P(Seeds, HostileDictionary, testing::Range(0U, Seeds(600U)));

}  // namespace
}  // namespace hostile_test
