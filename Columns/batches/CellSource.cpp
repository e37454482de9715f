#include "Columns/batches/CellSource.h"

#include <algorithm>
#include <utility>

#include "Columns/batches/IteratorCells.h"
#include "Columns/batches/PresentCells.h"
#include "Columns/batches/SystemFileCells.h"

namespace {

// Returns the iterator as one of a system file that has all these cells, or null. A caller may have added columns since the
// file was opened. Cases may have no cells at all.
SystemFileDataSource::Iterator* AsFileIterator(QUAV_InputCaseIterator& cases, std::span<const std::size_t> cells) {
  auto* const file = dynamic_cast<SystemFileDataSource::Iterator*>(&cases);
  if (file == nullptr) return nullptr;
  const auto size = static_cast<std::size_t>(file->CellsOfCase());
  return size != 0 && std::ranges::all_of(cells, [&](std::size_t cell) { return cell < size; }) ? file : nullptr;
}

}  // namespace

void CellSource::MarkPresent(std::span<const CellTarget> targets, int count) {
  for (const auto& [cells, present] : targets)
    if (present != nullptr) ::MarkPresent(cells, count, present);
}

std::unique_ptr<SystemFileDataSource::Iterator> FileIteratorOf(const QUAV_DataSource& source,
                                                               std::span<const std::size_t> cells) {
  if (dynamic_cast<const SystemFileDataSource*>(&source) == nullptr) return nullptr;
  std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  auto* const file = AsFileIterator(*cases, cells);
  if (file != nullptr) static_cast<void>(cases.release());
  return std::unique_ptr<SystemFileDataSource::Iterator>(file);
}

std::unique_ptr<CellSource> MakeCellSource(const QUAV_DataSource& source, std::vector<std::size_t> cells) {
  std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  if (auto* const file = AsFileIterator(*cases, cells)) {
    static_cast<void>(cases.release());
    std::unique_ptr<SystemFileDataSource::Iterator> owned(file);
    // One thread stays one thread.
    owned->SetReadAhead(0);
    return std::make_unique<SystemFileCells>(std::move(owned), std::move(cells));
  }
  return std::make_unique<IteratorCells>(std::move(cases), std::move(cells));
}
