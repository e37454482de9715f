// A source that shows some variables of another source, or all of them in another order, without a copy of the data.
//
//   const unsigned int wanted[] = {7, 2};
//   QUAV_CProjection projection(source, wanted, 2);
//
// The variables keep their identities. So a weight, filter or split whose variables are projected stays.
//
// The source must outlive the projection, and the projection must outlive its iterators. Each iterator has its own
// iterator over the source.
//
// Threads: as QUAV_DataSource. Iterators may be on different threads where those of the source may.

#ifndef DATASRC_QUAV_CPROJECTION_H
#define DATASRC_QUAV_CPROJECTION_H

#include <memory>

#include "Platform/Export.h"
#include "datasrc/ObsProjector.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API QUAV_CProjection : public QUAV_DataSource {
 public:
  // Shows the `n` listed columns of `source`, in the order of the list. Asserts that they exist. If a variable is
  // listed twice, only its last place gets values; the other cells in the iterator's buffer do not change.
  QUAV_CProjection(const QUAV_DataSource& source, const unsigned int* varIndex, unsigned int n);
  // Takes the dictionary of `source`, which the caller then edits. `targetIndex` has the target cell of each column of
  // the source, -1 for a column that is dropped. Deliberate: columns count as cells here, so this is correct only for a
  // source whose variables all have one cell.
  QUAV_CProjection(const QUAV_DataSource& source, const int* targetIndex);
  ~QUAV_CProjection() override;

  // Without a parent the iterator has no cases.
  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  // Returns the parent's number; -1 without a parent.
  long long RowCount() const override;

 private:
  std::unique_ptr<ObsProjector> m_projector;
};

#endif
