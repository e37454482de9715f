// A source that rows can be added to: the common base of system files and temporary stores.
//
//   set up the dictionary -> CommitDictionary -> AddRow for each case -> Close
//
// Threads: one thread at a time for each object.

#ifndef DATASRC_INDEPENDENTDATASTORE_H
#define DATASRC_INDEPENDENTDATASTORE_H

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API IndependentDataStore : public QUAV_DataSource {
 public:
  // `parent` (not owned) may be null: see the same constructor of QUAV_DataSource.
  explicit IndependentDataStore(const QUAV_DataSource* parent) : QUAV_DataSource(parent) {}

  // Contract: the order of the virtual operations.
  ~IndependentDataStore() override;
  // Adds a copy of the case of GetObsAreaSize() cells. Throws QuavServerError when it cannot be stored.
  virtual void AddRow(const OBS* row) = 0;
  // Completes the store. Throws QuavServerError when any case could not be stored.
  virtual void Close() = 0;
  // These three do nothing unless a store overrides them.
  virtual void SetCompression(bool compress);
  virtual void SetCompressionLevel(int level);
  virtual void CommitDictionary();
};

#endif
