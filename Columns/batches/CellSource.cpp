#include "Columns/batches/CellSource.h"

#include <algorithm>
#include <utility>

#include "Columns/batches/IteratorCells.h"
#include "Columns/batches/SystemFileCells.h"

std::unique_ptr<CellSource> MakeCellSource(const QUAV_DataSource& source, std::vector<std::size_t> cells) {
  std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  if (auto* const file = dynamic_cast<SystemFileDataSource::Iterator*>(cases.get())) {
    // A caller may have added columns since the file was opened. Cases may have no cells at all.
    const auto size = static_cast<std::size_t>(file->CellsOfCase());
    if (size != 0 && std::ranges::all_of(cells, [&](std::size_t cell) { return cell < size; })) {
      static_cast<void>(cases.release());
      return std::make_unique<SystemFileCells>(std::unique_ptr<SystemFileDataSource::Iterator>(file), std::move(cells));
    }
  }
  return std::make_unique<IteratorCells>(std::move(cases), std::move(cells));
}
