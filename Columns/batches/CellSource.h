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

#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "systemfile/SystemFileIterator.h"

class CellSource {
 public:
  virtual ~CellSource() = default;

  // Makes `row` the next.
  virtual void Seek(long long row) = 0;
  // Reads up to `most` cases. Cell k of those chosen, of case r from here on, goes to columns[k][r]. Returns the number
  // of cases, which is less than `most` only at the end of the data, or where Fault() says why not.
  virtual int Read(OBS* const* columns, int most) = 0;
  // Returns the fault of the file that ended the reading, a QuavServerError; null when there is none.
  const std::exception_ptr& Fault() const { return m_fault; }

 protected:
  std::exception_ptr m_fault;
};

// Returns the iterator of a system file that has all these cells; null for any other source.
std::unique_ptr<SystemFileDataSource::Iterator> FileIteratorOf(const QUAV_DataSource& source,
                                                               std::span<const std::size_t> cells);
// Makes the fastest for the source. `cells` are cells of the source's case; one may come more than once.
std::unique_ptr<CellSource> MakeCellSource(const QUAV_DataSource& source, std::vector<std::size_t> cells);

#endif
