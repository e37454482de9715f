// datasrc help [COMMAND]

#include <memory>
#include <string>

#include "Commands.h"
#include "Output.h"

namespace tool {

namespace {

void Help(const CLI::App& app, const std::string& command) {
  // App::help would tell of the command that is being run, which is this one.
  if (command.empty()) return Print(app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal));
  const auto found = app.get_subcommands([&command](const CLI::App* one) { return one->get_name() == command; });
  if (found.empty()) throw CLI::ValidationError("help", "there is no command " + command);
  Print(found.front()->help(app.get_name()));
}

}  // namespace

void AddHelpCommand(CLI::App& app) {
  const auto about = std::make_shared<std::string>();
  CLI::App* const command = app.add_subcommand("help", "Tells how the tool, or one of its commands, is used.");
  command->add_option("COMMAND", *about, "The command")->type_name("");
  command->callback([&app, about] { Help(app, *about); });
}

void Print(const std::string& text) {
  Output output("");
  output.Text() += text;
  output.Finish();
}

}  // namespace tool
