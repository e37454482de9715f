#include "Platform/Assert.h"

#include <cstdio>
#include <cstdlib>

void QuavAssertionFailed(const char* text, const char* source, int line, const char* function) {
  std::fprintf(stderr, "%s:%d: %s: assertion failed: %s\n", source, line, function, text);
  std::fflush(stderr);
  std::abort();
}
