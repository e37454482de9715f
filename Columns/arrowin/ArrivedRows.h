// Some rows of an Arrow stream after their types were taken apart: numbers as cells, texts as bytes.

#ifndef COLUMNS_ARROWIN_ARRIVEDROWS_H
#define COLUMNS_ARROWIN_ARRIVEDROWS_H

#include <cstdint>
#include <string>
#include <vector>

#include "datasrc/Obs.h"

namespace arrowin {

// Either numbers or texts.
struct ArrivedColumn {
  std::vector<OBS> numbers;
  std::vector<std::uint32_t> sizes;  // of the texts, in bytes
  std::string text;                  // all of them, in UTF-8 and without trailing blanks

  void Clear() {
    numbers.clear();
    sizes.clear();
    text.clear();
  }
};

struct ArrivedRows {
  long long firstRow = 0;  // in the stream
  int rows = 0;
  std::vector<ArrivedColumn> columns;
};

}  // namespace arrowin

#endif
