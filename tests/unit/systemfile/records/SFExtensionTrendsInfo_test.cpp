#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/serial/VStream.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "tests/support/Reading.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionTrendsInfo_test {
namespace {

constexpr int kSubtype = 6;
constexpr int kYear = 2;
constexpr int kMonth = 4;
constexpr int kKey = QUAV_TrendsInfo::e_DATKEY;

class SFExtensionTrendsInfo : public testing::Test {
 protected:
  SFExtensionTrendsInfo() {
    m_source.MakeVariable(0, nullptr).SetName("X");
    m_source.MakeVariable(0, nullptr).SetName("year_");
    m_source.MakeVariable(0, nullptr).SetName("MONTH_");
    m_source.MakeVariable(8, nullptr).SetName("DATE_");
  }
  QUAV_TrendsInfo& Info() { return m_source.GetTrendsInfo(); }
  void SetDates() {
    Info().SetNDateVars(2);
    Info().SetDateVar(0, 1, kYear, 7);
    Info().SetDateVar(1, 2, kMonth, 12);
    Info().SetDateVar(2, 3, kKey, 1);
    Info().SetPeriod(true, 12);
    Info().SetStart(2020, 3);
  }
  std::vector<int> Written() {
    const std::string bytes = WrittenRecord(m_source, {kSubtype}).Contents();
    std::vector<int> numbers(bytes.size() / 4);
    // Without a record there are no bytes, and memcpy must not get a null pointer.
    if (!bytes.empty()) std::memcpy(numbers.data(), bytes.data(), bytes.size());
    return numbers;
  }
  void Read(const std::vector<int>& numbers, std::endian order = std::endian::native) {
    SystemFileBuilder bytes(order);
    for (const int number : numbers) bytes.I32(number);
    SystemFileExtensionRecord record;
    record.Fill(4, std::as_bytes(std::span(bytes.Bytes())));
    SystemFileOptions options;
    options.reversed = order != std::endian::native;
    SystemFileExtensionHandler::Read(kSubtype, m_source, options, record);
  }
  std::vector<int> DateVar(int i) {
    int var = 0, type = 0, third = 0;
    Info().GetDateVar(i, var, type, third);
    return {var, type, third};
  }
  SystemFileDataSource m_source;
};

using testing::ElementsAre;

TEST_F(SFExtensionTrendsInfo, DefaultsGiveNoRecord) { EXPECT_TRUE(Written().empty()); }

TEST_F(SFExtensionTrendsInfo, PeriodAloneGivesSixNumbers) {
  Info().SetPeriod(true, 4);
  EXPECT_THAT(Written(), ElementsAre(1, 4, 0, 1, 1, 0));
}

TEST_F(SFExtensionTrendsInfo, TwoDateVariablesAndTheKeyGiveFifteenNumbers) {
  SetDates();
  EXPECT_THAT(Written(), ElementsAre(1, 12, 2, 3, 2020, 1, 2, kYear, 7, 3, kMonth, 12, 4, kKey, 1));
}

TEST_F(SFExtensionTrendsInfo, DateVariablesAreWrittenWithoutAPeriod) {
  SetDates();
  Info().SetPeriod(false, 12);
  const std::vector<std::int32_t> numbers = Written();
  ASSERT_EQ(15U, numbers.size());
  EXPECT_EQ(0, numbers[0]);
  EXPECT_EQ(2, numbers[2]);
}

TEST_F(SFExtensionTrendsInfo, EndsInZerosWithoutAKey) {
  SetDates();
  Info().SetDateVar(2, 3, QUAV_TrendsInfo::e_NONE, 1);
  EXPECT_THAT(Written(), ElementsAre(1, 12, 2, 3, 2020, 1, 2, kYear, 7, 3, kMonth, 12, 0, 0, 0));
}

TEST_F(SFExtensionTrendsInfo, OmitsAVariableOfTypeNone) {
  SetDates();
  Info().SetDateVar(0, 1, QUAV_TrendsInfo::e_NONE, 1);
  EXPECT_THAT(Written(), ElementsAre(1, 12, 2, 3, 2020, 1, 3, kMonth, 12, 4, kKey, 1));
}

TEST_F(SFExtensionTrendsInfo, OmittedVariableMovesTheNextOneDown) {
  Read({1, 12, 2, 3, 2020, 1, 3, kMonth, 12, 0, 0, 0});
  EXPECT_THAT(DateVar(0), ElementsAre(2, kMonth, 12));
  EXPECT_THAT(DateVar(1), ElementsAre(-1, 0, 1));
}

TEST_F(SFExtensionTrendsInfo, ReadsEitherByteOrder) {
  for (const std::endian order : {std::endian::native, kReversedOrder}) {
    Info().Reset(false);
    Read({1, 12, 2, 3, 2020, 1, 2, kYear, 7, 3, kMonth, 12, 4, kKey, 1}, order);
    EXPECT_EQ(2, Info().GetNDateVars());
    EXPECT_THAT(DateVar(0), ElementsAre(1, kYear, 7));
    EXPECT_THAT(DateVar(1), ElementsAre(2, kMonth, 12));
    EXPECT_THAT(DateVar(2), ElementsAre(3, kKey, 1));
    int first = 0, second = 0;
    Info().GetStart(first, second);
    EXPECT_EQ(2020, first);
    EXPECT_EQ(3, second);
  }
}

TEST_F(SFExtensionTrendsInfo, ZeroTripleKeepsTheDefaultsOfTheKey) {
  Read({0, 1, 1, 1, 1, 1, 2, kYear, 7, 0, 0, 0});
  EXPECT_THAT(DateVar(1), ElementsAre(-1, 0, 1));
}

TEST_F(SFExtensionTrendsInfo, SlotInsideAStringMeansTheNextVariable) {
  SystemFileDataSource source;
  source.MakeVariable(24, nullptr).SetName("S");
  source.MakeVariable(0, nullptr).SetName("YEAR_");
  SystemFileExtensionRecord record;
  const int numbers[] = {0, 1, 1, 1, 1, 1, 2, kYear, 7};
  record.Fill(4, std::as_bytes(std::span(numbers)));
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSubtype, source, options, record);
  int var = 0, type = 0, third = 0;
  source.GetTrendsInfo().GetDateVar(0, var, type, third);
  EXPECT_EQ(1, var);
}

