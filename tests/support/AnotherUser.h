// Work by a user whom the system refuses things: the superuser is refused nothing.
//
//   GiveAway({file, directory});
//   EXPECT_EXIT(WorkAsNobody([&] { EXPECT_FALSE(...); }), testing::ExitedWithCode(0), "");

#ifndef TESTS_SUPPORT_ANOTHERUSER_H
#define TESTS_SUPPORT_ANOTHERUSER_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

inline constexpr uid_t kNobody = 65534;

// To the user of WorkAsNobody. Where that is the process's own, they are his as they are.
inline void GiveAway(const std::vector<std::string>& paths) {
  if (geteuid() != 0) return;
  for (const std::string& path : paths) ASSERT_EQ(0, chown(path.c_str(), kNobody, kNobody)) << path;
}

// For a process of its own, which ends here: with 0 when no expectation has failed.
template <class Work>
[[noreturn]] void WorkAsNobody(Work work) {
  if (geteuid() == 0 && setuid(kNobody) != 0) _exit(2);
  work();
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

#endif
