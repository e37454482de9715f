// Tests extension blocks, observers, parents, split, sets and the copying of a dictionary.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/QUAV_CProjection.h"
#include "datasrc/QUAV_DataSource.h"
#include "sources/QUAV_DataSourceData.h"
#include "tests/support/MemorySource.h"
#include "tests/support/VirtualSlot.h"

namespace datasrcservices_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Extension = QUAV_DataSource::Extension;

// Gives access to the private body.
class OpenSource : public MemorySource {
 public:
  using MemorySource::MemorySource;
  Data& Body() { return *pData; }
};

VariableSetImpl SetNamed(const char* name) {
  VariableSetImpl set;
  set.name = name;
  return set;
}

std::string Elements(const QUAV_DataSource& source, int type) { return Extension(source, type).Elements(); }

// ---- The highest type ----

TEST(MaxExtensionType, Is25WithoutBlocks) { EXPECT_EQ(MemorySource().MaxExtensionType(), 25); }

TEST(MaxExtensionType, Is25For26Entries) {
  MemorySource source;
  source.SetExtension(25, 1, 1, "a");
  EXPECT_EQ(source.MaxExtensionType(), 25);
}

TEST(MaxExtensionType, Is26For27Entries) {
  MemorySource source;
  source.SetExtension(26, 1, 1, "a");
  EXPECT_EQ(source.MaxExtensionType(), 26);
}

TEST(MaxExtensionType, Is30For31Entries) {
  MemorySource source;
  source.SetExtension(30, 1, 1, "a");
  EXPECT_EQ(source.MaxExtensionType(), 30);
}

// ---- Blocks of a source ----

TEST(SetExtension, StoresACopyOfTheContent) {
  MemorySource source;
  char content[] = "aabb";
  source.SetExtension(5, 2, 2, content);
  content[0] = '-';
  const Extension extension(source, 5);
  EXPECT_TRUE(source.HasExtension(5));
  EXPECT_EQ(extension.Type(), 5);
  EXPECT_EQ(extension.ElementSize(), 2);
  EXPECT_EQ(extension.Elements(), "aabb");
}

TEST(SetExtension, AcceptsType0) {
  MemorySource source;
  source.SetExtension(0, 1, 1, "a");
  EXPECT_TRUE(source.HasExtension(0));
}

TEST(SetExtension, LowerTypesStayWithoutBlocks) {
  MemorySource source;
  source.SetExtension(5, 1, 1, "a");
  for (int type = 0; type < 5; ++type) EXPECT_FALSE(source.HasExtension(type));
}

TEST(SetExtension, ReplacesABlock) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(5, 2, 1, "de");
  EXPECT_EQ(Elements(source, 5), "de");
}

TEST(SetExtension, ElementSizeBelow1Becomes1) {
  for (int elementSize : {0, -1, -100}) {
    MemorySource source;
    source.SetExtension(5, elementSize, 3, "abc");
    EXPECT_EQ(Extension(source, 5).ElementSize(), 1);
    EXPECT_EQ(Elements(source, 5), "abc");
  }
}

TEST(SetExtension, NoElementsOnASourceWithoutBlocksOnlySetsDirty) {
  OpenSource source;
  source.SetDirty(false);
  source.SetExtension(5, 4, 0, nullptr);
  EXPECT_FALSE(source.HasExtension(5));
  EXPECT_THAT(source.Body().fExtensions, IsEmpty());
  EXPECT_TRUE(source.IsDirty());
}

TEST(SetExtension, NoElementsRemoveTheBlock) {
  OpenSource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(30, 1, 3, "abc");
  source.SetExtension(30, 1, 0, nullptr);
  EXPECT_FALSE(source.HasExtension(30));
  EXPECT_THAT(source.ExtensionTypes(), ElementsAre(5));
  EXPECT_EQ(source.MaxExtensionType(), 25);
}

