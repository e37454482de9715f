// A source that shows some variables of another one, or all in another order, without copying its data.
//
//   const unsigned int wanted[] = {7, 2};
//   QUAV_CProjection projection(source, wanted, 2);
//
// The variables keep their identities, so weight, filter and split stay where their variables do.
//
// The source must outlive the projection, and the projection its iterators. Each iterator reads the source by one of
// its own.
//
// Threads: as a data source; iterators on different threads are as good as the source's are.

#ifndef DATASRC_QUAV_CPROJECTION_H
#define DATASRC_QUAV_CPROJECTION_H

#include <memory>

#include "Platform/Export.h"
#include "datasrc/ObsProjector.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API QUAV_CProjection : public QUAV_DataSource {
 public:
  // The listed columns of `source`, in their order. Of a variable that is listed twice only the last place gets values:
  // the cells of the others are left as they stand in the iterator's buffer.
  QUAV_CProjection(const QUAV_DataSource& source, const unsigned int* varIndex, unsigned int n);
  // With the dictionary of `source`, which the caller then edits. `targetIndex` has the target cell for each column of
  // the source, -1 for one that is dropped. Deliberate: columns are taken for cells here, so this is right only for a
  // source whose variables all have one cell.
  QUAV_CProjection(const QUAV_DataSource& source, const int* targetIndex);
  ~QUAV_CProjection() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  // The parent's; -1 without one.
  long long RowCount() const override;

 private:
  std::unique_ptr<ObsProjector> m_projector;
};

#endif
