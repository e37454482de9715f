#include "tools/messages/Progress.h"

#include <unistd.h>

#include "Columns/text/NumberText.h"
#include "tools/messages/Report.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::chrono::milliseconds kQuietTime{1000};
constexpr std::chrono::milliseconds kPause{250};
constexpr char kWipeLine[] = "\r\x1b[K";  // goes to the start of the line and clears to its end
constexpr QUAV_Format kCount{kFormatComma, 20, 0};

}  // namespace

Progress::Progress(int descriptor, long long total)
    : m_descriptor(descriptor),
      m_total(total),
      m_isShown(!PresentReportSettings().isQuiet && isatty(descriptor) == 1),
      m_next(Clock::now() + kQuietTime) {}

Progress::~Progress() {
  if (m_hasWritten) Write(kWipeLine);
}

void Progress::LookAtClock(long long done) {
  const Clock::time_point now = Clock::now();
  if (now < m_next) return;
  m_next = now + kPause;
  std::string text = kWipeLine;
  AppendReadableNumber(text, kCount, static_cast<double>(done));
  if (m_total >= 0) {
    text += " of ";
    AppendReadableNumber(text, kCount, static_cast<double>(m_total));
  }
  Write(text + " cases");
  m_hasWritten = true;
}

// Deliberate: the result is ignored, because the work goes on when the terminal is gone.
void Progress::Write(const std::string& text) const {
  [[maybe_unused]] const ssize_t written = write(m_descriptor, text.data(), text.size());
}

}  // namespace tool
