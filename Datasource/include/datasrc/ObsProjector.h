// Copies the cells of a case to other places. An index list is converted once into a list of byte runs; each case is
// then copied run by run.
//
//   ObsProjector projector;
//   projector.FromSourceIndexes(2, std::array{3, 0}.data());   target cells 0 and 1 are the source cells 3 and 0
//   projector.Copy(source, target);
//
// Neighbours in both cases are copied as one run. A source cell goes to at most one target cell. Cells count from 0.
//
// Threads: one writer; several threads may copy with one projector at the same time.

#ifndef DATASRC_OBSPROJECTOR_H
#define DATASRC_OBSPROJECTOR_H

#include <cstdint>
#include <memory>
#include <span>

#include "Platform/Export.h"
#include "datasrc/Obs.h"

class QUAV_DataSource;

class DATASRC_API ObsProjector {
 public:
  // A run of bytes. Copy walks the source from its start: it copies `length` bytes, then skips `skip` bytes.
  struct Segment {
    std::uint64_t offset;  // in the target case, in bytes; 0 when `length` is
    std::uint64_t length;  // in bytes
    std::uint64_t skip;    // in the source case, in bytes

    bool operator==(const Segment&) const = default;
  };

  // Copies nothing.
  ObsProjector() = default;

  // Each of these replaces the list of runs, and copies the array that it is given.

  // Takes the target cell of each source cell, -1 for a cell that is dropped. Asserts "length==0 || targetIndex" and
  // "targetIndex[i] >= -1".
  void FromTargetIndexes(unsigned long length, const int* targetIndex);
  // Takes the source cell of each target cell, a negative number for a target cell that does not change. A source cell
  // that is listed twice goes only to the last place. Asserts "length==0 || sourceIndex".
  void FromSourceIndexes(unsigned long length, const int* sourceIndex);
  // Does the same for all cells of the listed columns of `source`, variable after variable. Asserts that they exist.
  void FromSourceIndexes(unsigned long length, const unsigned int* varIndex, const QUAV_DataSource& source);

  // Copies a case of the source to one of the target. The cases must not overlap. Target cells that no run covers do
  // not change. Both pointers must not be null (asserted).
  void Copy(const OBS* from, OBS* to) const;
  // Copies back, from a case of the target to one of the source. Source cells that no run covers do not change.
  void InverseCopy(const OBS* from, OBS* to) const;

  // The runs; they live until the list is replaced.
  std::span<const Segment> Segments() const { return {_segments.get(), _length}; }

 private:
  DATASRC_LOCAL void Take(std::span<const Segment> segments);

  unsigned long _length = 0;  // segments
  std::unique_ptr<Segment[]> _segments;
};

#endif
