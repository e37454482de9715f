// Opens the input of a target as a system file.

#ifndef DATASRC_FUZZ_SYSTEMFILEINPUT_H
#define DATASRC_FUZZ_SYSTEMFILEINPUT_H

#include <cstddef>
#include <cstdint>

#include "MemoryFile.h"
#include "datasrc/datasrc.h"

// Calls use(source), unless the input is no system file, or one that ends the process. `use` may throw QuavServerError.
template <class Use>
void UseSystemFile(const std::uint8_t* data, std::size_t size, Use use) {
  const MemoryFile file(data, size);
  QUAV_FileStream stream(file.Path().c_str(), "rb", false);
  if (FindFatalRecord(stream)) return;
  try {
    const SystemFileDataSource source(file.Path(), "", false);
    use(source);
  } catch (const QuavServerError&) {
    // A bad file, reported as such.
  }
}

// Returns whether the cases have cells, but not too many.
inline bool HasCells(const QUAV_DataSource& source, unsigned int most) {
  return source.ColumnCount() != 0 && source.GetObsAreaSize() != 0 && source.GetObsAreaSize() <= most;
}

#endif