TEST(SetExtension, StoresOneBlockForTheHighestType) {
  constexpr int kHighest = std::numeric_limits<int>::max();
  OpenSource source;
  source.SetExtension(kHighest, 1, 3, "abc");
  source.SetExtension(0, 1, 1, "d");
  EXPECT_EQ(source.MaxExtensionType(), kHighest);
  EXPECT_THAT(source.ExtensionTypes(), ElementsAre(0, kHighest));
  EXPECT_EQ(source.Body().fExtensions.size(), 2u);
  EXPECT_EQ(Elements(source, kHighest), "abc");
}

TEST(SetExtension, NoElementsWithContentRemoveTheBlock) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(5, 1, 0, "abc");
  EXPECT_FALSE(source.HasExtension(5));
}

TEST(SetExtensionDeathTest, InvalidArgumentsAssert) {
  MemorySource source;
  EXPECT_DEATH(source.SetExtension(-1, 1, 1, "a"), HasSubstr("assertion failed: 0 <= type\n"));
  EXPECT_DEATH(source.SetExtension(1, 1, -1, "a"), HasSubstr("assertion failed: nElements >= 0\n"));
  EXPECT_DEATH(source.SetExtension(1, 1, 1, nullptr), HasSubstr("assertion failed: (nElements==0) >= (content==0)\n"));
}

TEST(SetExtensionDeathTest, BlockUnderANegativeTypeAsserts) {
  MemorySource source;
  source.SetExtension(1, 1, 1, "a");
  EXPECT_DEATH(source.SetExtension(-1, Extension(source, 1)), HasSubstr("assertion failed: 0 <= type\n"));
}

TEST(SetExtension, TooManyElementsThrowAndChangeNothing) {
  MemorySource source;
  source.SetExtension(5, 2, 1, "ab");
  source.SetDirty(false);
  constexpr long kTooMany = std::numeric_limits<long>::max();
  EXPECT_THROW(source.SetExtension(5, 2, kTooMany, "ab"), std::length_error);
  EXPECT_THROW(source.ExtendExtension(5, kTooMany, "ab"), std::length_error);
  EXPECT_THROW(source.SetExtension(5, 8, 1L << 61, "ab"), std::length_error) << "the product wraps to 0";
  EXPECT_EQ(Elements(source, 5), "ab");
  EXPECT_FALSE(source.IsDirty());
}

TEST(SetExtensionHandle, SharesTheBlock) {
  OpenSource from;
  from.SetExtension(5, 1, 3, "abc");
  OpenSource to;
  to.SetExtension(Extension(from, 5));
  EXPECT_EQ(to.Body().fExtensions.at(5), from.Body().fExtensions.at(5));
}

TEST(SetExtensionHandle, MayBeStoredUnderAnotherType) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(28, Extension(source, 5));
  EXPECT_EQ(Elements(source, 28), "abc");
  EXPECT_EQ(Extension(source, 28).Type(), 5) << "the block is shared";
  EXPECT_EQ(source.MaxExtensionType(), 28);
}

TEST(SetExtensionHandle, EmptyBlockRemovesTheBlock) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(Extension(MemorySource(), 5));
  EXPECT_FALSE(source.HasExtension(5));
}

TEST(SetExtensionHandle, NullHandleRemovesTheBlockOfTheGivenType) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(5, Extension(RefCountPtr<QUAV_ExtensionImpl>()));
  EXPECT_FALSE(source.HasExtension(5));
}

TEST(SetExtensionHandle, NullHandleWithoutATypeOnlySetsDirty) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetDirty(false);
  source.SetExtension(Extension(RefCountPtr<QUAV_ExtensionImpl>()));
  EXPECT_EQ(Elements(source, 5), "abc");
  EXPECT_TRUE(source.IsDirty());
}

TEST(SetExtensionHandle, EmptyBlockOfATypeWithoutABlockStoresNone) {
  OpenSource source;
  source.SetExtension(5, 1, 3, "abc");
  source.SetExtension(9, Extension(MemorySource(), 9));
  EXPECT_EQ(source.Body().fExtensions.size(), 1u);
}

TEST(HasExtension, IsFalseWithoutABlock) { EXPECT_FALSE(MemorySource().HasExtension(0)); }