TEST_F(SFExtensionTrendsInfo, ShortRecordOrBadSlotThrows1204) {
  const auto fault = [this](const std::vector<int>& numbers) -> std::optional<SystemFileException> {
    try {
      Read(numbers);
    } catch (const SystemFileException& thrown) {
      return thrown;
    }
    return std::nullopt;
  };
  EXPECT_THAT(fault({0, 1, 1, 1, 1, 1}), IsFault(1204, "nElements >= 3*nDateVars+6"));
  EXPECT_THAT(fault({0, 1, 0}), IsFault(1204, "nElements >= 3*nDateVars+6"));
  EXPECT_THAT(fault({0, 1, 1, 1, 1, 1, 5, kYear, 1}), IsFault(1204, "iVar < nVars"));
  EXPECT_EQ(1204, fault({0, 1})->Number());
}

TEST_F(SFExtensionTrendsInfo, BadDateVariablesAssert) {
  std::vector<int> numbers{0, 1, 11, 1, 1, 1};
  numbers.resize(6 + 33);
  EXPECT_DEATH(Read(numbers), "nDateVars < eMaxDateVars");
  EXPECT_DEATH(Read({0, 1, 0, 1, 1, 0, 1, kYear, 1}), "iDateVar >= 0 && fData.fVars != 0");
  EXPECT_DEATH(Read({0, 1, 1, 1, 1, 1, 2, kYear, 1, 2, kYear, 1}), "iDateVar < fData.fnDateVars \\|\\|");
}

// ---- The object ----

using QuavTrendsInfo = SFExtensionTrendsInfo;

TEST_F(QuavTrendsInfo, DateVariableNamesAreIndexedByType) {
  EXPECT_THAT(QUAV_TrendsInfo::pszDateVarNames,
              testing::ElementsAre(testing::StrEq(""), testing::StrEq("CYCLE_"), testing::StrEq("YEAR_"),
                                   testing::StrEq("QUARTER_"), testing::StrEq("MONTH_"), testing::StrEq("WEEK_"),
                                   testing::StrEq("DAY_"), testing::StrEq("HOUR_"), testing::StrEq("MINUTE_"),
                                   testing::StrEq("SECOND_"), testing::StrEq("OBS_"), testing::StrEq("DATE_")));
}

TEST_F(QuavTrendsInfo, CopiesAreIndependent) {
  SetDates();
  QUAV_TrendsInfo copy(Info());
  QUAV_TrendsInfo assigned;
  assigned = Info();
  copy.SetDateVar(0, 1, kYear, 99);
  assigned.SetDateVar(1, 2, kMonth, 99);
  EXPECT_THAT(DateVar(0), ElementsAre(1, kYear, 7));
  EXPECT_THAT(DateVar(1), ElementsAre(2, kMonth, 12));
  assigned = *&assigned;
  EXPECT_EQ(2, assigned.GetNDateVars());
}

