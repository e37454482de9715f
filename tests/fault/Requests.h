// The number of memory requests that the program still grants. After those its `new`, which
// datasrc_outofmemory_test.cpp replaces, fails on every thread: once, or from then on.

#ifndef TESTS_FAULT_REQUESTS_H
#define TESTS_FAULT_REQUESTS_H

#include <atomic>
#include <limits>

constexpr long kWithoutEnd = std::numeric_limits<long>::max();

extern std::atomic<long> theRequestsLeft;
// A single failure: the next request is granted again.
extern std::atomic<bool> theFailureIsSingle;

// Grants so many requests, then none or all but one, as long as the object lives.
class Requests {
 public:
  explicit Requests(long granted, bool failsOnce = false) {
    theFailureIsSingle = failsOnce;
    theRequestsLeft = granted;
  }
  Requests(const Requests&) = delete;
  Requests& operator=(const Requests&) = delete;
  ~Requests() { theRequestsLeft = kWithoutEnd; }

  // Returns whether a request has failed.
  static bool HaveFailed() { return theRequestsLeft < 0; }
};

#endif
