#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/Calendar.h"
#include "datasrc/QUAV_DataSource.h"
#include "sources/QUAV_DataSourceData.h"
#include "tests/support/MemorySource.h"
#include "tests/support/RowName.h"
#include "tests/support/VirtualSlot.h"

namespace datasrc_test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

std::uint64_t Bits(double number) { return std::bit_cast<std::uint64_t>(number); }

QUAV_Variable Named(const char* name, int type = 0) {
  QUAV_Variable variable(type);
  variable.SetName(name);
  return variable;
}

// Returns a source with numeric columns of these names.
MemorySource SourceOf(const std::vector<const char*>& names) {
  MemorySource source;
  for (const char* name : names) source.AddNumber(name);
  return source;
}

std::vector<std::string> Names(const QUAV_DataSource& source) {
  std::vector<std::string> names;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    names.emplace_back(source.GetVariable(column).GetName());
  }
  return names;
}

// Returns the first cell of each column, then the number of cells of a case.
std::vector<int> FirstCells(const QUAV_DataSource& source) {
  std::vector<int> cells;
  for (int column = 0; column <= static_cast<int>(source.ColumnCount()); ++column) {
    cells.push_back(source.ObsIndex(column));
  }
  return cells;
}

// Gives access to the private body.
class OpenSource : public MemorySource {
 public:
  using MemorySource::MemorySource;
  const Data& Body() const { return *pData; }
  Data& Body() { return *pData; }
};

// ---- Sentinels ----

TEST(Sentinels, SystemMissingIsTheMostNegativeFiniteDouble) {
  EXPECT_EQ(Bits(QUAV_DataSource::SystemMissing()), 0xFFEFFFFFFFFFFFFFu);
  EXPECT_EQ(QUAV_DataSource::SystemMissing(), -1.7976931348623157e308);
}

TEST(Sentinels, HighNumberIsTheGreatestFiniteDouble) {
  EXPECT_EQ(Bits(QUAV_DataSource::HighNumber()), 0x7FEFFFFFFFFFFFFFu);
  EXPECT_EQ(QUAV_DataSource::HighNumber(), 1.7976931348623157e308);
}

TEST(Sentinels, LowNumberIsSystemMissing) {
  EXPECT_TRUE(QUAV_DataSource::LowNumber() == QUAV_DataSource::SystemMissing());
  EXPECT_EQ(Bits(QUAV_DataSource::LowNumber()), 0xFFEFFFFFFFFFFFFFu);
}

// ---- LocallyUniqueID ----

TEST(LocallyUniqueID, AllBitsSetIsInvalid) {
  EXPECT_EQ(std::bit_cast<std::uint32_t>(LocallyUniqueID()), 0xFFFFFFFFu);
  EXPECT_FALSE(LocallyUniqueID().IsValid());
  EXPECT_EQ(LocallyUniqueID(), LocallyUniqueID(15, 0xFFFFFFF));
}

TEST(LocallyUniqueID, HasTheOriginatorInTheLow4Bits) {
  EXPECT_EQ(std::bit_cast<std::uint32_t>(LocallyUniqueID(3, 0x1234567)), 0x12345673u);
}

TEST(LocallyUniqueID, IsEqualWhenBothFieldsAre) {
  EXPECT_EQ(LocallyUniqueID(1, 2), LocallyUniqueID(1, 2));
  EXPECT_NE(LocallyUniqueID(1, 2), LocallyUniqueID(1, 3));
  EXPECT_NE(LocallyUniqueID(1, 2), LocallyUniqueID(2, 2));
}

// ---- The virtual functions and their order ----

TEST(DataSource, VirtualFunctionsKeepTheirOrder) {
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::GetNSplitVars), 2u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::GetSplitVarIndex), 3u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::GetSplitVarID), 4u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::GetSplitqSeparate), 5u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::MakeIterator), 6u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::GetObsAreaSize), 7u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::RowCount), 8u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::IsLoaded), 9u);
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::NParents), 10u);
}

// The smallest possible source.
class BareSource : public QUAV_DataSource {
 public:
  using QUAV_DataSource::QUAV_DataSource;
  QUAV_InputCaseIterator* MakeIterator(OBS*) const override { return nullptr; }
};

TEST(DataSource, RowCountIsUnknownByDefault) { EXPECT_EQ(BareSource().RowCount(), -1); }

TEST(DataSource, IsLoadedByDefault) { EXPECT_TRUE(BareSource().IsLoaded()); }

// ---- A new source ----

TEST(NewDataSource, HasNoVariables) {
  const MemorySource source;
  EXPECT_EQ(source.ColumnCount(), 0u);
  EXPECT_EQ(source.GetObsAreaSize(), 0u);
  EXPECT_EQ(source.ObsIndex(0), 0);
  EXPECT_EQ(source.ObsIndex(-1), -1);
}

TEST(NewDataSource, TimestampIsTheTimeOfConstruction) {
  double before = 0;
  double after = 0;
  vQuavTimestampNow(&before);
  const MemorySource source;
  vQuavTimestampNow(&after);
  EXPECT_LE(before, source.GetTimestamp());
  EXPECT_LE(source.GetTimestamp(), after);
}

TEST(NewDataSource, HasTheDefaultsOfEachField) {
  const OpenSource source;
  EXPECT_EQ(source.RowsPerImputation(), 0);
  for (const LocallyUniqueID& id : source.Body().fSplitVars) EXPECT_FALSE(id.IsValid());
  EXPECT_EQ(source.GetLabel(), nullptr);
  EXPECT_EQ(source.GetWeightVariableID(), LocallyUniqueID());
  EXPECT_EQ(source.GetFilterVariableID(), LocallyUniqueID());
  EXPECT_EQ(source.GetWeightVarIndex(), -1);
  EXPECT_EQ(source.GetFilterVarIndex(), -1);
  EXPECT_EQ(source.GetNSplitVars(), 0u);
  EXPECT_EQ(source.GetParentSource(), nullptr);
  EXPECT_THAT(source.Body().fObservers.All(), IsEmpty());
  EXPECT_THAT(source.Body().fExtensions, IsEmpty());
  EXPECT_STREQ(source.GetFileSpec(), "");
  EXPECT_TRUE(source.GetFileSpecExt().Empty());
  EXPECT_EQ(source.GetTrendsInfo(), QUAV_TrendsInfo());
  EXPECT_EQ(source.GetAttributes(), DatasourceAttributes());
  EXPECT_THAT(source.GetVariableSets(), IsEmpty());
  EXPECT_THAT(source.GetMRSets(), IsEmpty());
  EXPECT_THAT(source.GetSortIndexInfo().GetIndexKeys(), IsEmpty());
  EXPECT_EQ(source.GetDEFormattingInfo().GetInfo(), "");
  EXPECT_TRUE(source.IsDirty());
  EXPECT_FALSE(source.GetSplitqSeparate());
  EXPECT_FALSE(source.IsIndexValid());
}

