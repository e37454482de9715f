// A small source for the tests of columns.

#ifndef TESTS_COLUMNS_PEOPLE_H
#define TESTS_COLUMNS_PEOPLE_H

#include <cstddef>
#include <vector>

#include "tests/support/MemorySource.h"

// Returns cases of a number and a text, over and over: 31 and Ann, nothing and nothing, -0 and Zoë of Ávila.
inline MemorySource People(int cases = 3) {
  MemorySource source;
  source.AddNumber("AGE");
  source.AddText("NAME", 14);
  const std::vector<std::vector<MemorySource::Value>> rows = {
      {31.0, "Ann"}, {QUAV_DataSource::SystemMissing(), ""}, {-0.0, "Zoë of Ávila"}};
  for (int row = 0; row < cases; ++row) source.AddCase(rows[static_cast<std::size_t>(row) % rows.size()]);
  return source;
}

#endif
