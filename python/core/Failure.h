// Failures of the C interface as Python exceptions.
//
// Threads: the caller holds the GIL.

#ifndef PYTHON_CORE_FAILURE_H
#define PYTHON_CORE_FAILURE_H

#include <string>

namespace core {

// What the thread's last failed call left. It is copied before the thread waits for the GIL: Python code that runs on this
// thread in the meantime may make calls of its own, which replace it.
struct Failure {
  int result = 0;  // a number of c_api.h; 0 when nothing failed
  int number = 0;
  std::string text = {};
  std::string file = {};
  std::string place = {};

  static Failure OfThisThread(int result);
};

// Raises the exception that datasrc.errors makes of the failure, unless there is none.
void RaiseIfFailed(const Failure& failure);

}  // namespace core

#endif