TEST(NewDataSource, TrendsInfoRefersToTheSource) {
  const MemorySource source;
  EXPECT_EQ(source.GetTrendsInfo().GetDataSource(), &source);
}

// ---- Copies ----

VariableSetImpl SetNamed(const char* name) {
  VariableSetImpl set;
  set.name = name;
  return set;
}

SortIndexInfo SortedByCell(int cell) {
  SortIndexInfo info;
  info.SetIndexKeys({FileSort::SortKey{cell, 0, 0}});
  return info;
}

// Sets every field to something other than its default.
struct PlainObserver final : QUAV_DataSource::Observer {};

void Fill(MemorySource& source, QUAV_DataSource::Observer* observer, const QUAV_DataSource* parent) {
  source.AddNumber("W");
  source.AddNumber("F");
  source.AddText("S", 12);
  const int splitColumn = 2;
  source.SetSplit(1, &splitColumn, true);
  source.SetWeightVar(0);
  source.SetFilterVar(1);
  source.SetLabel("label");
  source.SetParentSource(parent);
  source.Register(observer);
  source.SetExtension(3, 1, 5, "block");
  source.SetFileSpec("name.sav");
  source.GetTrendsInfo().SetStart(5, 6);
  DatasourceAttributes attributes;
  attributes.Define("a", {"1"});
  source.SetAttributes(attributes);
  source.SetVariableSets({SetNamed("vars")});
  source.SetMRSets({SetNamed("$mr")});
  source.SetSortIndexInfo(SortedByCell(1));
  DataEditorFormattingInfo formatting;
  formatting.SetInfo("wide");
  source.SetDEFormattingInfo(formatting);
  source.SetTimestamp(1000);
  source.RowsPerImputation(7);
  source.SetDirty(false);
  source.SetIndexValid(true);
}

// Checks all fields except the parent, the dirty flag and the file name, which not every kind of copy takes over.
void ExpectCopied(const OpenSource& copy, const OpenSource& source) {
  EXPECT_EQ(copy.GetTimestamp(), 1000);
  EXPECT_EQ(copy.RowsPerImputation(), 7);
  EXPECT_THAT(Names(copy), ElementsAre("W", "F", "S"));
  EXPECT_THAT(FirstCells(copy), ElementsAre(0, 1, 2, 4));
  EXPECT_STREQ(copy.GetLabel(), "label");
  EXPECT_EQ(copy.GetWeightVarIndex(), 0);
  EXPECT_EQ(copy.GetFilterVarIndex(), 1);
  EXPECT_EQ(copy.GetNSplitVars(), 1u);
  EXPECT_EQ(copy.GetSplitVarIndex(0), 2);
  EXPECT_TRUE(copy.GetSplitqSeparate());
  EXPECT_EQ(copy.Body().fObservers.All(), source.Body().fObservers.All());
  EXPECT_EQ(copy.Body().fExtensions, source.Body().fExtensions);
  EXPECT_EQ(copy.GetTrendsInfo(), source.GetTrendsInfo());
  EXPECT_EQ(copy.GetAttributes(), source.GetAttributes());
  EXPECT_EQ(copy.GetVariableSets(), source.GetVariableSets());
  EXPECT_EQ(copy.GetMRSets(), source.GetMRSets());
  EXPECT_EQ(copy.GetSortIndexInfo().GetIndexKeys(), source.GetSortIndexInfo().GetIndexKeys());
  EXPECT_EQ(copy.GetDEFormattingInfo(), source.GetDEFormattingInfo());
  EXPECT_TRUE(copy.IsIndexValid());
  EXPECT_EQ(copy.GetTrendsInfo().GetDataSource(), &copy);
}

class DataSourceCopy : public testing::Test {
 protected:
  DataSourceCopy() { Fill(source, &observer, &parent); }

  MemorySource parent;
  PlainObserver observer;
  OpenSource source;
};

TEST_F(DataSourceCopy, HasEveryField) {
  const OpenSource copy(source);
  ExpectCopied(copy, source);
  EXPECT_EQ(copy.GetParentSource(), &parent);
  EXPECT_STREQ(copy.GetFileSpec(), "name.sav");
  EXPECT_FALSE(copy.IsDirty());
}

TEST_F(DataSourceCopy, ChildIsDirtyAndHasTheSourceAsParent) {
  const OpenSource child(&source);
  ExpectCopied(child, source);
  EXPECT_EQ(child.GetParentSource(), &source);
  EXPECT_STREQ(child.GetFileSpec(), "name.sav");
  EXPECT_TRUE(child.IsDirty());
}

TEST(DataSource, NullParentMakesANewSource) {
  const OpenSource source(static_cast<const QUAV_DataSource*>(nullptr));
  EXPECT_EQ(source.ColumnCount(), 0u);
  EXPECT_EQ(source.GetParentSource(), nullptr);
  EXPECT_TRUE(source.IsDirty());
  EXPECT_EQ(source.GetTrendsInfo().GetDataSource(), &source);
}

// A source that is constructed with itself as parent.
class OwnParent : public BareSource {
 public:
  explicit OwnParent(const QUAV_DataSource* place) : BareSource(place) {}
};

TEST(DataSourceDeathTest, OwnParentInTheConstructorAsserts) {
  alignas(OwnParent) std::byte place[sizeof(OwnParent)] = {};
  void* const address = place;
  EXPECT_DEATH(new (place) OwnParent(static_cast<OwnParent*>(address)),
               HasSubstr("assertion failed: parent != this\n"));
}

TEST_F(DataSourceCopy, SharesVariablesUntilOneSideWrites) {
  MemorySource copy(source);
  EXPECT_EQ(std::as_const(copy).GetVariable(0).GetName(), std::as_const(source).GetVariable(0).GetName())
      << "one body for both";
  copy.GetVariable(0).SetName("COPY");
  source.GetVariable(1).SetName("SOURCE");
  EXPECT_THAT(Names(source), ElementsAre("W", "SOURCE", "S"));
  EXPECT_THAT(Names(copy), ElementsAre("COPY", "F", "S"));
}

