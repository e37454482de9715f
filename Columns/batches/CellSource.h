// Where the cells of a batch come from: chosen cells of successive cases, each in an array of its own.
//
// Threads: one thread at a time.

#ifndef COLUMNS_BATCHES_CELLSOURCE_H
#define COLUMNS_BATCHES_CELLSOURCE_H

#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <vector>

#include "Columns/batches/CellTarget.h"
#include "datasrc/QUAV_DataSource.h"
#include "systemfile/SystemFileIterator.h"

class CellSource {
 public:
  virtual ~CellSource() = default;

  // Makes `row` the next.
  virtual void Seek(long long row) = 0;
  // Reads up to `most` cases. targets[k] is for cell k of those chosen. Returns the number of cases, which is less than
  // `most` only at the end of the data, or where Fault() says why not.
  virtual int Read(const CellTarget* targets, int most) = 0;
  // Returns the fault of the file that ended the reading, a QuavServerError; null when there is none.
  const std::exception_ptr& Fault() const { return m_fault; }

 protected:
  // Marks the first `count` cells of each target: for sources that do not do it while they read.
  static void MarkPresent(std::span<const CellTarget> targets, int count);

  std::exception_ptr m_fault;
};

// Returns the iterator of a system file that has all these cells; null for any other source.
std::unique_ptr<SystemFileDataSource::Iterator> FileIteratorOf(const QUAV_DataSource& source,
                                                               std::span<const std::size_t> cells);
// Makes the fastest for the source. `cells` are cells of the source's case; one may come more than once.
std::unique_ptr<CellSource> MakeCellSource(const QUAV_DataSource& source, std::vector<std::size_t> cells);

#endif
