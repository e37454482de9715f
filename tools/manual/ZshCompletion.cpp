#include <string_view>

#include "tools/manual/Completions.h"
#include "tools/manual/OptionValues.h"

namespace tool {

namespace {

// Returns text for the inside of single quotes. The characters in `special` get a backslash for _arguments.
std::string Quoted(std::string_view text, std::string_view special) {
  std::string quoted;
  for (const char one : text) {
    if (one == '\'') {
      quoted += R"('\'')";
      continue;
    }
    if (one == '\\' || special.find(one) != special.npos) quoted += '\\';
    quoted += one;
  }
  return quoted;
}

std::string Message(std::string_view text) { return Quoted(text, ":"); }

std::string ActionOf(ValueKind kind) {
  if (kind == ValueKind::file) return "_files";
  return kind == ValueKind::command ? "($commands)" : " ";
}

std::string ValueOf(const OptionDescription& option) {
  const ValueKind kind = KindOf(option);
  if (kind == ValueKind::none) return {};
  std::string action = ActionOf(kind);
  if (kind == ValueKind::choice) {
    action = "(";
    for (const std::string& choice : option.choices) action += (action.size() > 1 ? " " : "") + choice;
    action += ")";
  }
  return ":" + Message(option.type) + ":" + action;
}

// Appends a description for each name.
void AppendOptions(std::string& script, std::string_view indent, const std::vector<OptionDescription>& options) {
  for (const OptionDescription& option : options) {
    for (const std::string& name : option.names) {
      // With the sign, the value may follow it or be the next word.
      const bool takesSign = !option.type.empty() && name.starts_with("--");
      script += std::string(indent) + "'" + (option.mayRepeat ? "*" : "") + name + (takesSign ? "=" : "") + "[" +
                Quoted(option.help, "[]:") + "]" + ValueOf(option) + "'";
      script += " \\\n";
    }
  }
}

std::string CommandWords(const ToolDescription& tool) {
  std::string words;
  for (const CommandDescription& command : tool.commands) words += (words.empty() ? "" : " ") + command.name;
  return words;
}

void AppendArguments(std::string& script, const ToolDescription& tool, const CommandDescription& command) {
  for (std::size_t i = 0; i < command.arguments.size(); ++i) {
    const ArgumentDescription& argument = command.arguments[i];
    std::string action = ActionOf(KindOf(argument));
    if (KindOf(argument) == ValueKind::command) action = "(" + CommandWords(tool) + ")";
    script += "                        '" + (argument.mayRepeat ? "*" : std::to_string(i + 1)) + ":" +
              Message(argument.help) + ":" + action + "' \\\n";
  }
}

}  // namespace

std::string ZshCompletion(const ToolDescription& tool) {
  std::string script = "#compdef " + tool.name + "\n\n_" + tool.name + "() {\n";
  script += "    local curcontext=$curcontext state line\n    local -a commands common\n    typeset -A opt_args\n";
  script += "    commands=(\n";
  for (const CommandDescription& command : tool.commands)
    script += "        '" + command.name + ":" + Message(command.about) + "'\n";
  script += "    )\n    common=(\n";
  std::string options;
  AppendOptions(options, "        ", tool.options);
  for (std::size_t at = options.find(" \\\n"); at != options.npos; at = options.find(" \\\n", at)) options.erase(at, 2);
  script += options + "    )\n    _arguments -C $common \\\n";
  AppendOptions(script, "        ", {tool.versionOption});
  script += "        '1:command:->command' \\\n        '*::argument:->arguments' && return\n";
  script += "    case $state in\n        command) _describe -t commands command commands ;;\n        arguments)\n";
  script += "            case $words[1] in\n";
  for (const CommandDescription& command : tool.commands) {
    script += "                " + command.name + ")\n                    _arguments $common \\\n";
    AppendOptions(script, "                        ", command.options);
    AppendArguments(script, tool, command);
    script.replace(script.size() - 3, 3, " ;;\n");
  }
  return script + "            esac ;;\n    esac\n}\n\n_" + tool.name + " \"$@\"\n";
}

}  // namespace tool
