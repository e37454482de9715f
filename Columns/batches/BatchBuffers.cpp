#include "Columns/batches/BatchBuffers.h"

#include <utility>

std::unique_ptr<FilledBatch> BatchPool::Take(std::size_t columns) {
  const std::lock_guard lock(m_lock);
  std::unique_ptr<FilledBatch> filled;
  if (m_free.empty()) {
    filled = std::make_unique<FilledBatch>();
    filled->buffers.resize(columns);
  } else {
    filled = std::move(m_free.back());
    m_free.pop_back();
  }
  filled->batch.columns.assign(columns, {});
  return filled;
}

std::shared_ptr<const ColumnBatch> BatchPool::Share(std::unique_ptr<FilledBatch> filled) {
  const ColumnBatch* const batch = &filled->batch;
  auto back = [pool = weak_from_this()](FilledBatch* dropped) {
    std::unique_ptr<FilledBatch> owned(dropped);
    if (const auto alive = pool.lock()) alive->Keep(std::move(owned));
  };
  const std::shared_ptr<FilledBatch> owner(filled.release(), std::move(back));
  return {owner, batch};
}

bool BatchPool::IsEmpty() {
  const std::lock_guard lock(m_lock);
  return m_free.empty();
}

void BatchPool::Keep(std::unique_ptr<FilledBatch> filled) {
  const std::lock_guard lock(m_lock);
  if (m_free.size() < m_mostKept) m_free.push_back(std::move(filled));
}
