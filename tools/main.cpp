// The `datasrc` command: parses the command line, and turns a failure into one line and an exit status.
//
//   0  done      1  the work failed, or faults were found      2  the command line is wrong
//
// `diff` returns 1 for a difference, and 2 when it cannot compare.

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

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
#include "tools/messages/LineError.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace {

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongUsage = 2 };

int Fail(int status, const tool::ReportedMessage& message) {
  tool::ReportError(message);
  return status;
}

int RunSafely(tool::CommandLine& line, int argc, char** argv) {
  try {
    const int status = line.Run(argc, argv);
    if (status == kDone && tool::AreWarningsFailures()) return Fail(kFailed, {.text = tool::kStrictFailure});
    return status;
  } catch (const tool::ClosedPipe&) {
    return kDone;
  } catch (const tool::WrongUsage& error) {
    return Fail(kWrongUsage, {.text = std::string(error.what()) + " (`datasrc help` prints the usage)"});
  } catch (const QuavServerError& error) {
    return Fail(line.FailureStatus(), {error.Number(), error.Text(), error.File(), error.Place()});
  } catch (const tool::LineError& error) {
    return Fail(line.FailureStatus(), {.text = error.what(), .file = error.File(), .line = error.Line()});
  } catch (const dstext::FileFailure& error) {
    return Fail(line.FailureStatus(), {.text = error.what(), .file = error.File()});
  } catch (const std::bad_alloc&) {
    return Fail(line.FailureStatus(), {.text = "out of memory"});
  } catch (const std::exception& error) {
    return Fail(line.FailureStatus(), {.text = error.what()});
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

// A closed standard stream would give its number to the next file that is opened, and the tool's messages would go into that
// file. So it gets a place where neither reading nor writing is possible. Returns false if that fails.
bool OccupyClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) != stream)
      return false;
  return true;
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
  if (!OccupyClosedStreams()) return kFailed;
  HandleSignals();
  ChooseCharacters();

  tool::CommandLine line(tool::kToolAbout, tool::kToolName, std::string(tool::kToolName) + " " + DATASRC_VERSION);
  tool::AddCommands(line);
  return RunSafely(line, argc, argv);
}
