// The writer's side of a system file: a private copy of the caller's dictionary, which the handlers of extension
// records bring into the file's form.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SAVEDS_H
#define DATASRC_SRC_SAVEDS_H

#include "datasrc/SystemFileDataSource.h"

class SystemFileDataSource::SaveDS : public QUAV_DataSource {
 public:
  explicit SaveDS(const QUAV_DataSource& source) : QUAV_DataSource(source) {}

  // Null: a writer has no cases to read.
  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
};

#endif
