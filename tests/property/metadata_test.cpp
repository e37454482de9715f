// Random attributes, documents, sets, trends and sort indexes are written and read back, as text and through a file. A
// comment says where a form leaves something out by design, and the test does not expect it then.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Platform/serial/VStream.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/DSDocument.h"
#include "datasrc/DatasourceAttributes.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "datasrc/SortIndexInfo.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableNames.h"
#include "datasrc/VariableSet.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"

namespace metadata_test {
namespace {

constexpr std::size_t kLineSize = 80;

std::string Filled(std::string line) {
  line.resize(kLineSize, ' ');
  return line;
}

// A date variable, identified by its name because columns move.
struct DateVar {
  std::string name;
  int type;
  int third;

  bool operator==(const DateVar&) const = default;
};

class RandomMetadata : public testing::TestWithParam<unsigned> {
 protected:
  RandomMetadata() { SetUTF8mode(1); }
  ~RandomMetadata() override { SetUTF8mode(0); }

  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_engine); }
  bool OneIn(int n) { return Between(1, n) == 1; }
  template <class T>
  const T& OneOf(const std::vector<T>& list) {
    return list[static_cast<std::size_t>(Between(0, static_cast<int>(list.size()) - 1))];
  }

  // Returns a text of pieces that have a meaning in one of the forms, and of multibyte characters.
  std::string Text(int pieces) {
    static const std::vector<std::string> kPieces = {
        "a", "B",  "0", "7", " ", "  ", "'",  "''", "(",  ")",      "/",      ":",          "=",          "=C",
        "$", "1 ", "!", ",", "-", ".",  "\t", "\"", "\\", "\u00E9", "\u20AC", "\U0001F427", "   (Entered"};
    std::string text;
    while (pieces-- > 0) text += OneOf(kPieces);
    return text;
  }
  // Returns random bytes that a line of text can hold: no NUL and no line feed.
  std::string Bytes(int size) {
    std::string bytes;
    while (std::ssize(bytes) < size) {
      const auto byte = static_cast<char>(Between(1, 255));
      if (byte != '\n') bytes += byte;
    }
    return bytes;
  }

  // ---- Attributes ----

  std::string AttributeName() {
    std::string name = OneIn(4) ? "$@" : "";
    name += OneOf<std::string>({"a", "Author", "x.y", "\u00C4"});
    while (OneIn(2)) name += static_cast<char>('a' + Between(0, 3));
    return name;
  }
  DatasourceAttributes Attributes() {
    DatasourceAttributes attributes;
    for (int i = Between(0, 6); i > 0; --i) {
      std::vector<std::string> values;
      for (int k = Between(0, 4); k > 0; --k) values.push_back(OneIn(2) ? Text(Between(0, 9)) : Bytes(Between(0, 300)));
      attributes.Define(AttributeName(), values);
    }
    return attributes;
  }
  // By design an attribute without values is not written.
  static DatasourceAttributes AsWritten(const DatasourceAttributes& attributes) {
    DatasourceAttributes written;
    for (unsigned long k = 0; k < attributes.Size(); ++k)
      if (!attributes.Values(k).empty()) written.Define(attributes.Name(k), attributes.Values(k));
    return written;
  }

  // ---- Documents ----

  DSDocument Document() {
    DSDocument document;
    for (int i = Between(0, 5); i > 0; --i) {
      std::string line = OneIn(2) ? Bytes(Between(0, 80)) : Text(Between(0, 10));
      line.resize(std::min(line.size(), kLineSize));
      if (!Filled(line).starts_with("   (Entered ")) document.AddLine(line);
    }
    document.Year(Between(1964, 2063));
    document.Month(Between(1, 12));
    document.Day(Between(1, 31));
    AddDateLine(document);
    return document;
  }
  std::vector<DSDocument> Documents() {
    std::vector<DSDocument> documents(static_cast<std::size_t>(Between(0, 4)));
    for (DSDocument& document : documents) document = Document();
    return documents;
  }
  // By design lines are read back padded with blanks.
  static std::vector<DSDocument> AsWritten(const std::vector<DSDocument>& documents) {
    std::vector<DSDocument> written(documents.size());
    for (std::size_t i = 0; i < documents.size(); ++i) {
      written[i].Year(documents[i].Year());
      written[i].Month(documents[i].Month());
      written[i].Day(documents[i].Day());
      for (int k = 0; k < documents[i].Size(); ++k) written[i].AddLine(Filled(documents[i][k]));
    }
    return written;
  }

