// A pool of threads that run callbacks, in the order in which they were given.
//
//   init       makes ready; what a stop left behind is forgotten
//   startAll   starts the threads; std::system_error when the system has none to give, and then none runs
//   run        gives the pool a callback; it may come before startAll
//   stopAll    waits until every callback given has come back, and ends the threads. The destructor does it too.
//
// Contract: a callback comes back by itself once it is told to; the pool cannot end it. What it throws ends the
// process.
//
// Threads: run from any thread; init, startAll, stopAll and the destructor from the one that has the pool.

#ifndef PLATFORM_THREADS_SFTHREADPOOL_H
#define PLATFORM_THREADS_SFTHREADPOOL_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

// What a caller hands along to a callback. It stays the caller's, and lives until the callback has come back.
struct msgBaseData {
  virtual ~msgBaseData();
};

// What runs on a thread.
class CallBackObject {
 public:
  virtual ~CallBackObject();
  // `message` is the msgBaseData that came with it, or null. The answer is the callback's own affair.
  virtual void* callback(void* message) = 0;
};

class sfThreadPoolBase {
 public:
  explicit sfThreadPoolBase(int threads) : m_wanted(threads) {}
  sfThreadPoolBase(const sfThreadPoolBase&) = delete;
  sfThreadPoolBase& operator=(const sfThreadPoolBase&) = delete;
  virtual ~sfThreadPoolBase();

  void init();
  void startAll();
  void stopAll();

  // The callback is not owned, and lives until stopAll. `times`: how often it is to run.
  virtual void run(CallBackObject* callback, msgBaseData* message, int times) = 0;

 protected:
  struct Job {
    CallBackObject* callback;
    msgBaseData* message;
  };
  void Give(const Job& job);

 private:
  void Work();

  const int m_wanted;
  std::vector<std::thread> m_threads;
  std::mutex m_mutex;
  std::condition_variable m_changed;  // a job came, or the end
  std::deque<Job> m_jobs;             // guarded by m_mutex
  bool m_stopping = false;            // guarded by m_mutex
};

class sfThreadPool : public sfThreadPoolBase {
 public:
  // The second number is a size of stack; 0, the system's own, is the only one that is served.
  sfThreadPool(int threads, int stackSize);

  void run(CallBackObject* callback, msgBaseData* message, int times) override;
};

#endif
