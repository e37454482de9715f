// The steps that convert a row from the caller's form to the file's. They run one after the other.
//
// Format: docs/system-file.md, "Very long strings".
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_MOVERS_H
#define DATASRC_SRC_SYSTEMFILE_MOVERS_H

#include <cstddef>

#include "datasrc/Obs.h"
#include "systemfile/SaveDS.h"

class SystemFileDataSource::SaveDS::Mover {
 public:
  // Moves its part of the row. Returns the start of the next part. Contract: the first virtual operation.
  virtual const OBS* Move(const OBS* source) = 0;
  virtual ~Mover() = default;
};

// Copies cells that are the same in both forms.
class SystemFileDataSource::SaveDS::OrdinaryMover final : public Mover {
 public:
  OrdinaryMover(unsigned long cells, OBS* destination) : m_destination(destination), m_cells(cells) {}
  const OBS* Move(const OBS* source) override;

 private:
  OBS* m_destination;
  unsigned long m_cells;
};

// Splits a very long string into its segments. A segment never ends inside a character: the bytes that remain free
// are NUL, by which the reader recognises them. Choice: in text that is not valid, a segment may take less; what the
// string's cells then have no room for is dropped.
class SystemFileDataSource::SaveDS::EStringMover final : public Mover {
 public:
  // The width in bytes.
  EStringMover(unsigned long width, OBS* destination);
  const OBS* Move(const OBS* source) override;

 private:
  OBS* destination;
  unsigned long width;
  unsigned long chunks;     // whole segments
  unsigned long tailCells;  // after them
};

#endif