  // ---- Sets ----

  VariableSet Set(const std::string& name, const std::vector<std::string>& variables) {
    const auto type =
        name.starts_with('$') ? static_cast<VariableSet::VariableSetType>(Between(1, 2)) : VariableSet::kPlain;
    VariableSet set(name, type);
    for (int i = Between(1, 5); i > 0; --i) set.AddVariableName(OneOf(variables));
    if (type != VariableSet::kPlain) set.SetLabel(Text(Between(0, 12)));
    if (type == VariableSet::kDichotomy) set.SetValue(Text(Between(1, 4)));
    set.SetFlags(OneOf<std::string>({"0", "1", "01", "11"}));
    return set;
  }
  std::vector<VariableSet> Sets(const std::string& sign, const std::vector<std::string>& variables) {
    std::map<std::string, VariableSet> sets;
    for (int i = Between(0, 6); i > 0; --i) {
      const std::string name =
          sign + OneOf<std::string>({"s", "S", "of two words", "\u00FC", "t"}) + std::to_string(Between(0, 9));
      sets.emplace(name, Set(name, variables));
    }
    std::vector<VariableSet> list;
    for (const auto& [name, set] : sets) list.push_back(set);
    std::ranges::shuffle(list, m_engine);
    return list;
  }
  // By design only enhanced dichotomies keep their flags, and a dichotomy whose label is set by a variable loses its
  // own label.
  static VariableSet AsWritten(VariableSet set) {
    if (set.GetType() == VariableSet::kDichotomy && set.qLabelSetByVariable()) set.SetLabel("");
    if (!set.qIsEnhancedDichotomy()) set.SetFlags("");
    return set;
  }
  // By design the enhanced dichotomies come last.
  static std::vector<VariableSet> AsWritten(const std::vector<VariableSet>& sets) {
    std::vector<VariableSet> written;
    for (const bool enhanced : {false, true})
      for (const VariableSet& set : sets)
        if (set.qIsEnhancedDichotomy() == enhanced) written.push_back(AsWritten(set));
    return written;
  }

  // ---- Trends ----

