// A pool of threads that run callbacks, in the order in which they were given.
//
//   init       prepares the pool and forgets what the last stop left
//   startAll   starts the threads; throws std::system_error when the system has no thread left, and then none runs
//   run        gives the pool a callback; it may come before startAll
//   stopAll    waits until every given callback has returned, and ends the threads. The destructor does it too.
//
// Contract: a callback must return by itself when its owner asks it to; the pool cannot stop it. An exception that
// leaves a callback ends the process.
//
// Threads: run from any thread; init, startAll, stopAll and the destructor from the thread that owns the pool.

#ifndef PLATFORM_THREADS_SFTHREADPOOL_H
#define PLATFORM_THREADS_SFTHREADPOOL_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

// What a caller passes to a callback. The caller owns it and keeps it until the callback has returned.
struct msgBaseData {
  virtual ~msgBaseData();
};

// The work that runs on a thread.
class CallBackObject {
 public:
  virtual ~CallBackObject();
  // `message` is the msgBaseData that was passed to run, or null. The pool ignores the result.
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

  // The pool does not own the callback, which must live until stopAll. `times`: how often to run it.
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
  std::condition_variable m_changed;  // a new job or the stop
  std::deque<Job> m_jobs;             // guarded by m_mutex
  bool m_stopping = false;            // guarded by m_mutex
};

class sfThreadPool : public sfThreadPoolBase {
 public:
  // `stackSize` must be 0, the system's default.
  sfThreadPool(int threads, int stackSize);

  void run(CallBackObject* callback, msgBaseData* message, int times) override;
};

#endif