TEST(HasExtension, IsFalseForAnEmptyBlock) {
  OpenSource source;
  source.Body().fExtensions[0] = new QUAV_ExtensionImpl(0, 1);
  EXPECT_FALSE(source.HasExtension(0));
  EXPECT_THAT(source.ExtensionTypes(), IsEmpty());
}

TEST(ExtensionHash, IsTheHashOfTheBlock) {
  const std::int64_t hash = 0x0102030405060708;
  MemorySource source;
  source.SetExtension(5, 8, 1, &hash);
  EXPECT_EQ(source.ExtensionHash(5), hash);
}

TEST(ExtensionHash, Is0WithoutABlockOrFor7Bytes) {
  MemorySource source;
  source.SetExtension(5, 1, 7, "abcdefg");
  EXPECT_EQ(source.ExtensionHash(4), 0);
  EXPECT_EQ(source.ExtensionHash(5), 0);
  EXPECT_EQ(source.ExtensionHash(99), 0);
}

TEST(ExtendExtension, AppendsElementsOfTheElementSizeOfTheBlock) {
  MemorySource source;
  source.SetExtension(5, 2, 1, "aa");
  source.ExtendExtension(5, 2, "bbcc-not these");
  EXPECT_EQ(Elements(source, 5), "aabbcc");
}

TEST(ExtendExtension, NoElementsChangeNothing) {
  OpenSource source;
  source.SetExtension(5, 1, 3, "abc");
  const OpenSource copy(source);
  source.ExtendExtension(5, 0, "d");
  EXPECT_EQ(Elements(source, 5), "abc");
  EXPECT_TRUE(source.Body().fExtensions.at(5)->IsShared()) << "the copy still shares the block";
}

TEST(ExtendExtension, CopyKeepsItsOldBlock) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  const MemorySource copy(source);
  source.ExtendExtension(5, 1, "d");
  EXPECT_EQ(Elements(source, 5), "abcd");
  EXPECT_EQ(Elements(copy, 5), "abc");
}

TEST(ExtendExtensionDeathTest, InvalidArgumentsAssert) {
  MemorySource source;
  source.SetExtension(5, 1, 3, "abc");
  EXPECT_DEATH(source.ExtendExtension(4, 1, "a"), HasSubstr("assertion failed: HasExtension(type)\n"));
  EXPECT_DEATH(source.ExtendExtension(5, -1, "a"), HasSubstr("assertion failed: nElements >= 0\n"));
}

// ---- Observers ----

struct PlainObserver final : QUAV_DataSource::Observer {};

// Records which listener was notified of which iterator.
class Listener final : public QUAV_DataSource::Observer {
 public:
  Listener(char name, std::string* heard) : m_name(name), m_heard(heard) {}
  void IteratorMade(QUAV_InputCaseIterator* made) override {
    *m_heard += m_name;
    iterator = made;
  }

  QUAV_InputCaseIterator* iterator = nullptr;

 private:
  char m_name;
  std::string* m_heard;
};

class DataSourceObservers : public testing::Test {
 protected:
  void MakeIterator() { iterator.reset(source.MakeIterator(nullptr)); }

  std::string heard;
  Listener a{'a', &heard};
  Listener b{'b', &heard};
  OpenSource source;
  std::unique_ptr<QUAV_InputCaseIterator> iterator;
};

TEST_F(DataSourceObservers, AreNotifiedOfEachIterator) {
  source.Register(&a);
  MakeIterator();
  EXPECT_EQ(a.iterator, iterator.get());
  MakeIterator();
  EXPECT_EQ(heard, "aa");
}

TEST_F(DataSourceObservers, AreNotifiedInOrderOfRegistration) {
  source.Register(&b);
  source.Register(&a);
  MakeIterator();
  EXPECT_EQ(heard, "ba");
}

TEST_F(DataSourceObservers, MayBeRegisteredTwice) {
  source.Register(&a);
  source.Register(&b);
  source.Register(&a);
  MakeIterator();
  EXPECT_EQ(heard, "aba");
}