  // Sets some date variables of the source, which has one of each type.
  void SetTrends(QUAV_DataSource& source) {
    QUAV_TrendsInfo& trends = source.GetTrendsInfo();
    const auto column = [&source](int type) { return source.FindVarIndex(QUAV_TrendsInfo::pszDateVarNames[type], 0); };
    std::vector<int> types{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    std::ranges::shuffle(types, m_engine);
    const int count = Between(0, 10);
    trends.SetNDateVars(count);
    for (int i = 0; i < count; ++i) {
      const int type = types[static_cast<std::size_t>(i)];
      trends.SetDateVar(i, column(type), type, Between(-5, 5000));
    }
    if (count > 0 && OneIn(2))
      trends.SetDateVar(count, column(QUAV_TrendsInfo::e_DATKEY), QUAV_TrendsInfo::e_DATKEY, 7);
    trends.SetPeriod(OneIn(2), Between(-9, 99));
    trends.SetStart(Between(-9, 3000), Between(-9, 99));
  }
  void SetSpans(QUAV_TrendsInfo& trends) {
    trends.SetUse(OneIn(2), OneIn(2), Between(0, 99), OneIn(2), OneIn(2), Between(0, 99));
    trends.SetPred(OneIn(2), OneIn(2), Between(0, 99), OneIn(2), OneIn(2), Between(0, 99));
    for (int i = 0; i < trends.GetNDateVars(); ++i) {
      trends.SetUseVar(i, NumberCell(Between(0, 99)), NumberCell(Between(0, 99)));
      trends.SetPredVar(i, NumberCell(Between(0, 99)), NumberCell(Between(0, 99)));
    }
  }
  static std::vector<DateVar> DateVars(const QUAV_DataSource& source) {
    const QUAV_TrendsInfo& trends = source.GetTrendsInfo();
    std::vector<DateVar> entries;
    for (int i = 0; trends.GetNDateVars() > 0 && i <= trends.GetNDateVars(); ++i) {
      int column = 0;
      DateVar entry{};
      trends.GetDateVar(i, column, entry.type, entry.third);
      column = source.FindVarIndex(trends.GetDateVarID(i));
      if (column >= 0) entry.name = source.GetVariable(column).GetName();
      entries.push_back(entry);
    }
    return entries;
  }
  static std::vector<int> Numbers(const QUAV_TrendsInfo& trends) {
    bool isSet = false;
    int period = 0;
    int first = 0;
    int second = 0;
    trends.GetPeriod(isSet, period);
    trends.GetStart(first, second);
    return {isSet ? 1 : 0, period, first, second};
  }

  // ---- Sort index ----

  // By design a key value in a file ends before the first white space, so these values have none.
  SortIndexInfo SortIndex() {
    SortIndexInfo info;
    std::vector<FileSort::SortKey> keys(static_cast<std::size_t>(Between(1, 4)));
    for (FileSort::SortKey& key : keys) key = {Between(0, 9999), Between(-9, 9), Between(0, 40)};
    std::vector<SortIndexInfo::SortIndexKeyRowPair> index;
    for (int i = Between(1, 9); i > 0; --i) {
      std::string value = Text(Between(0, 9));
      std::erase_if(value, [](char c) { return c == ' ' || c == '\t'; });
      index.emplace_back(value, static_cast<long long>(m_engine()) * Between(-1, 1 << 20));
    }
    info.SetIndexKeys(keys);
    info.SetIndex(index);
    return info;
  }

  // ---- A dictionary with all of these ----

  // Makes variables with long names, whose short forms collide. There are strings of one and of several segments among
  // them, so that columns and cells move when a file is written.
  std::vector<std::string> MakeVariables(QUAV_DataSource& source) {
    std::vector<std::pair<std::string, int>> variables;
    for (int type = 1; type <= 10; ++type) variables.emplace_back(QUAV_TrendsInfo::pszDateVarNames[type], 0);
    variables.emplace_back(QUAV_TrendsInfo::pszDateVarNames[QUAV_TrendsInfo::e_DATKEY], Between(1, 600));
    for (int i = Between(1, 8); i > 0; --i)
      variables.emplace_back("A_long_name_that_collides_" + std::to_string(i), OneOf<int>({0, 8, 30, 300, 1000}));
    std::ranges::shuffle(variables, m_engine);
    std::vector<std::string> names;
    for (const auto& [name, type] : variables) {
      source.MakeVariable(type, nullptr).SetName(name.c_str());
      names.push_back(name);
    }
    return names;
  }

  std::mt19937 m_engine{GetParam()};
};

TEST_P(RandomMetadata, AttributesRoundTripAsText) {
  const DatasourceAttributes attributes = Attributes();
  const std::string text = attributes.MakeString();
  DatasourceAttributes read;
  unsigned long consumed = 0;
  ASSERT_TRUE(DatasourceAttributes::Parse(text, read, &consumed));
  EXPECT_EQ(text.size(), consumed);
  EXPECT_TRUE(AsWritten(attributes) == read);
  ASSERT_TRUE(DatasourceAttributes::Parse(text + "/next:(", read, &consumed));
  EXPECT_EQ(text.size(), consumed);
  EXPECT_TRUE(AsWritten(attributes) == read);
  EXPECT_EQ(text, read.MakeString());
}

TEST_P(RandomMetadata, DocumentsRoundTripAsLines) {
  const std::vector<DSDocument> documents = Documents();
  MemorySource source;
  SaveDocuments(documents, source);
  EXPECT_TRUE(AsWritten(documents) == GetDocuments(source));
}

TEST_P(RandomMetadata, SetsRoundTripAsLines) {
  for (const char* sign : {"", "$"}) {
    for (const VariableSet& set : Sets(sign, {"a", "B", "\u00E9", "d"})) {
      const std::string line = set.ToExtension();
      EXPECT_TRUE(AsWritten(set) == VariableSet(line)) << line;
      EXPECT_EQ(line, VariableSet(line).ToExtension());
    }
  }
}

TEST_P(RandomMetadata, TrendsRoundTripThroughAStream) {
  MemorySource source;
  MakeVariables(source);
  SetTrends(source);
  QUAV_TrendsInfo& trends = source.GetTrendsInfo();
  SetSpans(trends);
  VMemoryStream out;
  trends.Serialize(out);
  VMemoryStream in(out.Bytes());
  QUAV_TrendsInfo read;
  read.SetDataSource(&source);
  read.Serialize(in);
  EXPECT_TRUE(in.Good());
  // By design a stream holds no variable IDs.
  read.UpdateVarIDs(&source);
  EXPECT_TRUE(trends == read);
}

TEST_P(RandomMetadata, RoundTripsThroughAFile) {
  SystemFileDataSource file;
  const std::vector<std::string> names = MakeVariables(file);
  const auto count = static_cast<int>(file.ColumnCount());
  const DatasourceAttributes attributes = Attributes();
  file.SetAttributes(attributes);
  std::vector<DatasourceAttributes> ofVariables;
  for (int column = 0; column < count; ++column) {
    ofVariables.push_back(Attributes());
    file.GetVariable(column).SetAttributes(ofVariables.back());
    file.GetVariable(column).SetRole(static_cast<QUAV_Variable::Role>(Between(0, 7)));
    file.GetVariable(column).SetMeasurementLevel(static_cast<QUAV_Variable::MeasurementLevel>(Between(1, 5)));
  }
  const std::vector<DSDocument> documents = Documents();
  SaveDocuments(documents, file);
  const std::vector<VariableSet> sets = Sets("", names);
  const std::vector<VariableSet> mrSets = Sets("$", names);
  SaveVariableSets(sets, file, kPlainSets);
  SaveVariableSets(mrSets, file, kMRSets);
  SetTrends(file);
  const SortIndexInfo sortIndex = SortIndex();
  file.SetSortIndexInfo(sortIndex);

  const TempFile onDisk("");
  file.SetFileSpec(onDisk.Name().c_str());
  file.CommitDictionary();
  file.Close();
  const SystemFileDataSource read(onDisk.Name(), "", false);

  EXPECT_TRUE(AsWritten(attributes) == read.GetAttributes());
  EXPECT_TRUE(AsWritten(documents) == GetDocuments(read));
  EXPECT_TRUE(AsWritten(sets) == VariableSets(read, kPlainSets));
  EXPECT_TRUE(AsWritten(mrSets) == VariableSets(read, kMRSets));
  EXPECT_EQ(sortIndex.GetIndexKeys(), read.GetSortIndexInfo().GetIndexKeys());
  EXPECT_EQ(sortIndex.GetIndex(), read.GetSortIndexInfo().GetIndex());

  // By design trends without date variables and without a period are not written.
  const bool hasTrends = file.GetTrendsInfo().GetNDateVars() > 0 || Numbers(file.GetTrendsInfo())[0] != 0;
  EXPECT_EQ(DateVars(file), DateVars(read));
  EXPECT_EQ(hasTrends ? Numbers(file.GetTrendsInfo()) : std::vector({0, 1, 1, 1}), Numbers(read.GetTrendsInfo()));

  ASSERT_EQ(file.ColumnCount(), read.ColumnCount());
  for (int column = 0; column < count; ++column) {
    const QUAV_Variable& before = std::as_const(file).GetVariable(column);
    const QUAV_Variable& after = read.GetVariable(column);
    SCOPED_TRACE(after.GetName());
    // By design roles 6 and 7 and levels 4 and 5 are read back as attributes, and as role 3 and level 1.
    DatasourceAttributes expected = AsWritten(ofVariables[static_cast<std::size_t>(column)]);
    const int level = before.GetMeasurementLevel();
    if (level > 3) expected.Define("$@MeasurementLevel", {std::to_string(level)});
    EXPECT_EQ(level > 3 ? 1 : level, after.GetMeasurementLevel());
    const int role = before.GetRole();
    if (role > 5) expected.Define("$@ExtendRole", {std::to_string(role)});
    EXPECT_EQ(role > 5 ? 3 : role, after.GetRole());
    EXPECT_TRUE(expected == after.GetAttributes());
  }
}

// ---- Searches by a sparse index ----

// Cases sorted by keys of numbers and strings. Keys may repeat.
class RandomSortedTable : public RandomMetadata {
 protected:
  void Make() {
    std::vector<FileSort::SortKey> keys;
    for (int i = Between(1, 3); i > 0; --i) AddKeyVariable(keys);
    m_info.SetIndexKeys(keys);
    for (int i = Between(2, 150); i > 0; --i) m_values.push_back(Values());
    std::ranges::sort(m_values, [this](const auto& a, const auto& b) { return Order(KeyOf(a), KeyOf(b)) < 0; });
    for (const auto& values : m_values) m_source.AddCase(values);
    m_info.SetDataSource(&m_source);
  }
  // The index always has the first case.
  void MakeIndex() {
    std::vector<SortIndexInfo::SortIndexKeyRowPair> index;
    for (std::size_t i = 0; i < m_values.size(); i += static_cast<std::size_t>(Between(1, 20)))
      index.emplace_back(KeyOf(m_values[i]), static_cast<long long>(i) + 1);
    if (index.size() < 2) index.emplace_back(KeyOf(m_values.back()), std::ssize(m_values));
    m_info.SetIndex(index);
  }

