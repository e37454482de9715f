#include "tools/commandline/CommandLine.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "tools/files/Output.h"

namespace tool {

void Command::Argument(const std::string& name, std::string& value, const std::string& help, Need need) {
  m_app.add_option(name, value, help)->required(need == Need::required)->type_name("");
}

void Command::Option(const std::string& name, const std::string& type, std::string& value, const std::string& help,
                     const std::vector<std::string>& choices) {
  CLI::Option* const option = m_app.add_option(name, value, help);
  if (!choices.empty()) option->check(CLI::IsMember(choices));
  option->type_name(type);
}

void Command::Option(const std::string& name, const std::string& type, std::optional<std::string>& value,
                     const std::string& help) {
  m_app.add_option(name, value, help)->type_name(type);
}

void Command::Options(const std::string& name, const std::string& type, std::vector<std::string>& values,
                      const std::string& help) {
  m_app.add_option(name, values, help)->type_name(type)->allow_extra_args(false);
}

void Command::Arguments(const std::string& name, std::vector<std::string>& values, const std::string& help) {
  m_app.add_option(name, values, help)->required()->type_name("");
}

void Command::Flag(const std::string& name, bool& value, const std::string& help) { m_app.add_flag(name, value, help); }

void Command::Footer(const std::string& text) { m_app.footer(text); }

void Command::Work(std::function<void()> work) { m_app.callback(std::move(work)); }

void AddNoSyncOption(Command& command, bool& value) {
  command.Flag("--no-sync", value, "Does not wait until the output is on the disk; faster, but a crash can lose it");
}

CommandLine::CommandLine(const std::string& about, const std::string& name, const std::string& version)
    : m_app(std::make_unique<CLI::App>(about, name)) {
  m_app->require_subcommand(0, 1);
  m_app->set_version_flag("--version", version, "Prints the version");
  m_app->set_help_flag("-h,--help", "Prints this help");
}

CommandLine::~CommandLine() = default;

Command CommandLine::Add(const std::string& name, const std::string& about) {
  return Command(*m_app->add_subcommand(name, about));
}

std::string CommandLine::Help(const std::string& command) const {
  // App::help would print the help of the command that is running, which is `help` itself.
  if (command.empty())
    return m_app->get_formatter()->make_help(m_app.get(), m_app->get_name(), CLI::AppFormatMode::Normal);
  const auto found = m_app->get_subcommands([&command](const CLI::App* one) { return one->get_name() == command; });
  if (found.empty()) throw WrongUsage("help", "unknown command " + command);
  return found.front()->help(m_app->get_name());
}

void CommandLine::Run(int argc, char** argv) {
  try {
    m_app->parse(argc, argv);
    if (m_app->get_subcommands().empty()) throw CLI::RequiredError("a command");
  } catch (const CLI::CallForHelp&) {
    Print(m_app->help());
  } catch (const CLI::CallForVersion& version) {
    Print(std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& error) {
    throw WrongUsage(error.what());
  }
}

}  // namespace tool
