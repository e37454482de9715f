#include "tools/messages/Report.h"

#include <cstdio>

#include "Columns/text/ShownText.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

void Report(const std::string& message) {
  const std::string line = OneLine(ShownText("").Valid("datasrc: " + message)) + "\n";
  std::fputs(line.c_str(), stderr);
}

void ReportWarning(const std::string& text, const std::string& file) { Report("warning: " + text + ": " + file); }

void ReportWarning(int number, const std::string& text, const std::string& file) {
  Report("warning " + std::to_string(number) + ": " + text + ": " + file);
}

}  // namespace tool
