// Moves the cells of a case to other places: an index list, made once into a list of byte runs that each case is
// copied by.
//
//   ObsProjector projector;
//   projector.FromSourceIndexes(2, std::array{3, 0}.data());   target cells 0 and 1 are the source cells 3 and 0
//   projector.Copy(source, target);
//
// Cells that lie side by side in both cases go as one run. One source cell feeds one target cell at most.
//
// Threads: several may copy by one projector at the same time.

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
  // A run of bytes. The source is walked from its start on: over `length` bytes that are copied, then over `skip`.
  struct Segment {
    std::uint64_t offset;  // in the target case, in bytes; 0 when `length` is
    std::uint64_t length;  // in bytes
    std::uint64_t skip;    // in the source case, in bytes

    bool operator==(const Segment&) const = default;
  };

  // Moves nothing.
  ObsProjector() = default;

  // From the target cell of each source cell; -1 for a cell that is dropped. Asserts "length==0 || targetIndex".
  void FromTargetIndexes(unsigned long length, const int* targetIndex);
  // From the source cell of each target cell; a negative one for a target cell that is left as it is. A source cell
  // that is listed twice goes to the last place alone. Asserts "length==0 || sourceIndex".
  void FromSourceIndexes(unsigned long length, const int* sourceIndex);
  // As that, for all cells of the listed columns of `source`, one variable behind the other.
  void FromSourceIndexes(unsigned long length, const unsigned int* varIndex, const QUAV_DataSource& source);

  // A case of the source to one of the target. The cases do not overlap; target cells that no run covers are left.
  void Copy(const OBS* from, OBS* to) const;
  // The way back, from a case of the target to one of the source; source cells that no run covers are left.
  void InverseCopy(const OBS* from, OBS* to) const;

  std::span<const Segment> Segments() const { return {_segments.get(), _length}; }

 private:
  unsigned long _length = 0;  // segments
  std::unique_ptr<Segment[]> _segments;
};

#endif
