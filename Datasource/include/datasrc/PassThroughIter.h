// The iterator of a view that delivers the cases of its parent unchanged, or only with their cells in other places.
//
//   QUAV_InputCaseIterator* View::MakeIterator(OBS* buffer) const {
//     return new PassThroughIter(*this, buffer, nullptr);
//   }
//
// Without a projector the parent's iterator fills the view's buffer, and nothing is copied. A view without a parent has
// no cases. An error monitor that is set here does not reach the parent's iterator.
//
// Threads: one thread at a time for each object.

#ifndef DATASRC_PASSTHROUGHITER_H
#define DATASRC_PASSTHROUGHITER_H

#include <memory>

#include "Platform/Export.h"
#include "datasrc/ObsProjector.h"
#include "datasrc/QUAV_InputCaseIterator.h"

class DATASRC_API PassThroughIter : public QUAV_InputCaseIterator {
 public:
  // `projector` may be null; it is not owned and must outlive the iterator. `buffer` is as for MakeIterator.
  PassThroughIter(const QUAV_DataSource& view, OBS* buffer, const ObsProjector* projector);
  ~PassThroughIter() override;

  // These return 0 without a parent.
  int IsSeekOK() override;
  int Seek(long long row) override;
  long long Tell() const override;
  int Next() override;

 private:
  std::unique_ptr<QUAV_InputCaseIterator> m_parent;  // null without a parent
  const ObsProjector* m_projector;                   // not owned; null when the parent fills the buffer
};

#endif
