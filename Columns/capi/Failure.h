// The last failure of each thread, for the C interface.
//
//   return Guarded([&] { ... });      0, or a number of c_api.h after keeping what is wrong
//
// Threads: each has its own.

#ifndef COLUMNS_CAPI_FAILURE_H
#define COLUMNS_CAPI_FAILURE_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/messages/ThrowError.h"

namespace capi {

// The caller's mistake.
class WrongArgument : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// Returns the text with the replacement character for bytes that are no UTF-8.
std::string ValidUtf8(std::string_view text);

// Keeps the exception that is being handled, and returns its number of c_api.h.
int KeepFailure() noexcept;

template <class Operation>
int Guarded(Operation operation) noexcept {
  try {
    std::move(operation)();
    return 0;
  } catch (...) {
    return KeepFailure();
  }
}

}  // namespace capi

#endif
