// The command line, as the commands describe it. Only CommandLine.cpp includes the library that parses it, because that
// library is slow to compile.
//
// Threads: one thread at a time.

#ifndef TOOLS_COMMANDLINE_COMMANDLINE_H
#define TOOLS_COMMANDLINE_COMMANDLINE_H

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

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

// A view of a command, used to describe it. The parser fills in the values before the work runs. The caller keeps them
// alive as long as the work.
class Command {
 public:
  explicit Command(CLI::App& app) : m_app(app) {}

  enum class Need { required, optional };
  void Argument(const std::string& name, std::string& value, const std::string& help, Need need = Need::required);
  // `type` names the value in the help. With `choices`, the value must be one of them.
  void Option(const std::string& name, const std::string& type, std::string& value, const std::string& help,
              const std::vector<std::string>& choices = {});
  void Option(const std::string& name, const std::string& type, std::optional<std::string>& value,
              const std::string& help);
  // An option that may come again and again.
  void Options(const std::string& name, const std::string& type, std::vector<std::string>& values,
               const std::string& help);
  // The rest of the arguments, at least one.
  void Arguments(const std::string& name, std::vector<std::string>& values, const std::string& help);
  void Flag(const std::string& name, bool& value, const std::string& help);
  void Footer(const std::string& text);
  void Work(std::function<void()> work);

 private:
  CLI::App& m_app;
};

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
  // Parses the arguments and runs the command. Throws WrongUsage, and everything that the work throws.
  void Run(int argc, char** argv);

 private:
  std::unique_ptr<CLI::App> m_app;
};

}  // namespace tool

#endif
