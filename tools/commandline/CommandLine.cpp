#include "tools/commandline/CommandLine.h"

#include <sched.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <thread>
#include <utility>

#include "tools/files/Output.h"
#include "tools/messages/Report.h"
#include "tools/text/Color.h"
#include "tools/text/NearestName.h"

namespace tool {

namespace {

constexpr char kOptionsForAll[] = "Options for all commands";
constexpr int kMostThreads = 64;
constexpr char kVersionHelp[] = "Prints the version";
constexpr char kHelpHelp[] = "Prints this help";

int& WantedThreads() {
  static int count = 0;
  return count;
}

std::vector<std::string> NamesOf(const std::vector<CLI::App*>& commands) {
  std::vector<std::string> names;
  for (const CLI::App* command : commands) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> OptionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

// Returns what the help of a command prints after its options.
std::string HelpEnd(const CommandDescription& command) {
  std::string text = command.footer;
  if (command.examples.empty()) return text;
  text += text.empty() ? "Examples:" : "\n\nExamples:";
  for (const ExampleDescription& example : command.examples) text += "\n  # " + example.meaning + "\n  " + example.line;
  return text;
}

// Whether `--errors json` is among the arguments: a command line that cannot be parsed is reported so, too.
bool WantsJson(int argc, char** argv) {
  const std::vector<std::string_view> arguments(argv, argv + argc);
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (arguments[i] == "--") return false;
    if (arguments[i] == "--errors=json" || (arguments[i - 1] == "--errors" && arguments[i] == "json")) return true;
  }
  return false;
}

}  // namespace

int ThreadsToUse() {
  if (WantedThreads() > 0) return WantedThreads();
  cpu_set_t cores;
  const int count = sched_getaffinity(0, sizeof(cores), &cores) == 0
                        ? CPU_COUNT(&cores)
                        : static_cast<int>(std::thread::hardware_concurrency());
  return std::clamp(count, 1, kMostThreads);
}

void Command::Option(const std::string& name, const std::string& type, long long& value, const std::string& help) {
  const auto isCount = [](const std::string& text) {
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    return isNumber ? std::string() : "'" + text + "' is not a whole number from 0 on";
  };
  m_app.add_option(name, value, help)->check(isCount)->type_name(type);
  m_description.options.push_back({.names = {name}, .type = type, .help = help});
}

void Command::Arguments(const std::string& name, std::vector<std::string>& values, const std::string& help, Need need) {
  m_app.add_option(name, values, help)->required(need == Need::required)->type_name("");
  m_description.arguments.push_back({name, help, need == Need::required, true});
}

void Command::Argument(const std::string& name, std::string& value, const std::string& help, Need need) {
  m_app.add_option(name, value, help)->required(need == Need::required)->type_name("");
  m_description.arguments.push_back({name, help, need == Need::required, false});
}

void Command::Option(const std::string& name, const std::string& type, std::string& value, const std::string& help,
                     const std::vector<std::string>& choices) {
  CLI::Option* const option = m_app.add_option(name, value, help);
  if (!choices.empty()) option->check(CLI::IsMember(choices));
  option->type_name(type);
  m_description.options.push_back({.names = {name}, .type = type, .help = help, .choices = choices});
}

void Command::Option(const std::string& name, const std::string& type, std::optional<std::string>& value,
                     const std::string& help) {
  m_app.add_option(name, value, help)->type_name(type);
  m_description.options.push_back({.names = {name}, .type = type, .help = help});
}

void Command::Options(const std::string& name, const std::string& type, std::vector<std::string>& values,
                      const std::string& help) {
  m_app.add_option(name, values, help)->type_name(type)->allow_extra_args(false);
  m_description.options.push_back({.names = {name}, .type = type, .help = help, .mayRepeat = true});
}

void Command::Flag(const std::string& name, bool& value, const std::string& help) {
  m_app.add_flag(name, value, help);
  m_description.options.push_back({.names = {name}, .help = help});
}

void Command::Footer(const std::string& text) { m_description.footer = text; }

void Command::Example(const std::string& line, const std::string& meaning) {
  m_description.examples.push_back({line, meaning});
}

void Command::ExitStatus(int status, const std::string& meaning) {
  m_description.exitStatuses.push_back({status, meaning});
}

void Command::Work(std::function<void()> work) { m_app.callback(std::move(work)); }

void Command::WorkWithStatus(StatusWork work) {
  m_app.callback([&statuses = m_statuses, work = std::move(work)] { statuses.done = work(); });
}

void Command::FailureStatus(int status) {
  m_app.preparse_callback([&statuses = m_statuses, status](std::size_t) { statuses.failed = status; });
}

void AddNoSyncOption(Command& command, bool& value) {
  command.Flag("--no-sync", value, "Does not wait until the output is on the disk; faster, but a crash can lose it");
}

CommandLine::CommandLine(const std::string& about, const std::string& name, const std::string& version)
    : m_app(std::make_unique<CLI::App>(about, name)),
      m_description{.name = name,
                    .about = about,
                    .version = version,
                    .options = {},
                    .versionOption = {.names = {"--version"}, .help = kVersionHelp},
                    .commands = {}} {
  m_app->require_subcommand(0, 1);
  m_app->set_version_flag("--version", version, kVersionHelp);
  m_app->set_help_flag("-h,--help", kHelpHelp);
  m_app->parse_complete_callback([this] { TakeOptionsForAll(); });
  AddOptionsForAll(*m_app);
}

CommandLine::~CommandLine() = default;

Command CommandLine::Add(const std::string& name, const std::string& about) {
  CLI::App& app = *m_app->add_subcommand(name, about);
  AddOptionsForAll(app);
  CommandDescription& description = m_commands.emplace_back();
  description.name = name;
  description.about = about;
  app.footer([&description] { return HelpEnd(description); });
  return Command(app, m_statuses, description);
}

void CommandLine::AddOptionsForAll(CLI::App& app) {
  // Every application gets the same options, so it does not matter which of them is described.
  std::vector<OptionDescription>& described = m_description.options;
  described = {{.names = {"-h", "--help"}, .help = kHelpHelp}};
  const auto add = [&described](CLI::Option* option, OptionDescription description) {
    if (!description.choices.empty()) option->check(CLI::IsMember(description.choices));
    if (!description.type.empty()) option->type_name(description.type);
    option->description(description.help)->group(kOptionsForAll);
    description.names = {option->get_name()};
    described.push_back(std::move(description));
  };
  add(app.add_flag("--quiet", m_isQuiet), {.help = "Prints no warnings and shows no progress"});
  add(app.add_flag("--strict", m_isStrict),
      {.help = "A warning is a failure: the exit status is 1, and no file is made"});
  add(app.add_option("--errors", m_errors),
      {.type = "FORM",
       .help = "The form of errors and warnings: text, or json with an object on each line",
       .choices = {"text", "json"}});
  add(app.add_option("--color", m_color), {.type = "WHEN",
                                           .help = "Colours: auto for a terminal without NO_COLOR, always or never",
                                           .choices = {"auto", "always", "never"}});
  add(app.add_option("--threads", m_threads)->check(CLI::Range(1, kMostThreads)),
      {.type = "N", .help = "How many threads work, 1 to 64; by default one for each core"});
}

// The command's work runs within the parsing, after this.
void CommandLine::TakeOptionsForAll() const {
  PresentReportSettings() = {.isQuiet = m_isQuiet, .isJson = m_errors == "json", .isStrict = m_isStrict};
  SetColorMode(m_color == "always" ? ColorMode::always : m_color == "never" ? ColorMode::never : ColorMode::automatic);
  WantedThreads() = m_threads;
}

// Returns what is wrong with the first argument that no command takes, and what it may have been meant to be.
std::string CommandLine::Unexpected() const {
  const std::string argument = m_app->remaining(true).front();
  const std::string typed = argument.substr(0, argument.find('='));
  const std::vector<CLI::App*> parsed = m_app->get_subcommands();
  if (typed.starts_with("-"))
    return "unknown option " + typed + NearestNameHint(typed, OptionsOf(parsed.empty() ? *m_app : *parsed.front()));
  if (!parsed.empty()) return "unexpected argument " + argument;
  const auto all = m_app->get_subcommands([](const CLI::App*) { return true; });
  return "unknown command " + argument + NearestNameHint(argument, NamesOf(all));
}

std::string CommandLine::Help(const std::string& command) const {
  // App::help would print the help of the command that is running, which is `help` itself.
  if (command.empty())
    return m_app->get_formatter()->make_help(m_app.get(), m_app->get_name(), CLI::AppFormatMode::Normal);
  const auto found = m_app->get_subcommands([&command](const CLI::App* one) { return one->get_name() == command; });
  if (found.empty()) {
    const auto all = m_app->get_subcommands([](const CLI::App*) { return true; });
    throw WrongUsage("help", "unknown command " + command + NearestNameHint(command, NamesOf(all)));
  }
  return found.front()->help(m_app->get_name());
}

ToolDescription CommandLine::Description() const {
  ToolDescription all = m_description;
  all.commands.assign(m_commands.begin(), m_commands.end());
  return all;
}

int CommandLine::Run(int argc, char** argv) {
  PresentReportSettings().isJson = WantsJson(argc, argv);
  try {
    m_app->parse(argc, argv);
    if (m_app->get_subcommands().empty()) throw CLI::RequiredError("a command");
  } catch (const CLI::CallForHelp&) {
    Print(m_app->help());
  } catch (const CLI::CallForVersion& version) {
    Print(std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& error) {
    // A mistyped option can make the parser miss an argument, too: what was typed is the cause.
    throw WrongUsage(m_app->remaining(true).empty() ? error.what() : Unexpected());
  }
  return m_statuses.done;
}

}  // namespace tool