TEST_F(DataSourceCopy, HasTheSameVariableIDs) {
  MemorySource copy(source);
  for (int column = 0; column < 3; ++column) {
    EXPECT_EQ(copy.GetVariable(column).GetID(), source.GetVariable(column).GetID());
  }
  copy.GetVariable(0).SetName("COPY");
  EXPECT_EQ(copy.GetVariable(0).GetID(), source.GetVariable(0).GetID());
}

TEST_F(DataSourceCopy, SharesExtensionBlocksUntilOneSideWrites) {
  OpenSource copy(source);
  copy.ExtendExtension(3, 1, "s");
  EXPECT_EQ(QUAV_DataSource::Extension(source, 3).Elements(), "block");
  EXPECT_EQ(QUAV_DataSource::Extension(copy, 3).Elements(), "blocks");
}

TEST_F(DataSourceCopy, HasItsOwnLayoutLabelFileSpecAndSplit) {
  MemorySource copy(source);
  copy.DeleteVariables(0, 2);
  copy.SetLabel("copy");
  copy.SetFileSpec("copy.sav");
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 1, 2, 4));
  EXPECT_STREQ(source.GetLabel(), "label");
  EXPECT_STREQ(source.GetFileSpec(), "name.sav");
  EXPECT_EQ(source.GetNSplitVars(), 1u);
}

// ---- GetVariable, SetVariable ----

TEST(DataSource, GetVariableReturnsTheStoredHandle) {
  MemorySource source = SourceOf({"A", "B"});
  EXPECT_EQ(&source.GetVariable(1), &std::as_const(source).GetVariable(1));
  source.GetVariable(1).SetName("C");
  EXPECT_THAT(Names(source), ElementsAre("A", "C"));
}

TEST(DataSourceDeathTest, GetVariableOfANegativeColumnAsserts) {
  MemorySource source = SourceOf({"A"});
  EXPECT_DEATH(source.GetVariable(-1), HasSubstr("assertion failed: 0 <= index\n"));
  EXPECT_DEATH(std::as_const(source).GetVariable(-1), HasSubstr("assertion failed: 0 <= index\n"));
}

TEST(DataSourceDeathTest, GetVariablePastTheLastAsserts) {
  MemorySource source = SourceOf({"A"});
  constexpr char kText[] = "assertion failed: size_t(index) < pData->fDictionary.size()\n";
  EXPECT_DEATH(source.GetVariable(1), HasSubstr(kText));
  EXPECT_DEATH(std::as_const(source).GetVariable(1), HasSubstr(kText));
}

TEST(DataSourceDeathTest, AssertionsNameTheSourceAndTheFunction) {
  MemorySource source;
  EXPECT_DEATH(source.GetVariable(0), "^Datasource/src/datasrc\\.cpp:[0-9]+: GetVariable: assertion failed: ");
}

TEST(DataSource, SetVariableReplacesTheVariable) {
  MemorySource source = SourceOf({"A", "B", "C"});
  QUAV_Variable variable = source.GetVariable(1);
  variable.SetName("NEW");
  variable.SetType(20);
  source.SetVariable(1, variable);
  EXPECT_THAT(Names(source), ElementsAre("A", "NEW", "C"));
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 1, 4, 5));
}

TEST(DataSource, SetVariableFrom8To9MovesAllLaterColumnsByOne) {
  MemorySource source;
  source.AddText("A", 8);
  source.AddNumber("B");
  QUAV_Variable variable = source.GetVariable(0);
  variable.SetType(9);
  source.SetVariable(0, variable);
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 2, 3));
}

TEST(DataSourceDeathTest, SetVariableWithAnotherIDAsserts) {
  MemorySource source = SourceOf({"A"});
  EXPECT_DEATH(source.SetVariable(0, Named("A")),
               HasSubstr("assertion failed: pData->fDictionary[index].GetID() == var.GetID()\n"));
}

const QUAV_DataSource* theWatchedSource = nullptr;

void PrintLayout(int) { std::fprintf(stderr, "a case of %u cells\n", theWatchedSource->GetObsAreaSize()); }

TEST(DataSourceDeathTest, SetVariableChangesTheLayoutBeforeItAsserts) {
  MemorySource source = SourceOf({"A", "B"});
  theWatchedSource = &source;
  EXPECT_DEATH(
      {
        std::signal(SIGABRT, PrintLayout);
        source.SetVariable(0, Named("A", 24));
      },
      HasSubstr("a case of 4 cells"));
  theWatchedSource = nullptr;
}

TEST(DataSourceDeathTest, SetVariableOutsideTheDictionaryAsserts) {
  MemorySource source = SourceOf({"A"});
  const QUAV_Variable variable = source.GetVariable(0);
  EXPECT_DEATH(source.SetVariable(-1, variable), HasSubstr("assertion failed: 0 <= index\n"));
  EXPECT_DEATH(source.SetVariable(1L << 32, variable),
               HasSubstr("assertion failed: size_t(index) < pData->fDictionary.size()\n"));
}

// ---- InsertVariable, MakeVariable ----

TEST(DataSource, InsertVariableInsertsBeforeTheColumn) {
  MemorySource source;
  source.AddNumber("A");
  source.AddText("B", 10);
  source.InsertVariable(1, Named("NEW", 20));
  EXPECT_THAT(Names(source), ElementsAre("A", "NEW", "B"));
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 1, 4, 6));
}

TEST(DataSource, InsertVariableMayAppend) {
  MemorySource source = SourceOf({"A"});
  source.InsertVariable(1, Named("NEW"));
  EXPECT_THAT(Names(source), ElementsAre("A", "NEW"));
}

TEST(DataSource, InsertVariableReturnsTheStoredVariable) {
  MemorySource source = SourceOf({"A"});
  const QUAV_Variable* stored = &source.InsertVariable(0, Named("NEW"));
  EXPECT_EQ(stored, &source.GetVariable(0));
}

TEST(DataSource, InsertVariableSharesTheBodyAndKeepsTheID) {
  MemorySource source;
  const QUAV_Variable variable = Named("NEW");
  source.InsertVariable(0, variable);
  EXPECT_EQ(std::as_const(source).GetVariable(0).GetName(), variable.GetName());
  EXPECT_EQ(source.GetVariable(0).GetID(), variable.GetID());
}

