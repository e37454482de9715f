// How many requests for memory the program grants: its `new`, which datasrc_outofmemory_test.cpp replaces, fails from
// then on, on every thread.

#ifndef TESTS_FAULT_REQUESTS_H
#define TESTS_FAULT_REQUESTS_H

#include <atomic>
#include <limits>

constexpr long kWithoutEnd = std::numeric_limits<long>::max();

extern std::atomic<long> theRequestsLeft;

#endif
