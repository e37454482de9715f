// Writes the man pages and the completions of shells, as the build needs them.
//
//   datasrc_manual_writer FOLDER
//
// FOLDER gets the form that `share` has in an installation. Fails when a command does not declare what the pages need.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/commands/Commands.h"
#include "tools/manual/Completions.h"
#include "tools/manual/DescriptionGaps.h"
#include "tools/manual/ManPages.h"

namespace {

void Write(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

void WriteManual(const std::filesystem::path& folder, const tool::ToolDescription& tool) {
  Write(folder / "man/man1" / (tool.name + ".1"), tool::ToolPage(tool));
  for (const tool::CommandDescription& command : tool.commands)
    Write(folder / "man/man1" / (tool.name + "-" + command.name + ".1"), tool::CommandPage(tool, command));
  Write(folder / "bash-completion/completions" / tool.name, tool::BashCompletion(tool));
  Write(folder / "zsh/site-functions" / ("_" + tool.name), tool::ZshCompletion(tool));
  Write(folder / "fish/vendor_completions.d" / (tool.name + ".fish"), tool::FishCompletion(tool));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: datasrc_manual_writer FOLDER\n";
    return 2;
  }
  try {
    tool::CommandLine line(tool::kToolAbout, tool::kToolName, std::string(tool::kToolName) + " " + DATASRC_VERSION);
    tool::AddCommands(line);
    const tool::ToolDescription description = line.Description();
    const auto gaps = tool::DescriptionGaps(description);
    for (const std::string& gap : gaps) std::cerr << "datasrc_manual_writer: " << gap << '\n';
    if (!gaps.empty()) return 1;
    WriteManual(argv[1], description);
  } catch (const std::exception& error) {
    std::cerr << "datasrc_manual_writer: " << error.what() << '\n';
    return 1;
  }
}
