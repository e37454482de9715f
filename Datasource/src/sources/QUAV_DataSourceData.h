// The private body of a data source: the dictionary and what belongs to the data set as a whole.
//
// Contract: the order of the fields. A copy copies them in this order; they are destroyed in the reverse order. A
// copy shares variables and extension blocks; everything else in it is its own.
//
// Threads: the same rule as for its data source.

#ifndef DATASRC_SRC_SOURCES_QUAV_DATASOURCEDATA_H
#define DATASRC_SRC_SOURCES_QUAV_DATASOURCEDATA_H

#include <array>
#include <map>
#include <string>
#include <vector>

#include "datasrc/Calendar.h"
#include "datasrc/QUAV_DSObs.h"
#include "datasrc/QUAV_DataSource.h"
#include "sources/ObserverList.h"

struct QUAV_DataSource::Data {
  static double PresentTime() {
    double now = 0;
    vQuavTimestampNow(&now);
    return now;
  }

  double fTimestamp = PresentTime();
  long long fRowsPerImputation = 0;
  std::array<LocallyUniqueID, eMaxSplitVars> fSplitVars;
  std::vector<QUAV_Variable> fDictionary;
  QUAV_DSObs fObs;
  std::string fLabel;
  LocallyUniqueID fWeightVar;
  LocallyUniqueID fFilterVar;
  unsigned int fnSplitVars = 0;                                // how many of fSplitVars are used
  const QUAV_DataSource* fParent = nullptr;                    // not owned
  ObserverList fObservers;                                     // not owned
  std::map<int, RefCountPtr<QUAV_ExtensionImpl>> fExtensions;  // by type; never null
  ExtNameStr fFileSpec;
  QUAV_TrendsInfo fTrends;  // a copy points to the other source until SetDataSource
  DatasourceAttributes fAttributes;
  std::vector<VariableSetImpl> fVariableSets;
  std::vector<VariableSetImpl> fMRSets;
  SortIndexInfo fSortIndex;
  DataEditorFormattingInfo fDEFormatting;
  bool fDirty = true;           // changed since it was last saved or read
  bool fSplitSeparate = false;  // split output is separate
  bool fHasLabel = false;       // also set for an empty label
  bool fIndexValid = false;     // the sort index describes the data
};

// Has the result of SetVariable for each column. That moves all later columns in the layout; this counts the layout
// only once. Asserts that there is a variable for each column, with its identity.
void SetAllVariables(QUAV_DataSource& source, std::vector<QUAV_Variable> variables);

#endif
