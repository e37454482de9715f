#include "Columns/batches/BatchWorkers.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "Columns/batches/CellSource.h"

namespace {

constexpr std::size_t kBatchesAhead = 2;  // for each thread

}  // namespace

BatchWorkers::BatchWorkers(std::unique_ptr<SystemFileDataSource::Iterator> cases, std::size_t columns, int rowsPerBatch,
                           long long firstRow, long long rows)
    : m_cases(std::move(cases)),
      m_columns(columns),
      m_rowsPerBatch(rowsPerBatch),
      m_nextRow(firstRow),
      m_rowsLeft(rows) {}

std::unique_ptr<BatchWorkers> BatchWorkers::Make(const QUAV_DataSource& source, const BatchPlan& plan,
                                                 long long firstRow, long long rows, int threads,
                                                 std::size_t chunkSize) {
  std::unique_ptr<SystemFileDataSource::Iterator> cases = FileIteratorOf(source, plan.cells);
  if (!cases) return nullptr;
  std::unique_ptr<BatchWorkers> workers(
      new BatchWorkers(std::move(cases), plan.columns.size(), plan.rowsPerBatch, firstRow, rows));
  if (!workers->Divide(plan, threads, chunkSize)) return nullptr;
  workers->m_pool = std::make_shared<BatchPool>(static_cast<std::size_t>(threads) * kBatchesAhead + 2);
  for (int i = 0; i < threads; ++i) workers->m_workers.push_back(workers->MakeWorker(source, plan));
  return workers;
}

// Prepares for the threads to take parts of the cases. Returns false when they cannot.
bool BatchWorkers::Divide(const BatchPlan& plan, int threads, std::size_t chunkSize) {
  if (!m_cases->IsCoded()) {
    m_plainRows = m_cases->FindPlaces(1).rows;
    return true;
  }
  if (SystemFileCells::AreFew(*m_cases, plan.cells.size()) && !m_cases->IsInZlibBlocks()) {
    std::optional<ChunkedCases> chunks = m_cases->InChunks(m_nextRow);
    if (!chunks) return false;
    chunks->chunkSize = chunkSize;
    auto tail = std::make_unique<SystemFileCells>(m_cases->ForStretches(), plan.cells);
    m_picked = std::make_shared<PickedRows>(*chunks, std::move(tail), plan.cells, m_rowsLeft, threads);
    return true;
  }
  m_stretches = m_cases->Divide(m_nextRow, threads);
  return m_stretches != nullptr;
}

BatchWorkers::Worker BatchWorkers::MakeWorker(const QUAV_DataSource& source, const BatchPlan& plan) {
  if (m_picked) return {std::make_unique<PickedCells>(m_picked), nullptr, BatchFiller(source, plan)};
  auto own = m_stretches ? m_cases->ForStretches() : FileIteratorOf(source, plan.cells);
  auto cells = std::make_unique<SystemFileCells>(std::move(own), plan.cells);
  SystemFileCells* const stretches = m_stretches ? cells.get() : nullptr;
  return {std::move(cells), stretches, BatchFiller(source, plan)};
}

BatchWorkers::~BatchWorkers() {
  Stop();
  for (std::thread& thread : m_threads) thread.join();
}

// ---- The owner's thread ----

void BatchWorkers::Start() {
  m_isStarted = true;
  m_threads.reserve(m_workers.size() - 1);
  try {
    for (std::size_t k = 1; k < m_workers.size(); ++k) m_threads.emplace_back([this, k] { Serve(m_workers[k]); });
  } catch (const std::system_error&) {
    // Those that did start do the work, with the owner's thread.
  }
}

void BatchWorkers::Stop() {
  const std::lock_guard lock(m_lock);
  m_isEnded = true;
  m_room.notify_all();
}

std::shared_ptr<const ColumnBatch> BatchWorkers::Next() {
  if (m_fault) std::rethrow_exception(m_fault);
  if (m_isFinished) return nullptr;
  if (!m_isStarted) Start();
  std::shared_ptr<Job> job = TakeFront(false);
  while (!job && DoOne(m_workers.front(), false)) job = TakeFront(false);
  if (!job) job = TakeFront(true);
  if (job) {
    m_fault = job->failure ? job->failure : job->fault;
    const long long rows = job->failure ? 0 : job->filled->batch.rows;
    if (m_fault || rows < job->most) {
      m_isFinished = true;
      Stop();
    }
    if (!m_isFinished) Restock(job->firstRow);
    if (rows != 0) return m_pool->Share(std::move(job->filled));
  }
  if (m_fault) std::rethrow_exception(m_fault);
  return nullptr;
}