TEST_F(DataSourceObservers, UnRegisterRemovesEveryOccurrence) {
  source.Register(&a);
  source.Register(&b);
  source.Register(&a);
  source.UnRegister(&a);
  MakeIterator();
  EXPECT_EQ(heard, "b");
}

TEST_F(DataSourceObservers, UnRegisterIgnoresAnUnregisteredObserver) {
  source.Register(&b);
  source.UnRegister(&a);
  MakeIterator();
  EXPECT_EQ(heard, "b");
}

TEST_F(DataSourceObservers, CanRegisterWithAConstSource) {
  std::as_const(source).Register(&a);
  MakeIterator();
  EXPECT_EQ(heard, "a");
  std::as_const(source).UnRegister(&a);
  MakeIterator();
  EXPECT_EQ(heard, "a");
}

// Runs some work when it is called.
class Worker final : public QUAV_DataSource::Observer {
 public:
  explicit Worker(std::function<void()> work) : m_work(std::move(work)) {}
  void IteratorMade(QUAV_InputCaseIterator*) override { m_work(); }

 private:
  std::function<void()> m_work;
};

TEST_F(DataSourceObservers, MayRegisterOthersDuringACall) {
  Worker worker([this] {
    for (int i = 0; i < 100; ++i) source.Register(&b);
  });
  source.Register(&worker);
  source.Register(&a);
  MakeIterator();
  EXPECT_EQ(heard, "a") << "new ones are called from the next iterator on";
  source.UnRegister(&worker);
  MakeIterator();
  EXPECT_EQ(heard, "aa" + std::string(100, 'b'));
}

TEST_F(DataSourceObservers, MayUnRegisterThemselvesDuringACall) {
  Worker worker([this, &worker] { source.UnRegister(&worker); });
  source.Register(&worker);
  source.Register(&a);
  source.Register(&worker);
  source.Register(&b);
  MakeIterator();
  MakeIterator();
  EXPECT_EQ(heard, "abab");
  EXPECT_THAT(source.Body().fObservers.All(), ElementsAre(&a, &b));
}

TEST_F(DataSourceObservers, MayEndWhileOthersAreCalled) {
  auto ends = std::make_unique<Listener>('x', &heard);
  Worker worker([this, &ends] {
    source.UnRegister(ends.get());
    ends.reset();
    source.Register(&b);
  });
  source.Register(&worker);
  source.Register(ends.get());
  source.Register(&a);
  MakeIterator();
  EXPECT_EQ(heard, "a");
  EXPECT_THAT(source.Body().fObservers.All(), ElementsAre(&worker, &a, &b));
}

TEST_F(DataSourceObservers, MayMakeIteratorsAndReplaceTheDictionaryDuringACall) {
  int depth = 0;
  Worker worker([&] {
    if (++depth == 3) source.CopyDictionary(MemorySource());
    if (depth < 3) std::unique_ptr<QUAV_InputCaseIterator>(source.MakeIterator(nullptr));
  });
  source.Register(&worker);
  source.Register(&a);
  MakeIterator();
  EXPECT_EQ(heard, "aaa") << "the calls that had begun end";
  MakeIterator();
  EXPECT_EQ(heard, "aaa") << "the copy has no observers";
}

// A view makes its parent's iterator after the call.
TEST_F(DataSourceObservers, HearOfAnIteratorWhoseParentThenFails) {
  class Failing final : public MemorySource {
   public:
    QUAV_InputCaseIterator* MakeIterator(OBS*) const override { throw std::runtime_error("none"); }
  };
  const Failing failing;
  const QUAV_CProjection projection(failing, static_cast<const unsigned int*>(nullptr), 0);
  projection.Register(&a);
  EXPECT_THROW(projection.MakeIterator(nullptr), std::runtime_error);
  EXPECT_EQ(heard, "a");
}

TEST(DataSourceObserver, HasOneVirtualOperation) {
  EXPECT_EQ(VirtualSlot(&QUAV_DataSource::Observer::IteratorMade), 0u);
  EXPECT_FALSE(std::has_virtual_destructor_v<QUAV_DataSource::Observer>);
}