TEST(DataSource, InsertVariableAcceptsAVariableOfItsOwnDictionary) {
  MemorySource source = SourceOf({"A", "B", "C"});
  for (int i = 0; i < 10; ++i) source.InsertVariable(0, source.GetVariable(2));
  EXPECT_EQ(source.ColumnCount(), 13u);
  EXPECT_STREQ(source.GetVariable(12).GetName(), "C");
}

TEST(DataSourceDeathTest, VariableThatIsAContinuationAsserts) {
  const char* const text = "assertion failed: 0 <= type && type <= MAX_STRING_TYPE\n";
  MemorySource source;
  source.AddNumber("A");
  QUAV_Variable continuation(-1);
  continuation.SetID(source.GetVariable(0).GetID());
  EXPECT_DEATH(source.MakeVariable(-1, nullptr), HasSubstr(text));
  EXPECT_DEATH(source.MakeVariable(continuation, nullptr), HasSubstr(text));
  EXPECT_DEATH(source.InsertVariable(0, continuation), HasSubstr(text));
  EXPECT_DEATH(source.SetVariable(0, continuation), HasSubstr(text));
}

TEST(DataSourceDeathTest, InsertVariableOutsideTheDictionaryAsserts) {
  MemorySource source = SourceOf({"A"});
  const QUAV_Variable variable = Named("NEW");
  constexpr char kText[] = "assertion failed: 0 <= varAfter && varAfter <= (long)pData->fDictionary.size()\n";
  EXPECT_DEATH(source.InsertVariable(-1, variable), HasSubstr(kText));
  EXPECT_DEATH(source.InsertVariable(2, variable), HasSubstr(kText));
}

TEST(DataSource, MakeVariableAppendsTheHandleAndReturnsItsColumn) {
  MemorySource source = SourceOf({"A"});
  const QUAV_Variable variable = Named("NEW", 16);
  unsigned int column = 77;
  QUAV_Variable& stored = source.MakeVariable(variable, &column);
  EXPECT_EQ(column, 1u);
  EXPECT_EQ(&stored, &source.GetVariable(1));
  EXPECT_EQ(stored.GetID(), variable.GetID());
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 1, 3));
}

TEST(DataSource, MakeVariableOfATypeAppendsANewVariable) {
  MemorySource source = SourceOf({"A"});
  unsigned int column = 77;
  QUAV_Variable& stored = source.MakeVariable(16, &column);
  EXPECT_EQ(column, 1u);
  EXPECT_EQ(&stored, &source.GetVariable(1));
  EXPECT_EQ(stored.GetType(), 16);
  EXPECT_NE(stored.GetID(), source.GetVariable(0).GetID());
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 1, 3));
}

TEST(DataSource, MakeVariableAcceptsANullColumn) {
  MemorySource source;
  source.MakeVariable(Named("A"), nullptr);
  source.MakeVariable(0, nullptr);
  EXPECT_EQ(source.ColumnCount(), 2u);
}

// ---- DeleteVariables ----

TEST(DataSource, DeleteVariablesIncludesBothEnds) {
  MemorySource source = SourceOf({"A", "B", "C", "D"});
  source.DeleteVariables(1, 2);
  EXPECT_THAT(Names(source), ElementsAre("A", "D"));
  EXPECT_THAT(FirstCells(source), ElementsAre(0, 1, 2));
}

TEST(DataSource, DeleteVariablesMayDeleteAll) {
  MemorySource source = SourceOf({"A", "B"});
  source.DeleteVariables(0, 1);
  EXPECT_EQ(source.ColumnCount(), 0u);
  EXPECT_EQ(source.GetObsAreaSize(), 0u);
}

TEST(DataSource, DeleteVariablesOfAnEmptyRangeChangesNothing) {
  MemorySource source = SourceOf({"A", "B"});
  source.DeleteVariables(1, 0);
  source.DeleteVariables(2, 1);
  source.DeleteVariables(0, -1);
  EXPECT_THAT(Names(source), ElementsAre("A", "B"));
}

TEST(DataSource, DeleteVariablesUpToANegativeColumnChangesNothing) {
  MemorySource source = SourceOf({"A", "B"});
  source.DeleteVariables(0, -7);
  source.DeleteVariables(-9, -7);
  EXPECT_THAT(Names(source), ElementsAre("A", "B"));
  MemorySource empty;
  empty.DeleteVariables(0, -1);
  EXPECT_EQ(empty.ColumnCount(), 0u);
}

TEST(DataSourceDeathTest, DeleteVariablesPastTheLastAsserts) {
  MemorySource source = SourceOf({"A", "B"});
  EXPECT_DEATH(source.DeleteVariables(0, 2), HasSubstr("assertion failed: finish < (int) ColumnCount()\n"));
  EXPECT_DEATH(source.DeleteVariables(3, 2), HasSubstr("assertion failed: finish < (int) ColumnCount()\n"));
}

TEST(DataSourceDeathTest, DeleteVariablesOfAnInvalidRangeAsserts) {
  MemorySource source = SourceOf({"A", "B", "C"});
  EXPECT_DEATH(source.DeleteVariables(2, 0), HasSubstr("assertion failed: 0 <= start && start <= finish\n"));
  EXPECT_DEATH(source.DeleteVariables(-2, 0), HasSubstr("assertion failed: 0 <= start && start <= finish\n"));
}

TEST(DataSource, DeletingASplitVariableClearsTheSplit) {
  MemorySource source = SourceOf({"A", "B", "C"});
  const int columns[] = {0, 2};
  source.SetSplit(2, columns, true);
  source.DeleteVariables(2, 2);
  EXPECT_EQ(source.GetNSplitVars(), 0u);
  EXPECT_FALSE(source.GetSplitqSeparate());
}

TEST(DataSource, DeletingAnotherVariableKeepsTheSplit) {
  MemorySource source = SourceOf({"A", "B", "C"});
  const int columns[] = {0, 2};
  source.SetSplit(2, columns, true);
  source.DeleteVariables(1, 1);
  EXPECT_EQ(source.GetNSplitVars(), 2u);
  EXPECT_EQ(source.GetSplitVarIndex(1), 1);
  EXPECT_TRUE(source.GetSplitqSeparate());
}

// A source whose virtual functions return a fixed split, whatever is stored.
class FixedSplitSource : public MemorySource {
 public:
  FixedSplitSource(unsigned int count, int column) : m_count(count), m_column(column) {}
  unsigned int GetNSplitVars() const override { return m_count; }
  int GetSplitVarIndex(unsigned int) const override { return m_column; }

 private:
  unsigned int m_count;
  int m_column;
};

