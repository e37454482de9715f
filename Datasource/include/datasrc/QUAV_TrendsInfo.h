// How the cases of a data source map to dates, for the time series procedures: the generated date variables, the start
// and the period of the series, and the spans of it that are used and predicted.
//
// A date variable has a type and must have the type's name. Entries count from 0; entry GetNDateVars() is the date key,
// a string variable with the text of the date:
//
//   1 CYCLE_   2 YEAR_   3 QUARTER_   4 MONTH_    5 WEEK_   6 DAY_
//   7 HOUR_    8 MINUTE_ 9 SECOND_   10 OBS_     11 DATE_
//
// Each of the four bounds of the spans is unset, a case number, or a date. The numbers are only stored and returned.
//
// Threads: one thread at a time, together with its data source.

#ifndef DATASRC_QUAV_TRENDSINFO_H
#define DATASRC_QUAV_TRENDSINFO_H

#include <array>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/Obs.h"

class QUAV_DataSource;
class VStream;

class DATASRC_API QUAV_TrendsInfo {
 public:
  enum : int { e_NONE = 0, e_DATKEY = 11, eMaxDateVars = 11 };

  // The name of each type in upper case, by its number; type 0 has an empty one.
  static const char* const pszDateVarNames[12];

  QUAV_TrendsInfo() = default;
  QUAV_TrendsInfo(const QUAV_TrendsInfo&) = default;
  // Copies everything except the owner.
  QUAV_TrendsInfo& operator=(const QUAV_TrendsInfo& other);
  QUAV_TrendsInfo& operator=(QUAV_TrendsInfo&& other) noexcept;
  virtual ~QUAV_TrendsInfo();

  // The data source whose variables these are (not owned), null at first.
  void SetDataSource(const QUAV_DataSource* source) { fpDataSource = source; }
  const QUAV_DataSource* GetDataSource() const { return fpDataSource; }

  void SetStart(int first, int second);
  void GetStart(int& first, int& second) const;
  void SetPeriod(bool set, int period);
  void GetPeriod(bool& set, int& period) const;

  // The number of date variables, without the date key.
  int GetNDateVars() const { return fData.fnDateVars; }
  // Calls Reset(true) and makes empty entries. Asserts that the number is at most 10.
  void SetNDateVars(int nDateVars);
  // These assert that the entry exists; the date key is entry GetNDateVars(). There SetDateVar also asserts that the
  // type is e_DATKEY or e_NONE. `var` is the variable's column; with a data source the column must exist. e_NONE only
  // sets the type.
  void SetDateVar(int iDateVar, int var, int iType, int third);
  void GetDateVar(int iDateVar, int& var, int& iType, int& third) const;
  // Returns the identity by which Validate finds the variable when columns have moved; invalid for none.
  LocallyUniqueID GetDateVarID(int iDateVar) const;

  // Set the bounds of the used and of the predicted span: for each of the first and the last, whether it is set,
  // whether it is a date, and its case number. The case number counts only for a bound that is set and no date. The
  // operations below hold what a date is for each date variable; these two reset it for their span.
  void SetUse(bool set1, bool date1, long case1, bool set2, bool date2, long case2);
  void GetUse(bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) const;
  void SetPred(bool set1, bool date1, long case1, bool set2, bool date2, long case2);
  void GetPred(bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) const;
  // The values of a date variable at the bounds; system-missing for a bound that is no date. These assert that the date
  // variable exists; the date key is none.
  void SetUseVar(int iDateVar, OBS first, OBS last);
  void GetUseVar(int iDateVar, OBS& first, OBS& last) const;
  void SetPredVar(int iDateVar, OBS first, OBS last);
  void GetPredVar(int iDateVar, OBS& first, OBS& last) const;

  // Resets the date variables, the start, the period (with `keep` only a period that is not set) and the bounds (with
  // `keep` only dates).
  void Reset(bool keep);
  // Checks that the date variables still exist with the names and kinds (number or string) of their types, and updates
  // their columns. If one does not, calls Reset(true) and returns false. If only the date key does not exist any more,
  // clears just its entry and returns false. Asserts that there is a data source.
  bool Validate();
  // Takes the identities of the variables at the columns, from GetDataSource(), which must be set; `source` is only
  // compared with null. Returns true when each variable has an identity, and when there is nothing to do: `source` is
  // null, or there are no date variables.
  bool UpdateVarIDs(const QUAV_DataSource* source);
  // Stores everything except the identities and the data source, or loads it; call UpdateVarIDs after loading. If the
  // stream holds more than 10 date variables, or a negative number, none are loaded.
  void Serialize(VStream& stream);

  // Compares everything except the data source. Deliberate: of the date key only its variable and type.
  bool operator==(const QUAV_TrendsInfo& other) const;

 private:
  struct Bound {
    bool set = false;
    bool byDate = false;
    int caseNumber = 0;

    bool operator==(const Bound&) const = default;
  };
  struct Span {
    Bound first;
    Bound last;

    bool operator==(const Span&) const = default;
  };
  // The values of a date variable at the bounds of a span.
  struct Cells {
    OBS first = kSystemMissingCell;
    OBS last = kSystemMissingCell;

    bool operator==(const Cells&) const = default;
  };
  struct DateEntry {
    Cells use;
    Cells prediction;
    LocallyUniqueID id;
    int column = -1;
    int type = e_NONE;
    int third = 1;

    bool operator==(const DateEntry&) const = default;
  };
  struct Fields {
    int fnDateVars = 0;
    std::vector<DateEntry> fVars;  // empty, or fnDateVars + 1, the date key last
    int startFirst = 1;
    int startSecond = 1;
    bool periodSet = false;
    int period = 1;
    Span use;
    Span prediction;
  };

  DateEntry& Entry(int iDateVar) { return fData.fVars[static_cast<std::size_t>(iDateVar)]; }
  const DateEntry& Entry(int iDateVar) const { return fData.fVars[static_cast<std::size_t>(iDateVar)]; }
  bool IsDateVar(int iDateVar) const { return iDateVar >= 0 && iDateVar < fData.fnDateVars; }
  bool IsValid(DateEntry& entry, bool& isLost) const;

  const QUAV_DataSource* fpDataSource = nullptr;
  Fields fData;
};

#endif
