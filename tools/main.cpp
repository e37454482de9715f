// The `datasrc` command: parses the command line, and turns a failure into one line and an exit status.
//
//   0  done      1  the work failed      2  the command line is wrong

#include <langinfo.h>

#include <clocale>
#include <csignal>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "Columns/files/NewFile.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace {

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongUsage = 2 };

int Report(ExitStatus status, const std::string& message) {
  tool::Report(message);
  return status;
}

int ReportFailure(const std::string& text, const std::string& file) {
  return Report(kFailed, "error: " + text + (file.empty() ? "" : ": " + file));
}

int RunSafely(tool::CommandLine& line, int argc, char** argv) {
  try {
    line.Run(argc, argv);
    return kDone;
  } catch (const tool::ClosedPipe&) {
    return kDone;
  } catch (const tool::WrongUsage& error) {
    return Report(kWrongUsage, std::string("error: ") + error.what() + " (`datasrc help` prints the usage)");
  } catch (const QuavServerError& error) {
    const std::string place = error.Place().IsKnown() ? " (" + error.Place().Text() + ")" : "";
    return Report(kFailed, "error " + std::to_string(error.Number()) + ": " + error.what() + place);
  } catch (const dstext::FileFailure& error) {
    return ReportFailure(error.what(), error.File());
  } catch (const std::bad_alloc&) {
    return ReportFailure("out of memory", "");
  } catch (const std::exception& error) {
    return ReportFailure(error.what(), "");
  }
}

// A signal that ends the tool ends it as without this handler, but leaves no incomplete file.
void EndBySignal(int signal) {
  dstext::RemoveUnfinishedFiles();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void HandleSignals() {
  std::signal(SIGPIPE, SIG_IGN);  // a write then fails with EPIPE
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (std::signal(signal, EndBySignal) == SIG_IGN) std::signal(signal, SIG_IGN);
}

// The tool needs a UTF-8 locale because the library's text is UTF-8. It uses the user's locale when that is one. The
// library looks at the locale too: in a single-byte locale it would cut characters in two.
void ChooseCharacters() {
  if (std::setlocale(LC_CTYPE, "") == nullptr || std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
    std::setlocale(LC_CTYPE, "C.UTF-8");
  SetUTF8mode(1);
}

}  // namespace

int main(int argc, char** argv) {
  HandleSignals();
  ChooseCharacters();

  tool::CommandLine line("Shows system files, and converts data to and from them.", "datasrc",
                         std::string("datasrc ") + DATASRC_VERSION);
  tool::AddInfoCommand(line);
  tool::AddCatCommand(line);
  tool::AddConvertCommand(line);
  tool::AddAppendCommand(line);
  tool::AddConcatCommand(line);
  tool::AddMangleCommand(line);
  tool::AddHelpCommand(line);
  return RunSafely(line, argc, argv);
}
