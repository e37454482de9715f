// Shows the progress of long work on one line of a terminal, "12,000 of 100,000 cases", and clears the line at the end.
// Work that takes less than a second shows nothing.
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

  // `descriptor` is standard error or kNowhere. Nothing is written when it is not a terminal, and when
  // the user wants it quiet. `total` is negative when
  // it is unknown.
  Progress(int descriptor, long long total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // `done` starts at 1 and grows by one with each call.
  void Step(long long done) {
    if (m_isShown && done % kStepsPerLook == 0) LookAtClock(done);
  }
  // The same after many steps at once.
  void StepTo(long long done) {
    if (m_isShown) LookAtClock(done);
  }

  // `done` is any number.
  void Jump(long long done) {
    if (m_isShown) LookAtClock(done);
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
