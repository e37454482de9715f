// How much of a long test runs: all of it, and less where sanitizers make it slow.

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

// A test of every byte, bit or request takes each fifth under sanitizers: five meets each place within a word.
#ifdef DATASRC_SANITIZED
inline constexpr int kPlaceStep = 5;
#else
inline constexpr int kPlaceStep = 1;
#endif

#endif
