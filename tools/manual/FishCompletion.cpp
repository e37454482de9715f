#include <string_view>

#include "tools/manual/Completions.h"
#include "tools/manual/OptionValues.h"

namespace tool {

namespace {

// Prints the command: the first word that is neither an option nor the value of one.
constexpr std::string_view kFunctions = R"(function __@_command
    set -l words (commandline -opc)
    set -e words[1]
    while set -q words[1]
        switch $words[1]
            case @VALUES@
                set -q words[2]; and set -e words[1]
            case '-*'
            case '*'
                echo $words[1]
                return
        end
        set -e words[1]
    end
    return 1
end

function __@_runs
    contains -- $argv[1] (__@_command)
end

complete -c @ -f
)";

std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char one : text) {
    if (one == '\'' || one == '\\') quoted += '\\';
    quoted += one;
  }
  return quoted + "'";
}

std::string Replaced(std::string text, std::string_view what, std::string_view with) {
  for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + with.size()))
    text.replace(at, what.size(), with);
  return text;
}

std::string ValueOf(const OptionDescription& option) {
  switch (KindOf(option)) {
    case ValueKind::none:
      return {};
    case ValueKind::file:
      return " -r -F";
    case ValueKind::choice: {
      std::string words;
      for (const std::string& choice : option.choices) words += (words.empty() ? "" : " ") + choice;
      return " -x -a " + Quoted(words);
    }
    default:
      return " -x";
  }
}

// `start` is the call of `complete` with its condition.
void AppendOptions(std::string& script, const std::string& start, const std::vector<OptionDescription>& options) {
  for (const OptionDescription& option : options) {
    script += start;
    for (const std::string& name : option.names)
      script += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    script += ValueOf(option) + " -d " + Quoted(option.help) + "\n";
  }
}

}  // namespace

std::string FishCompletion(const ToolDescription& tool) {
  std::string values;
  for (const OptionDescription& option : tool.options)
    if (KindOf(option) != ValueKind::none)
      for (const std::string& name : option.names) values += (values.empty() ? "" : " ") + name;
  const std::string complete = "complete -c " + tool.name;
  const std::string noCommand = complete + " -n 'not __" + tool.name + "_command >/dev/null'";

  std::string script = "# fish completion for " + tool.name + "\n\n";
  script += Replaced(Replaced(std::string(kFunctions), "@VALUES@", values), "@", tool.name);
  AppendOptions(script, complete, tool.options);
  AppendOptions(script, noCommand, {tool.versionOption});
  std::string words;
  for (const CommandDescription& command : tool.commands) {
    script += noCommand + " -a " + command.name + " -d " + Quoted(command.about) + "\n";
    words += (words.empty() ? "" : " ") + command.name;
  }
  for (const CommandDescription& command : tool.commands) {
    const std::string start = complete + " -n '__" + tool.name + "_runs " + command.name + "'";
    AppendOptions(script, start, command.options);
    const bool takesCommand = !command.arguments.empty() && KindOf(command.arguments.front()) == ValueKind::command;
    script += start + (takesCommand ? " -a " + Quoted(words) : " -F") + "\n";
  }
  return script;
}

}  // namespace tool
