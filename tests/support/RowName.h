// Names the rows of a test table. Each row is a struct whose `name` is a word of letters and digits.

#ifndef TESTS_SUPPORT_ROWNAME_H
#define TESTS_SUPPORT_ROWNAME_H

#include <string>

inline constexpr auto kRowName = [](const auto& row) { return std::string(row.param.name); };

#endif