TEST(DataSource, DeletionCallsTheVirtualGetNSplitVars) {
  FixedSplitSource source(0, -1);
  const int splitColumn = source.AddNumber("A");
  source.SetSplit(1, &splitColumn, true);
  source.DeleteVariables(0, 0);
  EXPECT_EQ(source.QUAV_DataSource::GetNSplitVars(), 1u) << "the override returns no split variable";
}

TEST(DataSource, DeletionCallsTheVirtualGetSplitVarIndex) {
  FixedSplitSource source(1, -1);
  const int splitColumn = source.AddNumber("A");
  source.AddNumber("B");
  source.SetSplit(1, &splitColumn, true);
  source.DeleteVariables(1, 1);
  EXPECT_EQ(source.QUAV_DataSource::GetNSplitVars(), 0u) << "the override returns no column";
}

TEST(DataSource, DeletingTheWeightVariableKeepsItsIDWithoutAColumn) {
  MemorySource source = SourceOf({"A", "B"});
  source.SetWeightVar(1);
  const LocallyUniqueID id = source.GetVariable(1).GetID();
  source.DeleteVariables(1, 1);
  EXPECT_EQ(source.GetWeightVariableID(), id);
  EXPECT_EQ(source.GetWeightVarIndex(), -1);
}

TEST(DataSource, DeletingTheFilterVariableKeepsItsIDWithoutAColumn) {
  MemorySource source = SourceOf({"A", "B"});
  source.SetFilterVar(1);
  const LocallyUniqueID id = source.GetVariable(1).GetID();
  source.DeleteVariables(1, 1);
  EXPECT_EQ(source.GetFilterVariableID(), id);
  EXPECT_EQ(source.GetFilterVarIndex(), -1);
}

// ---- FindVarIndex by ID ----

TEST(FindVarIndexByID, ReturnsTheFirstColumn) {
  MemorySource source = SourceOf({"A", "B"});
  source.MakeVariable(source.GetVariable(1), nullptr);
  EXPECT_EQ(source.FindVarIndex(source.GetVariable(0).GetID()), 0);
  EXPECT_EQ(source.FindVarIndex(source.GetVariable(2).GetID()), 1);
}

TEST(FindVarIndexByID, ReturnsMinus1ForAnUnknownID) {
  const MemorySource source = SourceOf({"A", "B"});
  EXPECT_EQ(source.FindVarIndex(QUAV_Variable(0).GetID()), -1);
  EXPECT_EQ(MemorySource().FindVarIndex(LocallyUniqueID()), -1);
}

// ---- FindVarIndex by name ----

struct NameSearchRow {
  const char* name;
  const char* sought;
  int start;
  int column;
};

void PrintTo(const NameSearchRow& row, std::ostream* out) { *out << row.name; }

class FindVarIndexByName : public testing::TestWithParam<NameSearchRow> {};

TEST_P(FindVarIndexByName, SearchesFromTheStartAndWrapsAround) {
  const MemorySource source = SourceOf({"AGE", "Name", "age", "AGE"});
  EXPECT_EQ(source.FindVarIndex(GetParam().sought, GetParam().start), GetParam().column);
}

INSTANTIATE_TEST_SUITE_P(
    DataSource, FindVarIndexByName,
    testing::Values(NameSearchRow{"StartAtTheFirst", "AGE", 0, 0},
                    NameSearchRow{"OtherCaseOfTheSoughtName", "aGe", 0, 0},
                    NameSearchRow{"OtherCaseOfTheVariable", "NAME", 0, 1}, NameSearchRow{"AtTheStart", "AGE", 2, 2},
                    NameSearchRow{"AfterTheStart", "AGE", 1, 2}, NameSearchRow{"StartAtTheLast", "AGE", 3, 3},
                    NameSearchRow{"BeforeTheStart", "NAME", 3, 1}, NameSearchRow{"JustBeforeTheStart", "NAME", 2, 1},
                    NameSearchRow{"StartAtTheColumnCount", "AGE", 4, 0},
                    NameSearchRow{"StartFarPastTheEnd", "AGE", 1000000, 0},
                    NameSearchRow{"NegativeStart", "AGE", -1, 0}, NameSearchRow{"TrailingBlanks", "name   ", 0, 1},
                    NameSearchRow{"LeadingBlank", " name", 0, -1}, NameSearchRow{"PartOfAName", "AG", 0, -1},
                    NameSearchRow{"MoreThanAName", "AGES", 0, -1}, NameSearchRow{"Empty", "", 0, -1},
                    NameSearchRow{"OneBlank", " ", 0, -1}),
    kRowName);

TEST(FindVarIndexInAnEmptyDictionary, ReturnsMinus1ForAnyNameAndStart) {
  const MemorySource source;
  for (int start : {-1, 0, 1, 100}) {
    for (const char* name : {"", " ", "A"}) EXPECT_EQ(source.FindVarIndex(name, start), -1);
  }
}

TEST(FindVarIndexByName, ComparesTheFirst128Bytes) {
  const std::string name(200, 'n');
  const MemorySource source = SourceOf({"OTHER", name.c_str()});
  EXPECT_EQ(source.FindVarIndex(name.c_str(), 0), 1);
  EXPECT_EQ(source.FindVarIndex((name + "more").c_str(), 0), 1);
  EXPECT_EQ(source.FindVarIndex(std::string(128, 'N').c_str(), 0), 1);
  EXPECT_EQ(source.FindVarIndex(std::string(127, 'N').c_str(), 0), -1);
}

TEST(FindVarIndexByName, KeepsTheFirstCharacterEvenIfBlank) {
  MemorySource source;
  source.MakeVariable(0, nullptr);  // has no name
  EXPECT_EQ(source.FindVarIndex("", 0), 0);
  EXPECT_EQ(source.FindVarIndex("  ", 0), -1) << "one blank remains, and no variable has that name";
}

// ---- Weight and filter ----

TEST(DataSource, SetWeightVarStoresTheIDOfTheColumn) {
  MemorySource source = SourceOf({"A", "B"});
  source.SetWeightVar(1);
  EXPECT_EQ(source.GetWeightVariableID(), source.GetVariable(1).GetID());
  EXPECT_EQ(source.GetWeightVarIndex(), 1);
  source.InsertVariable(0, Named("NEW"));
  EXPECT_EQ(source.GetWeightVarIndex(), 2);
}

TEST(DataSource, SetFilterVarStoresTheIDOfTheColumn) {
  MemorySource source = SourceOf({"A", "B"});
  source.SetFilterVar(1);
  EXPECT_EQ(source.GetFilterVariableID(), source.GetVariable(1).GetID());
  EXPECT_EQ(source.GetFilterVarIndex(), 1);
}

