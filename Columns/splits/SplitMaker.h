// Makes the tokens of a file, in two steps: the first needs the process's encoding, the second may take long.
//
// Threads: one thread at a time, as an iterator of the source.

#ifndef COLUMNS_SPLITS_SPLITMAKER_H
#define COLUMNS_SPLITS_SPLITMAKER_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Columns/splits/SplitToken.h"
#include "systemfile/SystemFileIterator.h"

class SplitMaker {
 public:
  // As MakeSplits. The source outlives this object.
  SplitMaker(const QUAV_DataSource& source, int count);

  std::vector<std::string> Tokens();

 private:
  std::size_t m_count;
  std::unique_ptr<SystemFileDataSource::Iterator> m_cases;
  ExtNameStr m_path;
  SplitToken m_token;  // without the place
};

#endif