TEST_F(DataSourceObservers, DoNothingByDefault) {
  PlainObserver plain;
  source.Register(&plain);
  MakeIterator();
  EXPECT_NE(iterator, nullptr);
}

// ---- Parents ----

TEST(DataSourceParents, NewSourceHasNone) {
  const MemorySource source;
  EXPECT_EQ(source.GetParentSource(), nullptr);
  EXPECT_EQ(source.NParents(), 0);
}

TEST(DataSourceParents, AreCountedUpTheLine) {
  const MemorySource first;
  const MemorySource second(&first);
  MemorySource third;
  third.SetParentSource(&second);
  EXPECT_EQ(second.NParents(), 1);
  EXPECT_EQ(third.NParents(), 2);
  third.SetParentSource(nullptr);
  EXPECT_EQ(third.NParents(), 0);
}

class SourceWith10Parents : public MemorySource {
 public:
  int NParents() const override { return 10; }
};

TEST(DataSourceParents, AreCountedByTheVirtualNParentsOfTheParent) {
  const SourceWith10Parents parent;
  EXPECT_EQ(MemorySource(&parent).NParents(), 11);
}

TEST(DataSourceParentsDeathTest, OwnParentAsserts) {
  MemorySource source;
  EXPECT_DEATH(source.SetParentSource(&source), HasSubstr("assertion failed: parent != this\n"));
}

// Records its destruction.
class Mortal : public MemorySource {
 public:
  Mortal(const QUAV_DataSource* parent, char name, std::string* ends)
      : MemorySource(parent), m_name(name), m_ends(ends) {}
  Mortal(const Mortal&) = delete;
  ~Mortal() override { *m_ends += m_name; }

 private:
  char m_name;
  std::string* m_ends;
};

TEST(DeleteLine, DeletesTheSourceAndThenItsParents) {
  std::string ends;
  const auto* grandparent = new Mortal(nullptr, 'g', &ends);
  const auto* parent = new Mortal(grandparent, 'p', &ends);
  DeleteLine(new Mortal(parent, 'c', &ends));
  EXPECT_EQ(ends, "cpg");
}

TEST(DeleteLine, NullDoesNothing) { DeleteLine(nullptr); }

TEST(DataSourceParents, AreNotDeletedWithTheirChild) {
  std::string ends;
  const Mortal parent(nullptr, 'p', &ends);
  { const Mortal child(&parent, 'c', &ends); }
  EXPECT_EQ(ends, "c");
}

// ---- CopyDictionary ----

class CopyDictionary : public testing::Test {
 protected:
  CopyDictionary() {
    other.AddNumber("W");
    other.AddText("S", 12);
    const int splitColumn = 1;
    other.SetSplit(1, &splitColumn, true);
    other.SetWeightVar(0);
    other.SetFilterVar(0);
    other.SetLabel("label");
    other.SetParentSource(&othersParent);
    other.SetExtension(3, 1, 5, "block");
    other.SetFileSpec("other.sav");
    other.GetTrendsInfo().SetStart(5, 6);
    DatasourceAttributes attributes;
    attributes.Define("a", {"1"});
    other.SetAttributes(attributes);
    other.SetVariableSets({SetNamed("vars")});
    other.SetMRSets({SetNamed("$mr")});
    SortIndexInfo sorted;
    sorted.SetIndexKeys({FileSort::SortKey{1, 0, 12}});
    other.SetSortIndexInfo(sorted);
    DataEditorFormattingInfo formatting;
    formatting.SetInfo("wide");
    other.SetDEFormattingInfo(formatting);
    other.SetTimestamp(1000);
    other.RowsPerImputation(7);
    other.SetDirty(false);
    other.SetIndexValid(true);
    source.AddNumber("OLD");
    source.SetFileSpec("source.sav");
    source.SetParentSource(&sourcesParent);
  }

