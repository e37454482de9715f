// Tells a person how far long work has come: "12,000 of 100,000 cases" on one line of a terminal, which is wiped at the
// end. Nothing is said of work that is done within a second.
//
// Threads: one thread at a time.

#ifndef TOOLS_MESSAGES_PROGRESS_H
#define TOOLS_MESSAGES_PROGRESS_H

#include <chrono>
#include <string>

namespace tool {

class Progress {
 public:
  static constexpr int kNowhere = -1;

  // `descriptor` is standard error; or kNowhere; where it is no terminal nothing is written. `total` is below 0 when it
  // is not known.
  Progress(int descriptor, long long total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // `done` counts up from 1, one for each call.
  void Step(long long done) {
    if (m_isShown && done % kStepsPerLook == 0) LookAtClock(done);
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr long long kStepsPerLook = 1024;

  void LookAtClock(long long done);
  void Write(const std::string& text) const;

  int m_descriptor;
  long long m_total;
  bool m_isShown;
  bool m_hasWritten = false;
  Clock::time_point m_next;  // when to write again
};

}  // namespace tool

#endif
