// The number of random draws of a property test.

#ifndef TESTS_SUPPORT_SEEDS_H
#define TESTS_SUPPORT_SEEDS_H

// Sanitized tests draw a quarter: they are slow, and what they look for needs few draws.
constexpr unsigned Seeds(unsigned count) {
#ifdef DATASRC_SANITIZED
  return (count + 3) / 4;
#else
  return count;
#endif
}

#endif