  std::vector<MemorySource::Value> Values() {
    std::vector<MemorySource::Value> values;
    for (const int width : m_widths) {
      if (width == 0) {
        values.emplace_back(Between(-9, 9) + (OneIn(2) ? 0.5 : 0.0));
      } else {
        std::string text;
        while (std::ssize(text) < width && !OneIn(6)) text += OneOf<char>({'a', 'B', ' ', 'b', '-', '1'});
        values.emplace_back(text);
      }
    }
    return values;
  }

  std::string KeyOf(const std::vector<MemorySource::Value>& values) const {
    MemorySource one(m_source);
    one.AddCase(values);
    const std::unique_ptr<QUAV_InputCaseIterator> cases(one.MakeIterator(nullptr));
    cases->Seek(one.RowCount() - 1);
    cases->Next();
    return m_info.BuildKeyValues(cases.get());
  }
  int Order(const std::string& a, const std::string& b) const {
    std::size_t offset = 0;
    for (const FileSort::SortKey& key : m_info.GetIndexKeys()) {
      const int size = key.stringLength == 0 ? 41 : key.stringLength;
      const int order = m_collator.Compare(a.data() + offset, size, b.data() + offset, size);
      if (order != 0) return order;
      offset += static_cast<std::size_t>(size);
    }
    return 0;
  }

