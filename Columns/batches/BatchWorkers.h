// Fills the batches of a system file on several threads, and hands them out in order.
//
// A thread takes the next rows, and fills a batch with them. Of cases that are not coded, it reads the rows from their
// place. Coded cases are read and divided in order, by one thread at a time (CaseStretches), and decoded side by side;
// the blocks of a file in zlib blocks are inflated ahead by as many threads more.
//
// The owner's thread is one of the threads: while the batch that it waits for is being filled, it fills a later one.
//
// At most two batches for each thread are filled and not handed out.
//
// Threads: Next and the destructor on one thread at a time. The destructor waits for batches that are being filled.

#ifndef COLUMNS_BATCHES_BATCHWORKERS_H
#define COLUMNS_BATCHES_BATCHWORKERS_H

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Columns/batches/BatchFiller.h"
#include "Columns/batches/SystemFileCells.h"
#include "systemfile/CaseStretches.h"

class BatchWorkers {
 public:
  // Returns null for a source that is no system file, or whose cases cannot be divided there, and where one thread is
  // faster: with few columns of a file in byte codes.
  static std::unique_ptr<BatchWorkers> Make(const QUAV_DataSource& source, const BatchPlan& plan, long long firstRow,
                                            long long rows, int threads);
  ~BatchWorkers();
  BatchWorkers(const BatchWorkers&) = delete;
  BatchWorkers& operator=(const BatchWorkers&) = delete;

  // As ColumnReader::Next. The first call starts the threads.
  std::shared_ptr<const ColumnBatch> Next();

 private:
  // What one thread uses.
  struct Worker {
    std::unique_ptr<SystemFileCells> cells;
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

  BatchWorkers(std::unique_ptr<SystemFileDataSource::Iterator> cases, std::size_t columns, int rowsPerBatch,
               long long firstRow, long long rows);

  void Start();
  void Stop();
  void Serve(Worker& worker);
  bool DoOne(Worker& worker, bool mayWait);
  bool Reserve(bool mayWait);
  std::shared_ptr<Job> Begin();
  std::shared_ptr<Job> TakeFront(bool mayWait);
  void Fill(Job& job, Worker& worker);

  std::unique_ptr<SystemFileDataSource::Iterator> m_cases;  // keeps the stream of m_stretches
  std::unique_ptr<CaseStretches> m_stretches;               // under m_dividing; null when cases are not coded
  long long m_plainRows = 0;                                // whole cases in the file; of cases that are not coded
  std::size_t m_columns;
  int m_rowsPerBatch;
  std::shared_ptr<BatchPool> m_pool;
  std::vector<Worker> m_workers;  // the first is the owner's
  bool m_isStarted = false;
  bool m_isFinished = false;   // there is nothing more to hand out
  std::exception_ptr m_fault;  // what Next throws from now on

  std::mutex m_dividing;  // taken before m_lock
  std::mutex m_lock;      // guards all members below
  std::condition_variable m_room;
  std::condition_variable m_done;
  long long m_nextRow;
  long long m_rowsLeft;
  bool m_isEnded = false;                    // no job begins any more
  std::size_t m_reserved = 0;                // jobs that threads are about to begin
  std::exception_ptr m_failure;              // of a thread outside of a job
  std::deque<std::shared_ptr<Job>> m_begun;  // not handed out, in order

  std::vector<std::thread> m_threads;
};

#endif
