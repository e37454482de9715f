// Memory runs out in the middle of a change: the caller gets the exception, and the source does not change.
//
// The program's `new` fails after n requests. Each change runs with n from 0 up until it succeeds.

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <ostream>
#include <sstream>
#include <string>

#include "datasrc/QUAV_DataSource.h"
#include "datasrc/VariableSet.h"
#include "sources/QUAV_DataSourceData.h"
#include "tests/fault/Requests.h"
#include "tests/support/MemorySource.h"
#include "tests/support/RowName.h"

std::atomic<long> theRequestsLeft = kWithoutEnd;

// Not inlined: a compiler that inlines only one of them reports a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (theRequestsLeft != kWithoutEnd && theRequestsLeft-- <= 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

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
  for (const auto& pair : body.fSortIndex.GetIndex()) out << pair.GetKeyValue() << ' ';
  out << body.fSortIndex.GetIndexKeys().size() << '\n' << body.fDEFormatting.GetInfo() << '\n';
  out << body.fObservers.size() << body.fDirty << body.fIndexValid;
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
};

void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.name; }

QUAV_DataSource::Observer theObserver;
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

const ChangeRow kChanges[] = {
    {"InsertVariable", [](OpenSource& s) { s.InsertVariable(1, theVariable); }},
    {"MakeVariable", [](OpenSource& s) { s.MakeVariable(theVariable, nullptr); }},
    {"MakeVariableOfType", [](OpenSource& s) { s.MakeVariable(300, nullptr); }},
    {"SetLabel", [](OpenSource& s) { s.SetLabel(kLongText.c_str()); }},
    {"SetFileSpec", [](OpenSource& s) { s.SetFileSpec(kLongText.c_str()); }},
    {"SetFileSpecByExtNameStr", [](OpenSource& s) { s.SetFileSpec(theName); }},
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
    {"SetExtensionBeyondTheLast", [](OpenSource& s) { s.SetExtension(40, 1, 500, kLongText.data()); }},
    {"ExtendExtension", [](OpenSource& s) { s.ExtendExtension(3, 500, kLongText.data()); }},
    {"Register", [](OpenSource& s) { s.Register(&theObserver); }},
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

}  // namespace
