#include "tools/manual/DescriptionGaps.h"

#include "tools/manual/OptionValues.h"

namespace tool {

namespace {

class Gaps {
 public:
  // `command` is empty for the tool.
  void LookAtOptions(const std::string& command, const std::vector<OptionDescription>& options) {
    for (const OptionDescription& option : options) {
      const std::string name = command.empty() ? option.names.front() : command + " " + option.names.front();
      if (option.help.empty()) m_lines.push_back(name + " has no text");
      if (KindOf(option) == ValueKind::unknown)
        m_lines.push_back(name + " has a value of an unknown type, " + option.type);
    }
  }

  void LookAtCommand(const std::string& tool, const CommandDescription& command) {
    if (command.about.empty()) m_lines.push_back(command.name + " has no text");
    for (const ArgumentDescription& argument : command.arguments) {
      const std::string name = command.name + " " + argument.name;
      if (argument.help.empty()) m_lines.push_back(name + " has no text");
      if (KindOf(argument) == ValueKind::unknown) m_lines.push_back(name + " is an argument of an unknown type");
    }
    LookAtOptions(command.name, command.options);
    if (command.examples.empty()) m_lines.push_back(command.name + " has no example");
    for (const ExampleDescription& example : command.examples) {
      if (example.meaning.empty()) m_lines.push_back("the example `" + example.line + "` has no text");
      if (example.line.find(tool + " " + command.name + " ") == std::string::npos)
        m_lines.push_back("the example `" + example.line + "` does not run " + command.name);
    }
  }

  std::vector<std::string> Lines() const { return m_lines; }

 private:
  std::vector<std::string> m_lines;
};

}  // namespace

std::vector<std::string> DescriptionGaps(const ToolDescription& tool) {
  Gaps gaps;
  gaps.LookAtOptions("", tool.options);
  gaps.LookAtOptions("", {tool.versionOption});
  for (const CommandDescription& command : tool.commands) gaps.LookAtCommand(tool.name, command);
  return gaps.Lines();
}

}  // namespace tool