  MemorySource othersParent;
  MemorySource sourcesParent;
  OpenSource other;
  OpenSource source;
};

TEST_F(CopyDictionary, CopiesTheFieldsOfTheOther) {
  source.CopyDictionary(other);
  EXPECT_EQ(source.GetTimestamp(), 1000);
  EXPECT_EQ(source.RowsPerImputation(), 7);
  EXPECT_EQ(source.ColumnCount(), 2u);
  EXPECT_EQ(source.FindVarIndex("S", 0), 1);
  EXPECT_EQ(source.GetObsAreaSize(), 3u);
  EXPECT_STREQ(source.GetLabel(), "label");
  EXPECT_EQ(source.GetWeightVarIndex(), 0);
  EXPECT_EQ(source.GetFilterVarIndex(), 0);
  EXPECT_EQ(source.GetNSplitVars(), 1u);
  EXPECT_EQ(source.GetSplitVarIndex(0), 1);
  EXPECT_EQ(Elements(source, 3), "block");
  EXPECT_EQ(source.GetTrendsInfo(), other.GetTrendsInfo());
  EXPECT_EQ(source.GetAttributes(), other.GetAttributes());
  EXPECT_EQ(source.GetVariableSets(), other.GetVariableSets());
  EXPECT_EQ(source.GetMRSets(), other.GetMRSets());
  EXPECT_EQ(source.GetSortIndexInfo().GetIndexKeys(), other.GetSortIndexInfo().GetIndexKeys());
  EXPECT_EQ(source.GetDEFormattingInfo(), other.GetDEFormattingInfo());
}

TEST_F(CopyDictionary, CopiesTheFourFlagsOfTheOther) {
  source.CopyDictionary(other);
  EXPECT_FALSE(source.IsDirty());
  EXPECT_TRUE(source.GetSplitqSeparate());
  EXPECT_NE(source.GetLabel(), nullptr);
  EXPECT_TRUE(source.IsIndexValid());

  source.CopyDictionary(MemorySource());
  EXPECT_TRUE(source.IsDirty());
  EXPECT_FALSE(source.GetSplitqSeparate());
  EXPECT_EQ(source.GetLabel(), nullptr);
  EXPECT_FALSE(source.IsIndexValid());
}

TEST_F(CopyDictionary, ClearsTheFileSpec) {
  source.CopyDictionary(other);
  EXPECT_TRUE(source.GetFileSpecExt().Empty());
  EXPECT_STREQ(other.GetFileSpec(), "other.sav");
}

TEST_F(CopyDictionary, KeepsTheParent) {
  source.CopyDictionary(other);
  EXPECT_EQ(source.GetParentSource(), &sourcesParent);
  source.SetParentSource(nullptr);
  source.CopyDictionary(other);
  EXPECT_EQ(source.GetParentSource(), nullptr);
}

TEST_F(CopyDictionary, TrendsInfoRefersToThisSource) {
  source.CopyDictionary(other);
  EXPECT_EQ(source.GetTrendsInfo().GetDataSource(), &source);
  EXPECT_EQ(other.GetTrendsInfo().GetDataSource(), &other);
}

TEST_F(CopyDictionary, ReplacesItsObserversWithThoseOfTheOther) {
  PlainObserver others;
  PlainObserver own;
  other.Register(&others);
  source.Register(&own);
  source.CopyDictionary(other);
  EXPECT_THAT(source.Body().fObservers.All(), ElementsAre(&others));
}

TEST_F(CopyDictionary, SharesVariablesUntilOneSideWrites) {
  source.CopyDictionary(other);
  EXPECT_EQ(std::as_const(source).GetVariable(0).GetName(), std::as_const(other).GetVariable(0).GetName())
      << "one body for both";
  source.GetVariable(0).SetName("COPY");
  EXPECT_STREQ(other.GetVariable(0).GetName(), "W");
  EXPECT_EQ(source.GetVariable(0).GetID(), other.GetVariable(0).GetID());
}

