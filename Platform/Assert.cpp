#include "Platform/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

#include "Platform/AssertionsThrow.h"

namespace {

constexpr int kNoScope = -1;

// The number of exceptions that were on their way when the innermost scope began.
thread_local int exceptionsAtScope = kNoScope;

}  // namespace

AssertionsThrow::AssertionsThrow() : m_outerScope(std::exchange(exceptionsAtScope, std::uncaught_exceptions())) {}

AssertionsThrow::~AssertionsThrow() { exceptionsAtScope = m_outerScope; }

void QuavAssertionFailed(const char* text, const char* source, int line, const char* function) {
  if (exceptionsAtScope == std::uncaught_exceptions()) throw AssertionFailure(text, source, line);
  std::fprintf(stderr, "%s:%d: %s: assertion failed: %s\n", source, line, function, text);
  std::fflush(stderr);
  std::abort();
}
