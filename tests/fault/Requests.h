// The number of memory requests that the program still grants. After those its `new`, which
// datasrc_outofmemory_test.cpp replaces, fails on every thread.

#ifndef TESTS_FAULT_REQUESTS_H
#define TESTS_FAULT_REQUESTS_H

#include <atomic>
#include <limits>

constexpr long kWithoutEnd = std::numeric_limits<long>::max();

extern std::atomic<long> theRequestsLeft;

#endif