TEST_F(CopyDictionary, SharesExtensionBlocksUntilOneSideWrites) {
  source.CopyDictionary(other);
  EXPECT_EQ(source.Body().fExtensions.at(3), other.Body().fExtensions.at(3));
  source.ExtendExtension(3, 1, "s");
  EXPECT_EQ(Elements(other, 3), "block");
}

TEST_F(CopyDictionary, KeepsTheObjectsThatReferencesPointTo) {
  const QUAV_TrendsInfo& trends = source.GetTrendsInfo();
  const DatasourceAttributes& attributes = source.GetAttributes();
  source.CopyDictionary(other);
  EXPECT_EQ(&trends, &source.GetTrendsInfo());
  EXPECT_EQ(&attributes, &source.GetAttributes());
}

TEST_F(CopyDictionary, CopyFromItselfOnlyClearsTheFileSpec) {
  other.CopyDictionary(other);
  EXPECT_EQ(other.ColumnCount(), 2u);
  EXPECT_STREQ(other.GetLabel(), "label");
  EXPECT_EQ(other.GetParentSource(), &othersParent);
  EXPECT_TRUE(other.GetFileSpecExt().Empty());
}

// ---- SetSplit ----

class SetSplit : public testing::Test {
 protected:
  // Adds columns of these types (0 numeric, else the width) and splits the source by all of them.
  void SplitBy(const std::vector<int>& widths) {
    std::vector<int> columns;
    for (int width : widths) columns.push_back(source.AddText("S", width));
    source.SetSplit(static_cast<unsigned int>(columns.size()), columns.data(), false);
  }

  OpenSource source;
};

using SetSplitDeathTest = SetSplit;

TEST_F(SetSplit, StoresTheIDsInTheGivenOrder) {
  for (const char* name : {"A", "B", "C"}) source.AddNumber(name);
  const int columns[] = {2, 0};
  source.SetSplit(2, columns, true);
  EXPECT_EQ(source.GetNSplitVars(), 2u);
  EXPECT_EQ(source.GetSplitVarIndex(0), 2);
  EXPECT_EQ(source.GetSplitVarIndex(1), 0);
  EXPECT_EQ(source.GetSplitVarID(0), source.GetVariable(2).GetID());
  EXPECT_TRUE(source.GetSplitqSeparate());
}

TEST_F(SetSplit, NoVariablesKeepTheIDsInTheirSlots) {
  SplitBy({0, 0});
  const auto ids = source.Body().fSplitVars;
  source.SetSplit(0, nullptr, true);
  EXPECT_EQ(source.GetNSplitVars(), 0u);
  EXPECT_TRUE(source.GetSplitqSeparate());
  EXPECT_EQ(source.Body().fSplitVars, ids);
}

TEST_F(SetSplit, AcceptsEightStringsOfWidth8) {
  SplitBy(std::vector<int>(8, 8));
  EXPECT_EQ(source.GetNSplitVars(), 8u);
}

TEST_F(SetSplit, AcceptsEightNumbers) {
  SplitBy(std::vector<int>(8, 0));
  EXPECT_EQ(source.GetNSplitVars(), 8u);
}

TEST_F(SetSplit, AcceptsOneStringOf64Bytes) {
  SplitBy({57});
  EXPECT_EQ(source.GetNSplitVars(), 1u);
}

TEST_F(SetSplitDeathTest, OneWidthOf9AmongEightStringsAsserts) {
  EXPECT_DEATH(SplitBy({8, 8, 9, 8, 8, 8, 8, 8}), HasSubstr("assertion failed: totalSize <= 64\n"));
}

TEST_F(SetSplitDeathTest, StringOf65BytesAsserts) {
  EXPECT_DEATH(SplitBy({65}), HasSubstr("assertion failed: totalSize <= 64\n"));
}

TEST_F(SetSplitDeathTest, NineVariablesAssert) {
  EXPECT_DEATH(SplitBy(std::vector<int>(9, 0)), HasSubstr("assertion failed: nVars <= eMaxSplitVars\n"));
}