TEST_F(QuavTrendsInfo, ResetKeepsAPeriodThatIsSet) {
  const auto period = [this] {
    std::pair<bool, int> result;
    Info().GetPeriod(result.first, result.second);
    return result;
  };
  Info().SetPeriod(true, 12);
  Info().Reset(true);
  EXPECT_EQ(std::pair(true, 12), period());
  Info().Reset(false);
  EXPECT_EQ(std::pair(true, 1), period()) << "the flag stays set";
  Info().SetPeriod(false, 12);
  Info().Reset(true);
  EXPECT_EQ(std::pair(false, 1), period());
}

TEST_F(QuavTrendsInfo, VariableHasNoIdentityWithoutAnOwner) {
  QUAV_TrendsInfo trends;
  trends.SetNDateVars(1);
  trends.SetDateVar(0, 1, kYear, 1);
  EXPECT_EQ(LocallyUniqueID(), trends.GetDateVarID(0));
  trends.SetDateVar(0, -1, kYear, 1);
  trends.SetDataSource(&m_source);
  EXPECT_FALSE(trends.UpdateVarIDs(&m_source)) << "the variable has no column";
  trends.SetDateVar(0, 1, kYear, 1);
  EXPECT_TRUE(trends.UpdateVarIDs(&m_source)) << "the date key has no type";
}

TEST_F(QuavTrendsInfo, DateVariableOfTypeNoneKeepsTheRestOfItsEntry) {
  SetDates();
  Info().SetDateVar(0, 3, QUAV_TrendsInfo::e_NONE, 99);
  EXPECT_THAT(DateVar(0), ElementsAre(1, 0, 7));
}

TEST_F(QuavTrendsInfo, AcceptsUpToTenDateVariables) {
  Info().SetNDateVars(10);
  EXPECT_EQ(10, Info().GetNDateVars());
  EXPECT_DEATH(Info().SetNDateVars(11), "nDateVars < eMaxDateVars");
  Info().SetNDateVars(0);
  EXPECT_DEATH(Info().SetDateVar(0, 1, kYear, 1), "iDateVar >= 0 && fData.fVars != 0");
  EXPECT_DEATH(DateVar(0), "iDateVar >= 0 && iDateVar <= fData.fnDateVars && fData.fVars != 0");
}

TEST_F(QuavTrendsInfo, AcceptsOnlyAKeyInTheKeyEntry) {
  Info().SetNDateVars(1);
  EXPECT_DEATH(Info().SetDateVar(1, 2, kMonth, 1), "iDateVar < fData.fnDateVars");
  Info().SetDateVar(1, 3, kKey, 1);
  Info().SetDateVar(1, 3, QUAV_TrendsInfo::e_NONE, 1);
}

