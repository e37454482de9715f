// How the cases of a data source map onto dates, as the time series procedures keep it: which generated date variables
// there are, where the series starts and what its period is, and which spans of it are used and predicted.
//
// A date variable has a type and must bear the type's name; entry GetNDateVars() is the date key, the text of the date:
//
//   1 CYCLE_   2 YEAR_   3 QUARTER_   4 MONTH_   5 WEEK_   6 DAY_   7 HOUR_   8 MINUTE_   9 SECOND_   10 OBS_   11
//   DATE_
//
// Each of the four bounds of the spans is unset, a case number, or a date. Numbers are kept and given back without
// interpretation.
//
// Asserted: what each operation says of its indexes.
//
// Threads: one thread at a time, with its data source.

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

  // The names of the types, in upper case.
  static const char* const pszDateVarNames[12];

  QUAV_TrendsInfo() = default;
  QUAV_TrendsInfo(const QUAV_TrendsInfo&) = default;
  // Takes over everything but the owner.
  QUAV_TrendsInfo& operator=(const QUAV_TrendsInfo& other);
  virtual ~QUAV_TrendsInfo();

  // The owner; not owned.
  void SetDataSource(const QUAV_DataSource* source) { fpDataSource = source; }
  const QUAV_DataSource* GetDataSource() const { return fpDataSource; }

  void SetStart(int first, int second);
  void GetStart(int& first, int& second) const;
  void SetPeriod(bool set, int period);
  void GetPeriod(bool& set, int& period) const;

  // Without the date key.
  int GetNDateVars() const { return fData.fnDateVars; }
  // At most 10. Resets, as Reset(true), and makes empty entries.
  void SetNDateVars(int nDateVars);
  // `var` is the variable's column. At the date key only the types e_DATKEY and e_NONE are allowed. e_NONE only sets
  // the type.
  void SetDateVar(int iDateVar, int var, int iType, int third);
  void GetDateVar(int iDateVar, int& var, int& iType, int& third) const;
  // By which the variable is found when columns have moved; the invalid one for none.
  LocallyUniqueID GetDateVarID(int iDateVar) const;

  // The first and the last case of the span; a bound by date is told for each date variable by the operations below.
  // All of those are forgotten.
  void SetUse(bool set1, bool date1, long case1, bool set2, bool date2, long case2);
  void GetUse(bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) const;
  void SetPred(bool set1, bool date1, long case1, bool set2, bool date2, long case2);
  void GetPred(bool& set1, bool& date1, long& case1, bool& set2, bool& date2, long& case2) const;
  // What a date variable is at the bounds; system-missing for a bound that is not by date.
  void SetUseVar(int iDateVar, OBS first, OBS last);
  void GetUseVar(int iDateVar, OBS& first, OBS& last) const;
  void SetPredVar(int iDateVar, OBS first, OBS last);
  void GetPredVar(int iDateVar, OBS& first, OBS& last) const;

  // Forgets the date variables, the start, the period (with `keep` only one that is not set) and the bounds (with
  // `keep` only those by date).
  void Reset(bool keep);
  // Whether the date variables are still there under their names and types; brings their columns up to date. Where one
  // is not, resets as Reset(true) and answers false; a lost date key alone only loses its entry. Asserts that there is
  // an owner.
  bool Validate();
  // Takes the identities of the variables at the columns, from the owner. True when each has one, or nothing is to do:
  // `source` is null or there are no date variables.
  bool UpdateVarIDs(const QUAV_DataSource* source);
  // Stores all but the identities, or loads it; then UpdateVarIDs is to be run. Of more than 10 date variables none are
  // taken.
  void Serialize(VStream& stream);

  // All but the owner. Deliberate: of the date key only its variable and type.
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
  // What a date variable is at the bounds of a span.
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
