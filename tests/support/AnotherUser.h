// Runs work as an ordinary user, because permissions do not stop the superuser.
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

// Gives the files to the user of WorkAsNobody. Without the superuser's rights the work runs as the process's own user,
// who owns them already.
inline void GiveAway(const std::vector<std::string>& paths) {
  if (geteuid() != 0) return;
  for (const std::string& path : paths) ASSERT_EQ(0, chown(path.c_str(), kNobody, kNobody)) << path;
}

// Runs the work and ends the process, with status 0 when no expectation has failed. Use it in a process of its own.
template <class Work>
[[noreturn]] void WorkAsNobody(Work work) {
  if (geteuid() == 0 && setuid(kNobody) != 0) _exit(2);
  work();
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

#endif
