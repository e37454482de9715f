// Tools for every benchmark: a clock, and a pass over all cases.

#ifndef DATASRC_BENCH_MEASURING_H
#define DATASRC_BENCH_MEASURING_H

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Tables.h"
#include "datasrc/datasrc.h"

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

// Reads all cases and returns their number. Updates a checksum only when `sum` is not null, so that a timed call only
// reads.
inline std::size_t ReadAll(const QUAV_DataSource& source, std::uint64_t* sum) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* const cells = cases->GetObsPointer(0);
  const std::size_t count = source.GetObsAreaSize();
  std::size_t rows = 0;
  while (cases->Next() != 0) {
    ++rows;
    if (sum != nullptr)
      *sum = Checksum(*sum, cells, count);
    else
      benchmark::DoNotOptimize(*cells);
  }
  return rows;
}

#endif