TEST_F(SetSplitDeathTest, NegativeColumnAsserts) {
  source.AddNumber("A");
  const int columns[] = {0, -1};
  EXPECT_DEATH(source.SetSplit(2, columns, false), HasSubstr("assertion failed: varIndexes[i] >= 0\n"));
}

// ---- Sort index ----

SortIndexInfo SortedBy(const QUAV_DataSource* source) {
  SortIndexInfo info;
  info.SetRequestedIndexSize(9);
  info.SetIndexKeys({FileSort::SortKey{1, 2, 3}});
  info.SetIndex({SortIndexInfo::SortIndexKeyRowPair("key", 4)});
  info.SetDataSource(source);
  return info;
}

TEST(SetSortIndexInfo, StoresAllParts) {
  MemorySource source;
  source.SetSortIndexInfo(SortedBy(&source));
  const SortIndexInfo& info = source.GetSortIndexInfo();
  EXPECT_EQ(info.GetRequestedIndexSize(), 9);
  EXPECT_THAT(info.GetIndexKeys(), ElementsAre(FileSort::SortKey{1, 2, 3}));
  EXPECT_THAT(info.GetIndex(), ElementsAre(SortIndexInfo::SortIndexKeyRowPair("key", 4)));
  EXPECT_EQ(info.GetDataSource(), &source);
}

TEST(SetSortIndexInfo, KeysMakeTheIndexValidAndTheSourceDirty) {
  MemorySource source;
  source.SetDirty(false);
  source.SetSortIndexInfo(SortedBy(&source));
  EXPECT_TRUE(source.IsIndexValid());
  EXPECT_TRUE(source.IsDirty());
}

TEST(SetSortIndexInfo, NoKeysKeepBothFlags) {
  for (bool valid : {false, true}) {
    MemorySource source;
    source.SetSortIndexInfo(SortedBy(&source));
    source.SetDirty(false);
    source.SetIndexValid(valid);
    source.SetSortIndexInfo(SortIndexInfo());
    EXPECT_EQ(source.IsIndexValid(), valid);
    EXPECT_FALSE(source.IsDirty());
    EXPECT_THAT(source.GetSortIndexInfo().GetIndexKeys(), IsEmpty());
  }
}

// ---- Sets ----

TEST(VariableSets, AreReturnedAsACopy) {
  MemorySource source;
  source.SetVariableSets({SetNamed("a"), SetNamed("b")});
  std::vector<VariableSetImpl> sets = source.GetVariableSets();
  sets.clear();
  EXPECT_THAT(source.GetVariableSets(), ElementsAre(SetNamed("a"), SetNamed("b")));
  EXPECT_THAT(source.GetMRSets(), IsEmpty());
}

TEST(VariableSets, AreReplacedAsAWhole) {
  MemorySource source;
  source.SetVariableSets({SetNamed("a"), SetNamed("b")});
  source.SetVariableSets({SetNamed("c")});
  EXPECT_THAT(source.GetVariableSets(), ElementsAre(SetNamed("c")));
}

TEST(MRSets, AreSeparateFromVariableSets) {
  MemorySource source;
  source.SetMRSets({SetNamed("$a")});
  EXPECT_THAT(source.GetMRSets(), ElementsAre(SetNamed("$a")));
  EXPECT_THAT(source.GetVariableSets(), IsEmpty());
}

TEST(FindVarSet, ReturnsTheFirstSetWithTheName) {
  const std::vector<VariableSetImpl> sets = {SetNamed("a"), SetNamed("b"), SetNamed("B")};
  EXPECT_EQ(FindVarSet("b", sets), 1);
}

TEST(FindVarSet, IgnoresCase) { EXPECT_EQ(FindVarSet("dEmo", {SetNamed("x"), SetNamed("Demo")}), 1); }

TEST(FindVarSet, ReturnsMinus1ForAnUnknownName) {
  EXPECT_EQ(FindVarSet("a", {}), -1);
  EXPECT_EQ(FindVarSet("a", {SetNamed("b"), SetNamed("ab"), SetNamed("a ")}), -1);
}

}  // namespace
}  // namespace datasrcservices_test