TEST_F(QuavTrendsInfo, StoresDatesOnlyForBoundsByDate) {
  SetDates();
  Info().SetUse(true, true, 5, true, false, 6);
  bool set1 = false, date1 = false, set2 = false, date2 = false;
  long case1 = 1, case2 = 1;
  Info().GetUse(set1, date1, case1, set2, date2, case2);
  EXPECT_TRUE(set1 && date1 && set2 && !date2);
  EXPECT_EQ(0, case1);
  EXPECT_EQ(6, case2);
  Info().SetUseVar(0, NumberCell(1), NumberCell(2));
  OBS first, last;
  Info().GetUseVar(0, first, last);
  EXPECT_EQ(NumberCell(1), first);
  EXPECT_EQ(kSystemMissingCell, last);
  Info().SetUse(true, true, 5, true, false, 6);
  Info().GetUseVar(0, first, last);
  EXPECT_EQ(kSystemMissingCell, first) << "SetUse clears the dates";
  Info().SetPred(false, true, 5, true, true, 6);
  Info().GetPred(set1, date1, case1, set2, date2, case2);
  EXPECT_FALSE(set1 || date1);
  Info().SetPredVar(1, NumberCell(1), NumberCell(2));
  Info().GetPredVar(1, first, last);
  EXPECT_EQ(kSystemMissingCell, first);
  EXPECT_EQ(NumberCell(2), last);
  EXPECT_DEATH(Info().SetUseVar(2, first, last), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  EXPECT_DEATH(Info().GetUseVar(-1, first, last), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  EXPECT_DEATH(Info().SetPredVar(2, first, last), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
  EXPECT_DEATH(Info().GetPredVar(2, first, last), "iDateVar >= 0 && iDateVar < fData.fnDateVars");
}

TEST_F(QuavTrendsInfo, ResetKeepsBoundsByCase) {
  bool set1 = false, date1 = false, set2 = false, date2 = false;
  long case1 = 0, case2 = 0;
  SetDates();
  Info().SetUse(true, false, 5, true, true, 6);
  Info().Reset(true);
  Info().GetUse(set1, date1, case1, set2, date2, case2);
  EXPECT_TRUE(set1);
  EXPECT_EQ(5, case1);
  EXPECT_FALSE(set2);
  Info().Reset(false);
  Info().GetUse(set1, date1, case1, set2, date2, case2);
  EXPECT_FALSE(set1);
}

TEST_F(QuavTrendsInfo, IsValidWithTheNamesAndTypesOfDateVariables) {
  SetDates();
  EXPECT_TRUE(Info().Validate());
  EXPECT_TRUE(QUAV_TrendsInfo(Info()) == Info());
  QUAV_TrendsInfo none;
  EXPECT_DEATH(none.Validate(), "fpDataSource");
}

TEST_F(QuavTrendsInfo, FollowsAVariableThatMoves) {
  SetDates();
  m_source.DeleteVariables(0, 0);
  EXPECT_TRUE(Info().Validate());
  EXPECT_THAT(DateVar(0), ElementsAre(0, kYear, 7));
}

TEST_F(QuavTrendsInfo, RenamingADateVariableClearsTheDates) {
  SetDates();
  Info().SetUse(true, false, 5, false, false, 0);
  m_source.GetVariable(2).SetName("M");
  EXPECT_FALSE(Info().Validate());
  EXPECT_EQ(0, Info().GetNDateVars());
  bool set1 = false, date1 = false, set2 = false, date2 = false;
  long case1 = 0, case2 = 0;
  Info().GetUse(set1, date1, case1, set2, date2, case2);
  EXPECT_TRUE(set1) << "a bound by case is kept";
}

TEST_F(QuavTrendsInfo, ChangingTheTypeOfADateVariableClearsTheDates) {
  SetDates();
  m_source.GetVariable(1).SetType(8);
  EXPECT_FALSE(Info().Validate());
  EXPECT_EQ(0, Info().GetNDateVars());
}

TEST_F(QuavTrendsInfo, DeletingTheKeyVariableClearsOnlyTheKey) {
  SetDates();
  m_source.DeleteVariables(3, 3);
  EXPECT_FALSE(Info().Validate());
  EXPECT_EQ(2, Info().GetNDateVars());
  EXPECT_THAT(DateVar(2), ElementsAre(-1, 0, 1));
}

TEST_F(QuavTrendsInfo, SerializesAllButTheIdentities) {
  SetDates();
  Info().SetUse(true, true, 0, true, false, 9);
  Info().SetUseVar(1, NumberCell(5), NumberCell(6));
  VMemoryStream out;
  Info().Serialize(out);
  QUAV_TrendsInfo loaded;
  loaded.SetDataSource(&m_source);
  VMemoryStream in(out.Bytes());
  loaded.Serialize(in);
  EXPECT_TRUE(in.Good());
  EXPECT_FALSE(loaded == Info());
  EXPECT_TRUE(loaded.UpdateVarIDs(&m_source));
  EXPECT_TRUE(loaded == Info());
  EXPECT_TRUE(loaded.UpdateVarIDs(nullptr));
}

TEST_F(QuavTrendsInfo, TruncatedStreamIsNotGood) {
  SetDates();
  VMemoryStream out;
  Info().Serialize(out);
  for (std::size_t size = 0; size < out.Bytes().size(); ++size) {
    QUAV_TrendsInfo loaded;
    VMemoryStream in(out.Bytes().substr(0, size));
    loaded.Serialize(in);
    EXPECT_FALSE(in.Good());
  }
  std::string many = out.Bytes();
  many[1] = 127;  // thousands of date variables
  VMemoryStream in(many);
  QUAV_TrendsInfo loaded;
  loaded.Serialize(in);
  EXPECT_EQ(0, loaded.GetNDateVars());
}

TEST_F(QuavTrendsInfo, ComparesOnlyVariableAndTypeOfTheKey) {
  SetDates();
  QUAV_TrendsInfo other(Info());
  other.SetDateVar(2, 3, kKey, 99);
  EXPECT_TRUE(other == Info());
  other.SetDateVar(0, 1, kYear, 99);
  EXPECT_FALSE(other == Info());
}

}  // namespace
}  // namespace SFExtensionTrendsInfo_test
