// Memory runs out in the middle of a change: the caller gets the exception, and the source or the variable does not change.
//
// The program's `new` fails after n requests. Each change runs with n from 0 up until it succeeds. The headers list the
// operations: each of them needs a row in a table here.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <utility>

#include "Platform/messages/ThrowError.h"
#include "datasrc/DSDocument.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableSet.h"
#include "sources/QUAV_DataSourceData.h"
#include "tests/fault/Requests.h"
#include "tests/support/MemorySource.h"
#include "tests/support/RowName.h"
#include "tests/support/TempFile.h"

std::atomic<long> theRequestsLeft = kWithoutEnd;
std::atomic<bool> theFailureIsSingle = false;

namespace {

bool IsGranted() {
  if (theRequestsLeft == kWithoutEnd) return true;
  const long left = theRequestsLeft--;
  return left > 0 || (left < 0 && theFailureIsSingle);
}

}  // namespace

// Not inlined: a compiler that inlines only one of them reports a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (!IsGranted()) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto unit = static_cast<std::size_t>(alignment);
  if (!IsGranted()) throw std::bad_alloc();
  if (void* memory = std::aligned_alloc(unit, (size + unit - 1) / unit * unit)) return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

namespace datasrc_outofmemory_test {
namespace {

// Gives access to the private body.
class OpenSource : public MemorySource {
 public:
  const Data& Body() const { return *pData; }
};

const std::string kLongText(500, 'x');

VariableSetImpl LongSet() {
  VariableSetImpl set;
  set.name = kLongText;
  set.label = kLongText;
  set.members.assign(9, LocallyUniqueID());
  return set;
}

// Fills each part of the source.
void Fill(OpenSource& source) {
  source.AddNumber("A");
  source.AddText("B", 20);
  source.SetExtension(3, 1, 3, "abc");
  source.SetVariableSets({VariableSetImpl()});
  source.SetMRSets({VariableSetImpl()});
  source.SetFileSpec("name.sav");
  source.SetDirty(false);
}

// Describes everything in a source that the changes below could affect.
std::string Describe(const OpenSource& source) {
  std::ostringstream out;
  const auto& body = source.Body();
  for (const QUAV_Variable& variable : body.fDictionary) out << variable.GetName() << ':' << variable.GetType() << ' ';
  for (int column = 0; column <= static_cast<int>(source.ColumnCount()); ++column)
    out << source.ObsIndex(column) << ' ';
  out << body.fObs.LastCells() << '\n';
  out << body.fHasLabel << body.fLabel << '\n' << source.GetFileSpec() << source.GetFileSpecExt().GetU8() << '\n';
  for (int type = 0; type <= source.MaxExtensionType(); ++type) {
    if (source.HasExtension(type)) out << type << QUAV_DataSource::Extension(source, type).Elements() << ' ';
  }
  for (const auto* sets : {&body.fVariableSets, &body.fMRSets}) {
    for (const VariableSetImpl& set : *sets) out << set.name << set.label << set.members.size() << ' ';
  }
  out << body.fTimestamp << ' ' << body.fRowsPerImputation << ' ' << body.fParent << '\n';
  for (const LocallyUniqueID id : body.fSplitVars) out << id.number << ' ';
  out << body.fnSplitVars << body.fSplitSeparate << ' ' << body.fWeightVar.number << ' ' << body.fFilterVar.number
      << '\n';
  out << body.fAttributes.MakeString() << body.fAttributes.Size() << '\n';
  out << body.fTrends.GetNDateVars() << (body.fTrends.GetDataSource() == &source) << '\n';
  for (const auto& pair : body.fSortIndex.GetIndex()) out << pair.GetKeyValue() << ' ';
  out << body.fSortIndex.GetIndexKeys().size() << '\n' << body.fDEFormatting.GetInfo() << '\n';
  out << body.fObservers.All().size() << body.fDirty << body.fIndexValid;
  return out.str();
}

// Returns whether the change succeeds when so many requests for memory are granted.
bool Succeeds(const std::function<void(OpenSource&)>& change, OpenSource& source, long requests) {
  theRequestsLeft = requests;
  try {
    change(source);
  } catch (const std::bad_alloc&) {
    theRequestsLeft = kWithoutEnd;
    return false;
  }
  theRequestsLeft = kWithoutEnd;
  return true;
}

struct ChangeRow {
  const char* name;
  std::function<void(OpenSource&)> change;
  const char* operation = name;
};

void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.name; }

struct Observer final : QUAV_DataSource::Observer {};

Observer theObserver;
const QUAV_Variable theVariable(300);
const VariableSetImpl theSet = LongSet();
const ExtNameStr theName(kLongText);

VariableSet LongNamedSet(const std::string& sign, VariableSet::VariableSetType type) {
  VariableSet set(sign + kLongText, type);
  set.AddVariableName("A");
  set.AddVariableName("B");
  return set;
}

const VariableSet theNamedSet = LongNamedSet("", VariableSet::kPlain);
const VariableSet theMRSet = LongNamedSet("$", VariableSet::kCategories);

SortIndexInfo LongIndex() {
  SortIndexInfo info;
  info.SetIndexKeys({FileSort::SortKey{0, 0, 0}});
  info.SetIndex({SortIndexInfo::SortIndexKeyRowPair(kLongText, 0)});
  return info;
}

const SortIndexInfo theIndex = LongIndex();

DataEditorFormattingInfo LongFormatting() {
  DataEditorFormattingInfo info;
  info.SetInfo(kLongText);
  return info;
}

const DataEditorFormattingInfo theFormatting = LongFormatting();

DatasourceAttributes LongAttributes() {
  DatasourceAttributes attributes;
  attributes.Define(kLongText, {kLongText, kLongText});
  attributes.Define("a", {kLongText});
  return attributes;
}

const DatasourceAttributes theAttributes = LongAttributes();

// Another source, which holds more in each part.
const OpenSource& OtherSource() {
  static const OpenSource& other = *[] {
    auto made = std::make_unique<OpenSource>();
    Fill(*made);
    made->AddText("C", 300);
    made->SetLabel(kLongText.c_str());
    made->SetExtension(5, 1, 500, kLongText.data());
    made->SetVariableSets({theSet, theSet});
    made->SetMRSets({theSet});
    made->SetAttributes(theAttributes);
    made->SetSortIndexInfo(theIndex);
    made->SetDEFormattingInfo(theFormatting);
    made->SetTimestamp(1);
    made->RowsPerImputation(3);
    made->SetWeightVar(0);
    made->SetFilterVar(0);
    const int split[] = {1};
    made->SetSplit(1, split, true);
    made->GetTrendsInfo().SetNDateVars(2);
    made->Register(&theObserver);
    return made.release();
  }();
  return other;
}

const ChangeRow kChanges[] = {
    {"InsertVariable", [](OpenSource& s) { s.InsertVariable(1, theVariable); }},
    {"MakeVariable", [](OpenSource& s) { s.MakeVariable(theVariable, nullptr); }},
    {"MakeVariableOfType", [](OpenSource& s) { s.MakeVariable(300, nullptr); }, "MakeVariable"},
    {"SetLabel", [](OpenSource& s) { s.SetLabel(kLongText.c_str()); }},
    {"SetFileSpec", [](OpenSource& s) { s.SetFileSpec(kLongText.c_str()); }},
    {"SetFileSpecByExtNameStr", [](OpenSource& s) { s.SetFileSpec(theName); }, "SetFileSpec"},
    {"SetAttributes", [](OpenSource& s) { s.SetAttributes(theAttributes); }},
    {"CopyDictionary", [](OpenSource& s) { s.CopyDictionary(OtherSource()); }},
    {"SetVariableSets",
     [](OpenSource& s) {
       s.SetVariableSets({theSet, theSet});
     }},
    {"SetMRSets",
     [](OpenSource& s) {
       s.SetMRSets({theSet, theSet});
     }},
    {"SaveVariableSets",
     [](OpenSource& s) {
       SaveVariableSets({theMRSet, theNamedSet}, s, kPlainSets);
     }},
    {"SaveMRSets",
     [](OpenSource& s) {
       SaveVariableSets({theMRSet, theNamedSet}, s, kMRSets);
     }},
    {"SetSortIndexInfo", [](OpenSource& s) { s.SetSortIndexInfo(theIndex); }},
    {"SetDEFormattingInfo", [](OpenSource& s) { s.SetDEFormattingInfo(theFormatting); }},
    {"SetExtension", [](OpenSource& s) { s.SetExtension(3, 1, 500, kLongText.data()); }},
    {"SetExtensionBeyondTheLast", [](OpenSource& s) { s.SetExtension(40, 1, 500, kLongText.data()); }, "SetExtension"},
    {"SetExtensionOfAHandle", [](OpenSource& s) { s.SetExtension(41, QUAV_DataSource::Extension(OtherSource(), 5)); },
     "SetExtension"},
    {"SetExtensionOfItsType", [](OpenSource& s) { s.SetExtension(QUAV_DataSource::Extension(OtherSource(), 5)); },
     "SetExtension"},
    {"ExtendExtension", [](OpenSource& s) { s.ExtendExtension(3, 500, kLongText.data()); }},
    {"Register", [](OpenSource& s) { s.Register(&theObserver); }},
};

// These request no memory, so they cannot fail.
const ChangeRow kChangesWithoutMemory[] = {
    {"SetVariable", [](OpenSource& s) { s.SetVariable(0, std::as_const(s).GetVariable(0)); }},
    {"GetVariable", [](OpenSource& s) { s.GetVariable(0); }},
    {"DeleteVariables", [](OpenSource& s) { s.DeleteVariables(0, 1); }},
    {"SetWeightVar", [](OpenSource& s) { s.SetWeightVar(0); }},
    {"SetFilterVar", [](OpenSource& s) { s.SetFilterVar(0); }},
    {"SetSplit",
     [](OpenSource& s) {
       const int split[] = {0, 1};
       s.SetSplit(2, split, true);
     }},
    {"SetDirty", [](OpenSource& s) { s.SetDirty(true); }},
    {"SetIndexValid", [](OpenSource& s) { s.SetIndexValid(true); }},
    {"SetTimestamp", [](OpenSource& s) { s.SetTimestamp(1); }},
    {"SetTimestampToNow", [](OpenSource& s) { s.SetTimestamp(); }, "SetTimestamp"},
    {"RowsPerImputation", [](OpenSource& s) { s.RowsPerImputation(2); }},
    {"GetTrendsInfo", [](OpenSource& s) { s.GetTrendsInfo(); }},
    {"SetParentSource", [](OpenSource& s) { s.SetParentSource(nullptr); }},
};

class DataSourceOutOfMemory : public testing::TestWithParam<ChangeRow> {};

TEST_P(DataSourceOutOfMemory, KeepsTheSourceUnchanged) {
  const long kMoreThanEnough = 10000;
  long requests = 0;
  for (;; ++requests) {
    ASSERT_LT(requests, kMoreThanEnough);
    OpenSource source;
    Fill(source);
    const std::string before = Describe(source);
    if (Succeeds(GetParam().change, source, requests)) {
      EXPECT_NE(Describe(source), before);
      break;
    }
    ASSERT_EQ(Describe(source), before) << "with " << requests << " requests granted";
  }
  EXPECT_GT(requests, 0) << "the change asks for memory";
}

TEST_P(DataSourceOutOfMemory, KeepsACopyOfTheSourceUnchanged) {
  OpenSource source;
  Fill(source);
  const OpenSource copy(source);
  const std::string before = Describe(copy);
  for (long requests = 0; !Succeeds(GetParam().change, source, requests); ++requests) {
    ASSERT_EQ(Describe(copy), before) << "with " << requests << " requests granted";
  }
  EXPECT_EQ(Describe(copy), before);
}

INSTANTIATE_TEST_SUITE_P(Changes, DataSourceOutOfMemory, testing::ValuesIn(kChanges), kRowName);

using WithoutMemory = DataSourceOutOfMemory;

TEST_P(WithoutMemory, Succeeds) {
  OpenSource source;
  Fill(source);
  EXPECT_TRUE(datasrc_outofmemory_test::Succeeds(GetParam().change, source, 0));
}

INSTANTIATE_TEST_SUITE_P(DataSource, WithoutMemory, testing::ValuesIn(kChangesWithoutMemory), kRowName);

// ---- Files ----

// After a Close that threw, the destructor and another Close have nothing left to do.
TEST(SystemFileOutOfMemory, FailedCloseEndsTheWriting) {
  for (const int level : {0, 1, 2}) {
    bool isClosed = false;
    for (long requests = 0; !isClosed; ++requests) {
      const TempFile onDisk("");
      SystemFileDataSource file;
      file.MakeVariable(0, nullptr).SetName("A");
      file.SetCompressionLevel(level);
      file.SetFileSpec(onDisk.Name().c_str());
      const OBS row = NumberCell(1.5);
      file.AddRow(&row);
      theRequestsLeft = requests;
      try {
        file.Close();
        isClosed = true;
      } catch (const std::bad_alloc&) {
      } catch (const QuavServerError& error) {
        theRequestsLeft = kWithoutEnd;
        EXPECT_NE(std::string::npos, error.Text().find("Cannot allocate memory"));
      }
      theRequestsLeft = kWithoutEnd;
      EXPECT_NO_THROW(file.Close()) << requests << " requests granted at level " << level;
    }
  }
}

// ---- Variables ----

struct SetterRow {
  const char* name;
  std::function<void(QUAV_Variable&)> set;
  const char* operation = name;
};

void PrintTo(const SetterRow& row, std::ostream* out) { *out << row.name; }

using Variable = QUAV_Variable;

const OBS theCell = NumberCell(1);
const double theNumber = 1;
const QUAV_ValueLabelMap theLabels(20);

const SetterRow kSetters[] = {
    {"SetName", [](Variable& v) { v.SetName(kLongText.c_str()); }},
    {"SetNameOfALength", [](Variable& v) { v.SetName(kLongText.c_str(), 200); }, "SetName"},
    {"SetID", [](Variable& v) { v.SetID(LocallyUniqueID(1, 2)); }},
    {"NewID", [](Variable& v) { v.NewID(); }},
    {"SetType", [](Variable& v) { v.SetType(40); }},
    {"SetFormat", [](Variable& v) { v.SetFormat(QUAV_Format(kFormatHexString, 30, 0)); }},
    {"SetFormatOfParts", [](Variable& v) { v.SetFormat(kFormatHexString, 30, 0); }, "SetFormat"},
    {"SetWriteFormat", [](Variable& v) { v.SetWriteFormat(QUAV_Format(kFormatHexString, 30, 0)); }},
    {"SetWriteFormatOfParts", [](Variable& v) { v.SetWriteFormat(kFormatHexString, 30, 0); }, "SetWriteFormat"},
    {"SetLabel", [](Variable& v) { v.SetLabel(kLongText.c_str()); }},
    {"SetLabelOfALength", [](Variable& v) { v.SetLabel(kLongText.c_str(), 200); }, "SetLabel"},
    {"SetDisplayWidth", [](Variable& v) { v.SetDisplayWidth(33); }},
    {"SetMeasurementLevel", [](Variable& v) { v.SetMeasurementLevel(Variable::kLevelScale); }},
    {"SetAlignment", [](Variable& v) { v.SetAlignment(Variable::kAlignCenter); }},
    {"SetRole", [](Variable& v) { v.SetRole(Variable::kRoleBoth); }},
    {"SetAttributes", [](Variable& v) { v.SetAttributes(theAttributes); }},
    {"SetValueLabels", [](Variable& v) { v.SetValueLabels(theLabels); }},
    {"SetMissingValues", [](Variable& v) { v.SetMissingValues(2, &theCell, &theCell, nullptr); }},
    {"SetMissingCells", [](Variable& v) { v.SetMissingValues(&theCell, &theCell, nullptr); }, "SetMissingValues"},
    {"SetMissingNumbers",
     [](Variable& v) {
       v.SetType(0);
       v.SetMissingValues(&theNumber, nullptr, nullptr);
     },
     "SetMissingValues"},
    {"SetMissingTexts", [](Variable& v) { v.SetMissingValues("a", "b", "c"); }, "SetMissingValues"},
    {"SetMissingRange",
     [](Variable& v) {
       v.SetType(0);
       v.SetMissingRange(&theNumber, nullptr, nullptr);
     }},
};

QUAV_Variable FilledVariable() {
  QUAV_Variable variable(20);
  variable.SetName("name");
  variable.SetLabel("label");
  DatasourceAttributes attributes;
  attributes.Define("b", {"value"});
  variable.SetAttributes(attributes);
  return variable;
}

std::string Describe(const QUAV_Variable& variable) {
  std::ostringstream out;
  const OBS* values[3];
  out << variable.GetName() << ' ' << variable.GetUpperCaseName() << ' ' << variable.GetID().number << ' '
      << variable.GetType() << ' ' << variable.GetLabel() << '\n';
  for (const QUAV_Format format : {variable.GetFormat(), variable.GetWriteFormat()})
    out << format.Type() << ' ' << format.Width() << ' ' << format.Decimals() << ' ';
  out << variable.GetDisplayWidth() << variable.GetMeasurementLevel() << variable.GetAlignment() << variable.GetRole();
  out << variable.GetMissingValues(values[0], values[1], values[2]);
  for (const OBS* value : values) out << ' ' << value->bits;
  out << '\n' << variable.GetAttributes().MakeString() << variable.GetValueLabels().get();
  return out.str();
}

class OutOfMemoryOfVariable : public testing::TestWithParam<SetterRow> {
 protected:
  // Returns whether the setter succeeded with so many requests for memory.
  static bool Succeeds(QUAV_Variable& variable, long requests) {
    theRequestsLeft = requests;
    try {
      GetParam().set(variable);
    } catch (const std::bad_alloc&) {
      theRequestsLeft = kWithoutEnd;
      return false;
    }
    theRequestsLeft = kWithoutEnd;
    return true;
  }
};

TEST_P(OutOfMemoryOfVariable, LeavesAVariableAsItWas) {
  long requests = 0;
  for (;; ++requests) {
    QUAV_Variable variable = FilledVariable();
    const std::string before = Describe(variable);
    if (Succeeds(variable, requests)) {
      EXPECT_NE(Describe(variable), before);
      break;
    }
    ASSERT_EQ(Describe(variable), before) << "with " << requests << " requests granted";
  }
}

TEST_P(OutOfMemoryOfVariable, LeavesBothHandlesOfAVariableAsTheyWere) {
  long requests = 0;
  for (;; ++requests) {
    QUAV_Variable variable = FilledVariable();
    const QUAV_Variable other = variable;
    const std::string before = Describe(variable);
    const bool succeeds = Succeeds(variable, requests);
    ASSERT_EQ(Describe(other), before) << "with " << requests << " requests granted";
    if (succeeds) break;
    ASSERT_EQ(Describe(variable), before) << "with " << requests << " requests granted";
  }
  EXPECT_GT(requests, 0) << "a shared variable is copied";
}

INSTANTIATE_TEST_SUITE_P(Variable, OutOfMemoryOfVariable, testing::ValuesIn(kSetters), kRowName);

// ---- Values, and what changes several parts of a source ----

std::string Describe(const DatasourceAttributes& attributes) {
  return attributes.MakeString() + (attributes == DatasourceAttributes() ? "" : "a list");
}

struct AttributesRow {
  const char* name;
  std::function<void(DatasourceAttributes&)> change;
};

void PrintTo(const AttributesRow& row, std::ostream* out) { *out << row.name; }

const AttributesRow kAttributeChanges[] = {
    {"DefineNew",
     [](DatasourceAttributes& a) {
       a.Define(kLongText, {kLongText, "b"});
     }},
    {"DefineAgain",
     [](DatasourceAttributes& a) {
       a.Define("A", {kLongText, "b"});
     }},
    {"DefineAll",
     [](DatasourceAttributes& a) {
       a.DefineAll({{"B", {kLongText}}, {"c", {"new"}}, {"A", {kLongText, "x"}}, {"d", {kLongText}}});
     }},
    {"Merge", [](DatasourceAttributes& a) { a.Merge(theAttributes, true); }},
    {"Assignment", [](DatasourceAttributes& a) { a = theAttributes; }},
    {"Change", [](DatasourceAttributes& a) { a.Change(); }},
};

class AttributesOutOfMemory : public testing::TestWithParam<AttributesRow> {};

TEST_P(AttributesOutOfMemory, LeavesTheSetAsItWas) {
  for (const bool isFilled : {true, false}) {
    for (long requests = 0;; ++requests) {
      DatasourceAttributes attributes;
      if (isFilled) {
        attributes.Define("a", {"first"});
        attributes.Define("b", {"second"});
      }
      const std::string before = Describe(attributes);
      bool isDone = true;
      theRequestsLeft = requests;
      try {
        GetParam().change(attributes);
      } catch (const std::bad_alloc&) {
        isDone = false;
      }
      theRequestsLeft = kWithoutEnd;
      if (isDone) break;
      ASSERT_EQ(before, Describe(attributes)) << "with " << requests << " requests granted";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Attributes, AttributesOutOfMemory, testing::ValuesIn(kAttributeChanges), kRowName);

VariableSet FilledSet(int members) {
  VariableSet set("$set", VariableSet::kCategories);
  set.SetLabel("label");
  for (int i = 0; i < members; ++i) set.AddVariableName("a variable with the number " + std::to_string(i));
  return set;
}

std::string Describe(const VariableSet& set) {
  std::string text = set.GetName(VariableSet::kAsStored) + set.GetLabel() + set.GetValue() + set.GetFlags();
  for (const std::string& name : set.GetVariableNames(VariableSet::kAsStored)) text += ' ' + name;
  return text + std::to_string(set.GetType());
}

struct SetRow {
  const char* name;
  std::function<void(VariableSet&)> change;
};

void PrintTo(const SetRow& row, std::ostream* out) { *out << row.name; }

const SetRow kSetChanges[] = {
    {"Assignment", [](VariableSet& set) { set = theMRSet; }},
    {"Parsing",
     [](VariableSet& set) {
       static std::string line = "$other=E 11 1 1 500 " + kLongText + " " + kLongText + " b c\n";
       line >> set;
     }},
    {"ParsingAPlainSet",
     [](VariableSet& set) {
       static std::string line = kLongText + "= a b " + kLongText + "\n";
       line >> set;
     }},
    {"AddVariableName", [](VariableSet& set) { set.AddVariableName(kLongText); }},
    {"ConvertToVarSet",
     [](VariableSet& set) {
       std::map<LocallyUniqueID, int> columns;
       ConvertToVarSet(theSet, OtherSource(), set, columns);
     }},
};

class SetOutOfMemory : public testing::TestWithParam<SetRow> {};

TEST_P(SetOutOfMemory, LeavesTheSetAsItWas) {
  for (const int members : {3, 15, 16, 40}) {
    VariableSet set = FilledSet(members);
    const std::string before = Describe(set);
    bool isDone = false;
    for (long requests = 0; !isDone; ++requests) {
      theRequestsLeft = requests;
      try {
        GetParam().change(set);
        isDone = true;
      } catch (const std::bad_alloc&) {
      }
      theRequestsLeft = kWithoutEnd;
      if (!isDone) {
        ASSERT_EQ(before, Describe(set)) << "with " << requests << " requests granted";
      }
    }
    EXPECT_NE(before, Describe(set));
  }
}

INSTANTIATE_TEST_SUITE_P(Sets, SetOutOfMemory, testing::ValuesIn(kSetChanges), kRowName);

TEST(ConvertToImplOutOfMemory, LeavesTheStoredSetAsItWas) {
  const VariableSetImpl before = LongSet();
  VariableSetImpl stored = before;
  bool isDone = false;
  for (long requests = 0; !isDone; ++requests) {
    theRequestsLeft = requests;
    try {
      ConvertToImpl(theMRSet, OtherSource(), stored, nullptr);
      isDone = true;
    } catch (const std::bad_alloc&) {
    }
    theRequestsLeft = kWithoutEnd;
    if (!isDone) {
      ASSERT_EQ(before, stored) << "with " << requests << " requests granted";
    }
  }
  EXPECT_EQ(theMRSet.GetName(VariableSet::kAsStored), stored.name);
}

std::vector<DSDocument> SomeDocuments() {
  std::vector<DSDocument> documents(3);
  for (DSDocument& document : documents) {
    for (int i = 0; i < 5; ++i) document.AddLine("line " + std::to_string(i));
    AddDateLine(document);
  }
  return documents;
}

const std::vector<DSDocument> theDocuments = SomeDocuments();

// Two names are illegal and one is there twice.
void AddBadNames(OpenSource& source) {
  for (const char* const name : {"a b", "B", "1 x"}) source.MakeVariable(0, nullptr).SetName(name);
}

const ChangeRow kSeveralChanges[] = {
    {"SaveDocuments", [](OpenSource& s) { SaveDocuments(theDocuments, s); }},
    {"FixVarNames", [](OpenSource& s) { SystemFileDataSource::FixVarNames(s); }},
};

class SeveralChangesOutOfMemory : public testing::TestWithParam<ChangeRow> {};

TEST_P(SeveralChangesOutOfMemory, LeaveTheSourceAsItWas) {
  OpenSource source;
  Fill(source);
  AddBadNames(source);
  SaveDocuments({theDocuments.front()}, source);
  source.SetDirty(false);
  const std::string before = Describe(source);
  long requests = 0;
  for (; !Succeeds(GetParam().change, source, requests); ++requests)
    ASSERT_EQ(before, Describe(source)) << "with " << requests << " requests granted";
  EXPECT_NE(before, Describe(source));
  EXPECT_LT(3, requests);
}

INSTANTIATE_TEST_SUITE_P(Source, SeveralChangesOutOfMemory, testing::ValuesIn(kSeveralChanges), kRowName);

// ---- The tables are complete ----

using Counts = std::map<std::string, int>;

// Returns how often the public part of the class declares each operation that may change the object.
Counts ChangingOperations(const std::string& header, const std::string& className) {
  std::ifstream file(SOURCE_DIR "/Datasource/include/datasrc/" + header);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  text = std::regex_replace(text, std::regex("//[^\n]*"), "");
  const std::size_t begin = text.find("class DATASRC_API " + className);
  const std::size_t end = std::min(text.find("\n protected:", begin), text.find("\n private:", begin));
  if (begin == text.npos || end == text.npos) return {};
  std::string body = text.substr(text.find('{', begin) + 1, end - text.find('{', begin) - 1);
  body = std::regex_replace(body, std::regex("\\{[^{}]*\\}"), ";");
  Counts counts;
  const std::regex declaration("[^;]*?([A-Za-z_]\\w*)\\s*\\([^;]*\\)\\s*(const)?[^;()]*;");
  for (std::sregex_iterator found(body.begin(), body.end(), declaration), last; found != last; ++found) {
    const std::string name = (*found)[1];
    const std::string whole = found->str();
    const bool isSpecial = name == className || whole.find("operator") != whole.npos;
    const bool isStatic = whole.find("static ") != whole.npos;
    if (!isSpecial && !isStatic && !(*found)[2].matched) ++counts[name];
  }
  return counts;
}

void ExpectRowsFor(const Counts& operations, const Counts& rows) {
  EXPECT_GT(operations.size(), 10u) << "the header is not understood";
  for (const auto& [operation, count] : operations) {
    const auto row = rows.find(operation);
    EXPECT_GE(row == rows.end() ? 0 : row->second, count) << operation;
  }
}

TEST(OutOfMemoryTables, HaveEachOperationThatChangesASource) {
  Counts rows;
  for (const ChangeRow& row : kChanges) ++rows[row.operation];
  for (const ChangeRow& row : kChangesWithoutMemory) ++rows[row.operation];
  ExpectRowsFor(ChangingOperations("QUAV_DataSource.h", "QUAV_DataSource"), rows);
  EXPECT_EQ(rows["Register"], 1) << "const, but a change";
}

TEST(OutOfMemoryTables, HaveEachOperationThatChangesAVariable) {
  Counts rows;
  for (const SetterRow& row : kSetters) ++rows[row.operation];
  ExpectRowsFor(ChangingOperations("QUAV_Variable.h", "QUAV_Variable"), rows);
}

}  // namespace
}  // namespace datasrc_outofmemory_test