  MemorySource m_source;
  SortIndexInfo m_info;
  std::vector<std::vector<MemorySource::Value>> m_values;

 private:
  void AddKeyVariable(std::vector<FileSort::SortKey>& keys) {
    const int width = OneIn(2) ? 0 : Between(1, 12);
    const auto cell = static_cast<int>(m_source.GetObsAreaSize());
    const std::string name = "V" + std::to_string(keys.size());
    if (width == 0)
      m_source.AddNumber(name.c_str());
    else
      m_source.AddText(name.c_str(), width);
    keys.push_back({cell, 0, width});
    m_widths.push_back(width);
  }

  std::vector<int> m_widths;
  QUAVMBCollator m_collator;
};

// Rows count from 1.
TEST_P(RandomSortedTable, IndexSearchAgreesWithLinearSearch) {
  Make();
  MakeIndex();
  std::vector<std::string> keys;
  for (const auto& values : m_values) keys.push_back(KeyOf(values));
  std::vector<std::string> sought = keys;
  for (int i = 0; i < 150; ++i) sought.push_back(KeyOf(Values()));
  const std::unique_ptr<QUAV_InputCaseIterator> cases(m_source.MakeIterator(nullptr));
  for (std::string& key : sought) {
    SCOPED_TRACE(key);
    const bool isThere = std::ranges::any_of(keys, [&](const std::string& one) { return Order(one, key) == 0; });
    bool flag = true;
    for (const long long row :
         {m_info.FindRecordFromKeyValues(key), m_info.FindRecordFromKeyValues(key, flag, cases.get())}) {
      ASSERT_EQ(isThere, row != -1);
      if (!isThere) continue;
      ASSERT_TRUE(0 < row && row <= std::ssize(keys));
      EXPECT_EQ(key, keys[static_cast<std::size_t>(row - 1)]);
    }
    EXPECT_TRUE(flag);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomMetadata, testing::Range(0U, Seeds(200U)));
INSTANTIATE_TEST_SUITE_P(Seeds, RandomSortedTable, testing::Range(0U, Seeds(60U)));

}  // namespace
}  // namespace metadata_test
