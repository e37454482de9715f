// The tables that the benchmarks use, and the files that hold them.
//
//   T1   1,000,000 cases of 50 numbers: 90% small integers, 5% missing, 5% with a fraction
//   T2   1,000,000 cases of 20 doubles
//   T3     500,000 cases of 20 small integers, 5 doubles, 5 strings of widths 8, 24, 64, 8, 24
//
// A table is made from a fixed seed, cell by cell, in memory. A few lines that share no code with the library write
// it to a file.

#ifndef DATASRC_BENCH_TABLES_H
#define DATASRC_BENCH_TABLES_H

#include <cstddef>
#include <string>
#include <vector>

#include "datasrc/Obs.h"

struct Table {
  std::string name;
  std::vector<int> types;  // one for each column: 0 for a number, else the width of the string
  std::size_t cases = 0;
  std::size_t cellsPerCase = 0;
  std::vector<OBS> cells;

  std::size_t Bytes() const { return cells.size() * sizeof(OBS); }
};

Table MakeT1();
Table MakeT2();
Table MakeT3();

// Continues a checksum, which depends on every cell and its position.
std::uint64_t Checksum(std::uint64_t sum, const OBS* cells, std::size_t count);

// A system file in the temporary directory. The object deletes it.
class TableFile {
 public:
  TableFile(const Table& table, bool byteCodes);
  // Writes a file of `variables` numeric variables with labels, without cases.
  explicit TableFile(int variables);
  ~TableFile();
  TableFile(const TableFile&) = delete;
  TableFile& operator=(const TableFile&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

#endif
