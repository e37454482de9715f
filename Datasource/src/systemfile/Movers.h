// The steps that bring a row from the caller's form into the file's, run one after the other.
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
  virtual ~Mover() = default;
  // Moves its part of the row. Answers where the next part begins.
  virtual const OBS* Move(const OBS* source) = 0;
};

// Cells that are the same in both.
class SystemFileDataSource::SaveDS::OrdinaryMover final : public Mover {
 public:
  OrdinaryMover(unsigned long cells, OBS* destination) : m_destination(destination), m_cells(cells) {}
  const OBS* Move(const OBS* source) override;

 private:
  OBS* m_destination;
  unsigned long m_cells;
};

// A very long string, into its segments. No character is split between two of them: what a segment has left over then
// is filled with NUL bytes, which tells the reader. Choice: where the text is no valid text, the rest of it goes as far
// as the string's cells reach.
class SystemFileDataSource::SaveDS::EStringMover final : public Mover {
 public:
  // The width in bytes.
  EStringMover(unsigned long width, OBS* destination);
  const OBS* Move(const OBS* source) override;

 private:
  OBS* destination;
  unsigned long width;
  unsigned long chunks;     // whole segments
  unsigned long tailCells;  // behind them
};

#endif
