// Fills the batches of a system file on several threads, and hands them out in order.
//
// A thread takes the next rows, and fills a batch with them. Of cases that are not coded, it reads the rows from their
// place. Few cells of byte codes are found and picked side by side (PickedRows). Other coded cases are divided in order, by
// one thread at a time (CaseStretches), and decoded side by side; the blocks of a file in zlib blocks are inflated ahead by
// as many threads more.
//
// The owner's thread is one of the threads: while the batch that it waits for is being filled, it fills a later one.
//
// At most two batches for each thread are filled and not handed out.
//
// Threads: Next and the destructor on one thread at a time. The destructor waits for batches that are being filled.

#ifndef COLUMNS_BATCHES_BATCHWORKERS_H
#define COLUMNS_BATCHES_BATCHWORKERS_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Columns/batches/BatchFiller.h"
#include "Columns/batches/PickedRows.h"
#include "Columns/batches/SystemFileCells.h"
#include "systemfile/CaseStretches.h"

class BatchWorkers {
 public:
  // Returns null for a source that is no system file, or whose cases cannot be divided there. `chunkSize` is that of
  // PickedRows, a multiple of 8.
  static std::unique_ptr<BatchWorkers> Make(const QUAV_DataSource& source, const BatchPlan& plan, long long firstRow,
                                            long long rows, int threads,
                                            std::size_t chunkSize = ChunkedCases::kUsualSize);
  ~BatchWorkers();
  BatchWorkers(const BatchWorkers&) = delete;
  BatchWorkers& operator=(const BatchWorkers&) = delete;

  // As ColumnReader::Next. The first call starts the threads.
  std::shared_ptr<const ColumnBatch> Next();

 private:
  // What one thread uses.
  struct Worker {
    std::unique_ptr<CellSource> cells;
    SystemFileCells* stretches;  // the same object, if it reads stretches; else null
    BatchFiller filler;
    CaseStretch stretch = {};
  };
  struct Job {
    long long firstRow = 0;
    int most = 0;
    std::unique_ptr<FilledBatch> filled = {};
    std::exception_ptr fault = {};    // of the file, after the rows
    std::exception_ptr failure = {};  // any other: there are no rows
    bool isDone = false;
  };

  // Ends the turn of its thread.
  struct TurnKeeper {
    explicit TurnKeeper(BatchWorkers& theWorkers) : workers(theWorkers) {}
    ~TurnKeeper() {
      const std::lock_guard lock(workers.m_lock);
      ++workers.m_turn;
      workers.m_turns.notify_all();
    }
    TurnKeeper(const TurnKeeper&) = delete;
    TurnKeeper& operator=(const TurnKeeper&) = delete;

    BatchWorkers& workers;
  };

  BatchWorkers(std::unique_ptr<SystemFileDataSource::Iterator> cases, std::size_t columns, int rowsPerBatch,
               long long firstRow, long long rows);

  bool Divide(const BatchPlan& plan, int threads, std::size_t chunkSize);
  Worker MakeWorker(const QUAV_DataSource& source, const BatchPlan& plan);
  void Start();
  void Stop();
  void Restock(long long firstRow);
  void Serve(Worker& worker);
  bool DoOne(Worker& worker, bool mayWait);
  std::optional<long> Reserve(bool mayWait);
  std::shared_ptr<Job> BeginInTurn(long turn, Worker& worker);
  std::shared_ptr<Job> Begin();
  std::shared_ptr<Job> TakeFront(bool mayWait);
  void Fill(Job& job, Worker& worker);

  std::unique_ptr<SystemFileDataSource::Iterator> m_cases;  // keeps the stream of m_stretches, and the file of m_picked
  // One of these at most; neither when the cases are not coded.
  std::unique_ptr<CaseStretches> m_stretches;
  std::shared_ptr<PickedRows> m_picked;
  long long m_plainRows = std::numeric_limits<long long>::max();  // whole cases in the file, if they are not coded
  std::size_t m_columns;
  int m_rowsPerBatch;
  std::shared_ptr<BatchPool> m_pool;
  std::vector<Worker> m_workers;  // the first is the owner's
  bool m_isStarted = false;
  bool m_isFinished = false;   // there is nothing more to hand out
  std::exception_ptr m_fault;  // what Next throws from now on

  std::mutex m_lock;  // guards all members below
  std::condition_variable m_room;
  std::condition_variable m_turns;
  std::condition_variable m_done;
  long long m_nextRow;
  long long m_rowsLeft;
  bool m_isEnded = false;                    // no job begins any more
  std::size_t m_reserved = 0;                // jobs that threads are about to begin
  long m_nextTurn = 0;                       // of the next thread that reserves one
  long m_turn = 0;                           // the thread that has it begins a job
  std::exception_ptr m_failure;              // of a thread outside of a job
  std::deque<std::shared_ptr<Job>> m_begun;  // not handed out, in order

  std::vector<std::thread> m_threads;
};

#endif
