#include "tools/commandline/Threads.h"

#include <algorithm>
#include <charconv>
#include <thread>

#include "datasrc/ColumnReader.h"

namespace tool {

void AddThreadsOption(Command& command, std::string& value) {
  command.Option("--threads", "N", value, "Works on N threads; by default as many as the processor has");
}

int ParseThreads(const std::string& text) {
  if (text.empty()) return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostColumnThreads);
  int threads = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, trouble] = std::from_chars(text.data(), end, threads);
  if (trouble != std::errc() || stop != end || threads < 1)
    throw WrongUsage("--threads", "'" + text + "' is not a number of threads");
  return std::min(threads, kMostColumnThreads);
}

}  // namespace tool