TEST(DataSource, SetWeightVarOfANonexistentColumnClearsTheWeight) {
  for (int column : {-1, -100, 2, 100}) {
    MemorySource source = SourceOf({"A", "B"});
    source.SetWeightVar(1);
    source.SetWeightVar(column);
    EXPECT_FALSE(source.GetWeightVariableID().IsValid()) << column;
    EXPECT_EQ(source.GetWeightVarIndex(), -1) << column;
  }
}

TEST(DataSource, SetFilterVarOfANonexistentColumnClearsTheFilter) {
  for (int column : {-1, -100, 2, 100}) {
    MemorySource source = SourceOf({"A", "B"});
    source.SetFilterVar(1);
    source.SetFilterVar(column);
    EXPECT_FALSE(source.GetFilterVariableID().IsValid()) << column;
    EXPECT_EQ(source.GetFilterVarIndex(), -1) << column;
  }
}

TEST(DataSource, InvalidIDHasNoColumnEvenIfAVariableHasIt) {
  MemorySource source = SourceOf({"A"});
  source.GetVariable(0).SetID(LocallyUniqueID());
  EXPECT_EQ(source.GetWeightVarIndex(), -1);
  EXPECT_EQ(source.GetFilterVarIndex(), -1);
}

// ---- Split variables ----

TEST(DataSourceDeathTest, SplitVariablePastTheCountAsserts) {
  MemorySource source = SourceOf({"A"});
  const int splitColumn = 0;
  source.SetSplit(1, &splitColumn, false);
  EXPECT_EQ(source.GetSplitVarIndex(0), 0);
  EXPECT_EQ(source.GetSplitVarID(0), source.GetVariable(0).GetID());
  EXPECT_DEATH(source.GetSplitVarIndex(1), HasSubstr("assertion failed: index < pData->fnSplitVars\n"));
  EXPECT_DEATH(source.GetSplitVarID(1), HasSubstr("assertion failed: index < pData->fnSplitVars\n"));
}

TEST(DataSource, SplitVariableWithoutAColumnHasIndexMinus1) {
  FixedSplitSource source(0, 0);  // so that the deletion keeps the split
  const int splitColumn = source.AddNumber("A");
  source.SetSplit(1, &splitColumn, false);
  source.DeleteVariables(0, 0);
  EXPECT_EQ(source.QUAV_DataSource::GetSplitVarIndex(0), -1);
}

// ---- Label ----

TEST(DataSource, SetLabelStoresTheTextUpToItsTerminator) {
  MemorySource source;
  source.SetLabel("a label\0 and more");
  EXPECT_STREQ(source.GetLabel(), "a label");
}

TEST(DataSource, EmptyLabelIsALabel) {
  MemorySource source;
  source.SetLabel("");
  ASSERT_NE(source.GetLabel(), nullptr);
  EXPECT_STREQ(source.GetLabel(), "");
}

TEST(DataSource, SetLabelOfNullRemovesTheLabel) {
  OpenSource source;
  source.SetLabel("label");
  source.SetLabel(nullptr);
  EXPECT_EQ(source.GetLabel(), nullptr);
  EXPECT_EQ(source.Body().fLabel, "");
}

TEST(DataSource, SetLabelAcceptsAPartOfItsOwnLabel) {
  MemorySource source;
  source.SetLabel("a label too long to stand inside the string");
  source.SetLabel(source.GetLabel() + 2);
  EXPECT_STREQ(source.GetLabel(), "label too long to stand inside the string");
}

// ---- Cells ----

TEST(DataSource, ObsIndexIsTheFirstCellOfAColumn) {
  MemorySource source;
  source.AddText("A", 20);
  source.AddNumber("B");
  EXPECT_EQ(source.ObsIndex(-1), -1);
  EXPECT_EQ(source.ObsIndex(0), 0);
  EXPECT_EQ(source.ObsIndex(1), 3);
  EXPECT_EQ(source.ObsIndex(2), 4);
  EXPECT_EQ(source.GetObsAreaSize(), 4u);
}

TEST(DataSourceDeathTest, ObsIndexOutsideTheDictionaryAsserts) {
  const MemorySource source = SourceOf({"A"});
  EXPECT_DEATH(source.ObsIndex(-2), HasSubstr("assertion failed: var_index >= -1\n"));
  EXPECT_DEATH(source.ObsIndex(2), HasSubstr("assertion failed: var_index <= lth\n"));
}

class InitCells : public testing::Test {
 protected:
  InitCells() : cells(8, kUntouched) {
    source.AddNumber("A");
    source.AddText("B", 17);
    source.AddText("C", 3);
    source.AddNumber("D");
  }

  static constexpr OBS kUntouched{0x1122334455667788};
  MemorySource source;
  std::vector<OBS> cells;  // those of a case, and two more
};

TEST_F(InitCells, SetsNumbersToMissingAndStringsToBlanks) {
  source.InitCells(cells.data(), 0, 4);
  EXPECT_THAT(cells, ElementsAre(kSystemMissingCell, kBlankCell, kBlankCell, kBlankCell, kBlankCell, kSystemMissingCell,
                                 kUntouched, kUntouched));
}

TEST_F(InitCells, SetsOnlyTheGivenColumns) {
  source.InitCells(cells.data(), 1, 2);
  EXPECT_THAT(cells, ElementsAre(kUntouched, kBlankCell, kBlankCell, kBlankCell, kBlankCell, kUntouched, kUntouched,
                                 kUntouched));
}

TEST_F(InitCells, SetsNothingForNoColumns) {
  source.InitCells(cells.data(), 4, 0);
  source.InitCells(cells.data(), 0, 0);
  EXPECT_EQ(cells, std::vector<OBS>(8, kUntouched));
}

using InitCellsDeathTest = InitCells;

TEST_F(InitCellsDeathTest, PastTheLastColumnAsserts) {
  constexpr char kText[] = "assertion failed: firstVar+nVars <= ColumnCount()\n";
  EXPECT_DEATH(source.InitCells(cells.data(), 0, 5), HasSubstr(kText));
  EXPECT_DEATH(source.InitCells(cells.data(), 5, 0), HasSubstr(kText));
  EXPECT_DEATH(source.InitCells(cells.data(), 2, 0xFFFFFFFF), HasSubstr(kText)) << "the sum is 1 in 32 bits";
}

