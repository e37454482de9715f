// A source that takes rows: the common base of system files and temporary stores.
//
//   set up the dictionary -> CommitDictionary -> AddRow for each case -> Close
//
// Threads: one thread at a time.

#ifndef DATASRC_INDEPENDENTDATASTORE_H
#define DATASRC_INDEPENDENTDATASTORE_H

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API IndependentDataStore : public QUAV_DataSource {
 public:
  // Derived from the parent, or from nothing.
  explicit IndependentDataStore(const QUAV_DataSource* parent) : QUAV_DataSource(parent) {}

  // Contract: the order of the virtual operations.
  ~IndependentDataStore() override;
  // Takes a case of GetObsAreaSize() cells.
  virtual void AddRow(const OBS* row) = 0;
  virtual void Close() = 0;
  // These three do nothing unless a store has a use for them.
  virtual void SetCompression(bool compress);
  virtual void SetCompressionLevel(int level);
  virtual void CommitDictionary();
};

#endif
