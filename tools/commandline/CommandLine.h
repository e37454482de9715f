// The command line, as the commands describe it. Only CommandLine.cpp includes the library that parses it, because that
// library is slow to compile.
//
// Threads: one thread at a time.

#ifndef TOOLS_COMMANDLINE_COMMANDLINE_H
#define TOOLS_COMMANDLINE_COMMANDLINE_H

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/commandline/Description.h"

namespace CLI {
class App;
}

namespace tool {

// Thrown for a wrong command line.
class WrongUsage : public std::runtime_error {
 public:
  explicit WrongUsage(const std::string& trouble) : std::runtime_error(trouble) {}
  WrongUsage(const std::string& option, const std::string& trouble) : WrongUsage(option + ": " + trouble) {}
};

// The exit statuses of the command that runs.
struct ExitStatuses {
  int done = 0;
  int failed = 1;
};

// A view of a command, used to describe it. The parser fills in the values before the work runs. The caller keeps them
// alive as long as the work.
//
// Every command also has the options for all: --quiet, --strict, --errors, --color and --threads.
class Command {
 public:
  // What a command's work returns.
  using StatusWork = std::function<int()>;

  // The statuses of the command line outlive the work. What is declared goes into `description`, too.
  Command(CLI::App& app, ExitStatuses& statuses, CommandDescription& description)
      : m_app(app), m_statuses(statuses), m_description(description) {}

  enum class Need { required, optional };
  void Argument(const std::string& name, std::string& value, const std::string& help, Need need = Need::required);
  // `type` names the value in the help. With `choices`, the value must be one of them.
  void Option(const std::string& name, const std::string& type, std::string& value, const std::string& help,
              const std::vector<std::string>& choices = {});
  void Option(const std::string& name, const std::string& type, std::optional<std::string>& value,
              const std::string& help);
  // A whole number that is not negative.
  void Option(const std::string& name, const std::string& type, long long& value, const std::string& help);
  // An option that may come again and again.
  void Options(const std::string& name, const std::string& type, std::vector<std::string>& values,
               const std::string& help);
  // An argument that may come several times; it is the last one of a command.
  void Arguments(const std::string& name, std::vector<std::string>& values, const std::string& help,
                 Need need = Need::required);
  void Flag(const std::string& name, bool& value, const std::string& help);
  // The text after the options. Paragraphs are separated by an empty line. A paragraph whose first line is a word, at
  // least two blanks and text is a list of words with their explanations, in columns. `Backquotes` enclose code.
  void Footer(const std::string& text);
  // A line for the shell, and what it does. Every command has one. A test runs it with the files that it names.
  void Example(const std::string& line, const std::string& meaning);
  // What an exit status means, where it is not the usual meaning.
  void ExitStatus(int status, const std::string& meaning);
  void Work(std::function<void()> work);
  // The work returns the exit status.
  void WorkWithStatus(StatusWork work);
  // Sets the exit status for work that throws; 1 without it.
  void FailureStatus(int status);

 private:
  CLI::App& m_app;
  ExitStatuses& m_statuses;
  CommandDescription& m_description;
};

// Returns how many threads a command may use: those of --threads, else one for each core of this process. At least 1.
int ThreadsToUse();

// Adds the option of the commands that make a file (NewFileOptions).
void AddNoSyncOption(Command& command, bool& value);

class CommandLine {
 public:
  CommandLine(const std::string& about, const std::string& name, const std::string& version);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  Command Add(const std::string& name, const std::string& about);
  // Returns the help of the command with that name; an empty name means the tool itself. Throws WrongUsage when the
  // command does not exist.
  std::string Help(const std::string& command) const;
  // Returns what was declared, in the order of the declarations.
  ToolDescription Description() const;
  // Parses the arguments and runs the command. Returns the exit status. Throws WrongUsage, and everything that the work
  // throws.
  int Run(int argc, char** argv);
  // The exit status for work that threw.
  int FailureStatus() const { return m_statuses.failed; }

 private:
  void AddOptionsForAll(CLI::App& app);
  void TakeOptionsForAll() const;
  std::string Unexpected() const;

  std::unique_ptr<CLI::App> m_app;
  ToolDescription m_description;              // without the commands
  std::deque<CommandDescription> m_commands;  // Command refers to one of them
  ExitStatuses m_statuses;
  bool m_isQuiet = false;
  bool m_isStrict = false;
  std::string m_errors = "text";
  std::string m_color = "auto";
  int m_threads = 0;  // 0: not given
};

}  // namespace tool

#endif