// ---- Flags, times, names ----

TEST(DataSource, SetDirtyAlwaysMakesTheIndexInvalid) {
  MemorySource source;
  for (bool dirty : {true, false}) {
    source.SetIndexValid(true);
    source.SetDirty(dirty);
    EXPECT_EQ(source.IsDirty(), dirty);
    EXPECT_FALSE(source.IsIndexValid());
  }
}

TEST(DataSource, SetIndexValidStoresTheFlag) {
  MemorySource source;
  source.SetIndexValid(true);
  EXPECT_TRUE(source.IsIndexValid());
  source.SetIndexValid(false);
  EXPECT_FALSE(source.IsIndexValid());
}

TEST(DataSource, SetTimestampStoresTheGivenOrTheCurrentTime) {
  MemorySource source;
  source.SetTimestamp(12345.5);
  EXPECT_EQ(source.GetTimestamp(), 12345.5);
  double before = 0;
  vQuavTimestampNow(&before);
  source.SetTimestamp();
  EXPECT_GE(source.GetTimestamp(), before);
}

TEST(DataSource, RowsPerImputationIsStored) {
  MemorySource source;
  source.RowsPerImputation(5000000000);
  EXPECT_EQ(source.RowsPerImputation(), 5000000000);
}

TEST(DataSource, SetFileSpecSetsTheGenericName) {
  MemorySource source;
  source.SetFileSpec("folder/name.sav");
  EXPECT_STREQ(source.GetFileSpec(), "folder/name.sav");
  EXPECT_EQ(source.GetFileSpecExt().GetGeneric(), "folder/name.sav");
}

TEST(DataSource, SetFileSpecOfNullClearsTheName) {
  MemorySource source;
  source.SetFileSpec("name.sav");
  source.SetFileSpec(nullptr);
  EXPECT_STREQ(source.GetFileSpec(), "");
  EXPECT_TRUE(source.GetFileSpecExt().Empty());
}

TEST(DataSource, SetFileSpecAssignsAName) {
  MemorySource source;
  const ExtNameStr name("name.sav");
  source.SetFileSpec(name);
  EXPECT_EQ(source.GetFileSpecExt(), name);
}

TEST(DataSource, AttributesAndFormattingAreStored) {
  MemorySource source;
  DatasourceAttributes attributes;
  attributes.Define("a", {"1", "2"});
  source.SetAttributes(attributes);
  EXPECT_EQ(source.GetAttributes(), attributes);
  DataEditorFormattingInfo info;
  info.SetInfo("wide");
  source.SetDEFormattingInfo(info);
  EXPECT_EQ(source.GetDEFormattingInfo(), info);
}

// ---- Which changes set the dirty flag ----

struct DataSourceChangeRow {
  const char* name;
  std::function<void(MemorySource&)> change;
  bool dirty;              // afterwards
  bool indexValid = true;  // afterwards
};

void PrintTo(const DataSourceChangeRow& row, std::ostream* out) { *out << row.name; }

PlainObserver theObserver;
const MemorySource theOtherSource;

QUAV_DataSource::Extension EmptyExtension() { return QUAV_DataSource::Extension(theOtherSource, 1); }

// One operation on a clean source with a valid index, three numeric columns (column 0 is the weight) and an extension
// block of type 1.
class DataSourceChange : public testing::TestWithParam<DataSourceChangeRow> {};

TEST_P(DataSourceChange, SetsTheExpectedFlags) {
  MemorySource source = SourceOf({"A", "B", "C"});
  source.SetWeightVar(0);
  source.SetExtension(1, 1, 3, "abc");
  source.SetDirty(false);
  source.SetIndexValid(true);
  GetParam().change(source);
  EXPECT_EQ(source.IsDirty(), GetParam().dirty);
  EXPECT_EQ(source.IsIndexValid(), GetParam().indexValid);
}

const DataSourceChangeRow kMarkingChanges[] = {
    {"SetVariable", [](MemorySource& s) { s.SetVariable(1, s.GetVariable(1)); }, true},
    {"InsertVariable", [](MemorySource& s) { s.InsertVariable(1, Named("NEW")); }, true},
    {"MakeVariable", [](MemorySource& s) { s.MakeVariable(Named("NEW"), nullptr); }, true},
    {"MakeVariableOfType", [](MemorySource& s) { s.MakeVariable(8, nullptr); }, true},
    {"DeleteVariables", [](MemorySource& s) { s.DeleteVariables(1, 1); }, true},
    {"SetWeightVarToAnother", [](MemorySource& s) { s.SetWeightVar(1); }, true},
    {"SetWeightVarToNone", [](MemorySource& s) { s.SetWeightVar(-1); }, true},
    {"SetLabel", [](MemorySource& s) { s.SetLabel("label"); }, true},
    {"SetLabelOfNull", [](MemorySource& s) { s.SetLabel(nullptr); }, true},
    {"SetDirty", [](MemorySource& s) { s.SetDirty(true); }, true, false},
    {"SetAttributes", [](MemorySource& s) { s.SetAttributes(DatasourceAttributes()); }, true},
    {"SetDEFormattingInfo", [](MemorySource& s) { s.SetDEFormattingInfo(DataEditorFormattingInfo()); }, true},
    {"SetVariableSets", [](MemorySource& s) { s.SetVariableSets({}); }, true},
    {"SetMRSets", [](MemorySource& s) { s.SetMRSets({}); }, true},
    {"SetSortIndexInfoWithKeys", [](MemorySource& s) { s.SetSortIndexInfo(SortedByCell(0)); }, true},
    {"SetExtension", [](MemorySource& s) { s.SetExtension(2, 1, 3, "abc"); }, true},
    {"SetExtensionWithoutElements", [](MemorySource& s) { s.SetExtension(1, 1, 0, nullptr); }, true},
    {"SetExtensionWithoutElementsPastTheLast", [](MemorySource& s) { s.SetExtension(90, 1, 0, nullptr); }, true},
    {"SetExtensionHandle", [](MemorySource& s) { s.SetExtension(QUAV_DataSource::Extension(s, 1)); }, true},
    {"SetExtensionHandleUnderAType", [](MemorySource& s) { s.SetExtension(2, QUAV_DataSource::Extension(s, 1)); },
     true},
    {"SetEmptyExtensionHandle", [](MemorySource& s) { s.SetExtension(EmptyExtension()); }, true},
    {"ExtendExtension", [](MemorySource& s) { s.ExtendExtension(1, 1, "d"); }, true},
    {"ExtendExtensionByNoElements", [](MemorySource& s) { s.ExtendExtension(1, 0, nullptr); }, true},
    {"CopyDictionaryOfADirtySource", [](MemorySource& s) { s.CopyDictionary(MemorySource()); }, true, false},
};