// Who keeps the batches drops them on this thread, as a rule. An allocator has the memory for the next ones sooner where
// they were made on this thread, too.
void BatchWorkers::Restock(long long firstRow) {
  if (m_pool->IsEmpty()) m_pool->Keep(m_workers.front().filler.Prepare(firstRow, m_rowsPerBatch));
}

// Takes the next batch in order. Returns null if there is none: without waiting, or because all were handed out.
std::shared_ptr<BatchWorkers::Job> BatchWorkers::TakeFront(bool mayWait) {
  std::unique_lock lock(m_lock);
  const auto isReady = [&] { return m_begun.empty() ? m_isEnded && m_reserved == 0 : m_begun.front()->isDone; };
  if (mayWait) m_done.wait(lock, isReady);
  if (!isReady()) return nullptr;
  if (m_begun.empty()) {
    m_isFinished = true;
    m_fault = m_failure;
    return nullptr;
  }
  std::shared_ptr<Job> job = std::move(m_begun.front());
  m_begun.pop_front();
  m_room.notify_one();
  return job;
}

// ---- Any thread ----

void BatchWorkers::Serve(Worker& worker) {
  try {
    while (DoOne(worker, true)) {
    }
  } catch (...) {
    const std::lock_guard lock(m_lock);
    m_failure = std::current_exception();
    m_isEnded = true;
    m_done.notify_one();
    m_room.notify_all();
  }
}

// Returns false when there is nothing to do: now, or with `mayWait` ever.
bool BatchWorkers::DoOne(Worker& worker, bool mayWait) {
  // Nobody waits for room who keeps others from their turn: the owner's thread takes turns, too, and only it makes room.
  const std::optional<long> turn = Reserve(mayWait);
  if (!turn) return false;
  const std::shared_ptr<Job> job = BeginInTurn(*turn, worker);
  if (!job) return false;
  if (!job->failure) Fill(*job, worker);
  const std::lock_guard lock(m_lock);
  job->isDone = true;
  m_done.notify_one();
  return true;
}

// Makes sure of room for a job, which must begin in the turn that it returns. Returns nothing when there is no room, or
// nothing more to do.
std::optional<long> BatchWorkers::Reserve(bool mayWait) {
  std::unique_lock lock(m_lock);
  const auto hasRoom = [&] { return m_begun.size() + m_reserved < m_workers.size() * kBatchesAhead; };
  if (mayWait) m_room.wait(lock, [&] { return m_isEnded || hasRoom(); });
  if (m_isEnded || !hasRoom()) return std::nullopt;
  ++m_reserved;
  return m_nextTurn++;
}

// Returns null when there is nothing more to do.
std::shared_ptr<BatchWorkers::Job> BatchWorkers::BeginInTurn(long turn, Worker& worker) {
  std::exception_ptr failure;
  try {
    if (m_stretches) m_stretches->Preload(turn, worker.stretch);
  } catch (...) {
    failure = std::current_exception();
  }
  std::unique_lock lock(m_lock);
  m_turns.wait(lock, [&] { return m_turn == turn; });
  lock.unlock();
  const TurnKeeper keeper(*this);
  std::shared_ptr<Job> job = Begin();
  if (!job || !m_stretches) return job;
  bool isLast = true;
  try {
    if (failure) std::rethrow_exception(failure);
    isLast = !m_stretches->Next(job->most, worker.stretch);
  } catch (...) {
    job->failure = std::current_exception();
  }
  if (isLast) Stop();
  return job;
}

// Returns null when there is nothing more to do.
std::shared_ptr<BatchWorkers::Job> BatchWorkers::Begin() {
  const std::lock_guard lock(m_lock);
  --m_reserved;
  if (m_rowsLeft == 0) m_isEnded = true;
  if (m_isEnded) {
    m_done.notify_one();
    m_room.notify_all();
    return nullptr;
  }
  auto job = std::make_shared<Job>();
  job->firstRow = m_nextRow;
  job->most = static_cast<int>(std::min<long long>(m_rowsPerBatch, m_rowsLeft));
  m_begun.push_back(job);
  m_nextRow += job->most;
  m_rowsLeft -= job->most;
  // The thread that reads the last case meets the end of the data, too, and no other thread may.
  if (m_plainRows - job->firstRow < job->most) m_isEnded = true;
  return job;
}

void BatchWorkers::Fill(Job& job, Worker& worker) {
  try {
    if (worker.stretches != nullptr)
      worker.stretches->Enter(worker.stretch, m_stretches->Length());
    else
      worker.cells->Seek(job.firstRow);
    job.filled = m_pool->Take(m_columns);
    job.filled->batch.firstRow = job.firstRow;
    worker.filler.Fill(*job.filled, *worker.cells, job.most);
    job.fault = worker.cells->Fault();
  } catch (...) {
    job.failure = std::current_exception();
    if (m_picked) m_picked->Break(job.failure);
  }
}
