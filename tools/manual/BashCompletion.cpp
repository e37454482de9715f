#include <string_view>
#include <vector>

#include "tools/manual/Completions.h"
#include "tools/manual/OptionValues.h"

namespace tool {

namespace {

// bash splits words at `=`, so that --errors=json are three.
constexpr std::string_view kStart =
    R"(    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' words='' i
    COMPREPLY=()
    # The command is the first word that is neither an option nor the value of one.
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
            @VALUES@)
                [[ ${COMP_WORDS[i + 1]} == = ]] && ((++i))
                ((++i)) ;;
            -*) ;;
            *)
                command=${COMP_WORDS[i]}
                break ;;
        esac
    done
    if [[ $current == = ]]; then
        current=''
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
)";

constexpr std::string_view kEnd =
    R"(    if [[ $words == @FILES ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    fi
)";

std::string Join(const std::vector<std::string>& words, std::string_view separator) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += separator;
    text += word;
  }
  return text;
}

std::vector<std::string> NamesOf(const std::vector<OptionDescription>& options) {
  std::vector<std::string> names;
  for (const OptionDescription& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

std::string CommandNames(const ToolDescription& tool) {
  std::vector<std::string> names;
  for (const CommandDescription& command : tool.commands) names.push_back(command.name);
  return Join(names, " ");
}

// Appends the cases for the values of options. `command` is a pattern.
void AppendValueCases(std::string& script, const std::string& command, const std::vector<OptionDescription>& options) {
  for (const OptionDescription& option : options) {
    const ValueKind kind = KindOf(option);
    if (kind == ValueKind::none) continue;
    std::vector<std::string> patterns;
    for (const std::string& name : option.names) patterns.push_back(command + ":" + name);
    script += "        " + Join(patterns, " | ") + ") ";
    if (kind == ValueKind::choice)
      script += "words='" + Join(option.choices, " ") + "'";
    else
      script += kind == ValueKind::file ? "words=@FILES" : "return";
    script += " ;;\n";
  }
}

// Appends the case for words that are no values of options.
void AppendWordCase(std::string& script, const std::string& command, const std::string& options,
                    const std::string& others) {
  const std::string indent(20, ' ');
  script += indent.substr(4) + command + ")\n";
  script += indent + "words='" + others + "'\n";
  script += indent + "[[ $current == -* ]] && words='" + options + "' ;;\n";
}

}  // namespace

std::string BashCompletion(const ToolDescription& tool) {
  std::vector<std::string> values;
  for (const OptionDescription& option : tool.options)
    if (KindOf(option) != ValueKind::none) values.insert(values.end(), option.names.begin(), option.names.end());
  std::string start(kStart);
  constexpr std::string_view kValues = "@VALUES@";
  start.replace(start.find(kValues), kValues.size(), Join(values, " | "));

  const std::string common = Join(NamesOf(tool.options), " ");
  std::string script = "# bash completion for " + tool.name + "\n\n_" + tool.name + "() {\n" + start;
  script += "    case $command:$before in\n";
  AppendValueCases(script, "*", tool.options);
  for (const CommandDescription& command : tool.commands) AppendValueCases(script, command.name, command.options);
  script += "        *)\n            case $command in\n";
  AppendWordCase(script, "''", common + " " + Join(tool.versionOption.names, " "), CommandNames(tool));
  for (const CommandDescription& command : tool.commands) {
    const bool takesCommand = !command.arguments.empty() && KindOf(command.arguments.front()) == ValueKind::command;
    AppendWordCase(script, command.name, Join(NamesOf(command.options), " ") + " " + common,
                   takesCommand ? CommandNames(tool) : "@FILES");
  }
  script += "            esac ;;\n    esac\n";
  script += kEnd;
  return script + "}\n\ncomplete -F _" + tool.name + " " + tool.name + "\n";
}

}  // namespace tool