const DataSourceChangeRow kOtherChanges[] = {
    {"ChangeThroughGetVariable", [](MemorySource& s) { s.GetVariable(1).SetName("NEW"); }, false},
    {"DeleteVariablesOfAnEmptyRange", [](MemorySource& s) { s.DeleteVariables(2, 1); }, false},
    {"DeleteVariablesUpToANegativeColumn", [](MemorySource& s) { s.DeleteVariables(0, -3); }, false},
    {"SetWeightVarToTheSame", [](MemorySource& s) { s.SetWeightVar(0); }, false},
    {"SetFilterVar", [](MemorySource& s) { s.SetFilterVar(1); }, false},
    {"SetFilterVarToNone", [](MemorySource& s) { s.SetFilterVar(-1); }, false},
    {"SetSplit",
     [](MemorySource& s) {
       const int splitColumn = 1;
       s.SetSplit(1, &splitColumn, true);
     },
     false},
    {"SetSplitOfNoVariables", [](MemorySource& s) { s.SetSplit(0, nullptr, true); }, false},
    {"SetDirtyToFalse", [](MemorySource& s) { s.SetDirty(false); }, false, false},
    {"SetIndexValid", [](MemorySource& s) { s.SetIndexValid(false); }, false, false},
    {"SetTimestamp", [](MemorySource& s) { s.SetTimestamp(1); }, false},
    {"SetTimestampToNow", [](MemorySource& s) { s.SetTimestamp(); }, false},
    {"RowsPerImputation", [](MemorySource& s) { s.RowsPerImputation(9); }, false},
    {"SetFileSpec", [](MemorySource& s) { s.SetFileSpec("name.sav"); }, false},
    {"SetFileSpecOfNull", [](MemorySource& s) { s.SetFileSpec(nullptr); }, false},
    {"SetFileSpecOfAName", [](MemorySource& s) { s.SetFileSpec(ExtNameStr("name.sav")); }, false},
    {"ChangeOfTrendsInfo", [](MemorySource& s) { s.GetTrendsInfo().SetStart(2, 3); }, false},
    {"SetSortIndexInfoWithoutKeys", [](MemorySource& s) { s.SetSortIndexInfo(SortIndexInfo()); }, false},
    {"SetParentSource", [](MemorySource& s) { s.SetParentSource(&theOtherSource); }, false},
    {"Register", [](MemorySource& s) { s.Register(&theObserver); }, false},
    {"UnRegister", [](MemorySource& s) { s.UnRegister(&theObserver); }, false},
    {"CopyDictionaryOfACleanSource",
     [](MemorySource& s) {
       MemorySource clean;
       clean.SetDirty(false);
       clean.SetIndexValid(true);
       s.CopyDictionary(clean);
     },
     false},
};

INSTANTIATE_TEST_SUITE_P(SetsDirty, DataSourceChange, testing::ValuesIn(kMarkingChanges), kRowName);
INSTANTIATE_TEST_SUITE_P(KeepsClean, DataSourceChange, testing::ValuesIn(kOtherChanges), kRowName);

TEST(DataSource, SetWeightVarToNoneWithoutAWeightKeepsTheSourceClean) {
  MemorySource source = SourceOf({"A"});
  source.SetDirty(false);
  source.SetWeightVar(-1);
  EXPECT_FALSE(source.IsDirty());
}

// ---- Any sequence of changes ----

// The expected dictionary: names and types in order.
struct DictionaryModel {
  std::vector<std::string> names;
  std::vector<int> types;

  std::vector<int> FirstCells() const {
    std::vector<int> cells{0};
    for (int type : types) cells.push_back(cells.back() + (type <= 8 ? 1 : (type + 7) / 8));
    return cells;
  }
};

class DataSourceRandomChanges : public testing::TestWithParam<unsigned int> {};

TEST_P(DataSourceRandomChanges, AgreeWithTheModel) {
  std::mt19937 random(GetParam());
  const auto below = [&random](std::size_t end) {
    return std::uniform_int_distribution<int>(0, static_cast<int>(end) - 1)(random);
  };

  OpenSource source;
  DictionaryModel model;
  for (int step = 0; step < 300; ++step) {
    const int kind = model.names.empty() ? 0 : below(10);
    const int type = below(2) == 0 ? below(20) : below(2000);
    const std::string name = "V" + std::to_string(step);
    if (kind < 3) {
      const int index = below(model.names.size() + 1);
      source.InsertVariable(index, Named(name.c_str(), type));
      model.names.insert(model.names.begin() + index, name);
      model.types.insert(model.types.begin() + index, type);
    } else if (kind < 5) {
      unsigned int column = 0;
      source.MakeVariable(type, &column).SetName(name.c_str());
      ASSERT_EQ(column, model.names.size());
      model.names.push_back(name);
      model.types.push_back(type);
    } else if (kind < 8) {
      const auto index = static_cast<std::size_t>(below(model.names.size()));
      QUAV_Variable variable = source.GetVariable(static_cast<int>(index));
      variable.SetName(name.c_str());
      variable.SetType(type);
      source.SetVariable(static_cast<long>(index), variable);
      model.names[index] = name;
      model.types[index] = type;
    } else {
      const int start = below(model.names.size());
      const int finish = start + below(std::min<std::size_t>(model.names.size() - static_cast<std::size_t>(start), 4));
      source.DeleteVariables(start, finish);
      model.names.erase(model.names.begin() + start, model.names.begin() + finish + 1);
      model.types.erase(model.types.begin() + start, model.types.begin() + finish + 1);
    }
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
    ASSERT_THAT(Names(source), ElementsAreArray(model.names));
    ASSERT_EQ(FirstCells(source), model.FirstCells());
    const std::vector<int> cells = model.FirstCells();
    const int lastCells = cells.size() == 1 ? 0 : cells.back() - cells[cells.size() - 2];
    ASSERT_EQ(static_cast<int>(source.Body().fObs.LastCells()), lastCells);
    ASSERT_EQ(static_cast<int>(source.GetObsAreaSize()), cells.back());
  }
}

INSTANTIATE_TEST_SUITE_P(DataSource, DataSourceRandomChanges, testing::Range(1u, 11u));

}  // namespace
}  // namespace datasrc_test
