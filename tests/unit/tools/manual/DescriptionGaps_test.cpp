#include "tools/manual/DescriptionGaps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/commands/Commands.h"

namespace DescriptionGaps_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tool::DescriptionGaps;
using tool::ToolDescription;

// A tool whose description is complete.
ToolDescription Complete() {
  tool::CommandLine line("Does nothing.", "nothing", "nothing 1.0");
  static std::string text;
  static bool flag;
  tool::Command command = line.Add("rest", "Rests.");
  command.Argument("FILE", text, "The file");
  command.Option("--columns", "A,B", text, "The variables");
  command.Option("--kind", "KIND", text, "The kind", {"long", "short"});
  command.Flag("--deep", flag, "Rests well");
  command.Example("nothing rest bed.quav", "a rest");
  return line.Description();
}

TEST(DescriptionGaps, CompleteDescriptionHasNone) { EXPECT_THAT(DescriptionGaps(Complete()), IsEmpty()); }

TEST(DescriptionGaps, TheToolHasNone) {
  tool::CommandLine line(tool::kToolAbout, tool::kToolName, "datasrc 1.0");
  tool::AddCommands(line);
  EXPECT_THAT(DescriptionGaps(line.Description()), IsEmpty());
}

TEST(DescriptionGaps, FindsMissingTexts) {
  ToolDescription tool = Complete();
  tool.options.back().help.clear();
  tool.versionOption.help.clear();
  tool.commands.front().about.clear();
  tool.commands.front().arguments.front().help.clear();
  tool.commands.front().options.back().help.clear();
  EXPECT_THAT(DescriptionGaps(tool), ElementsAre("--threads has no text", "--version has no text", "rest has no text",
                                                 "rest FILE has no text", "rest --deep has no text"));
}

TEST(DescriptionGaps, FindsValuesThatCompletionsDoNotKnow) {
  ToolDescription tool = Complete();
  tool.commands.front().arguments.front().name = "PLACE";
  tool.commands.front().options.front().type = "COLOUR";
  EXPECT_THAT(DescriptionGaps(tool), ElementsAre("rest PLACE is an argument of an unknown type",
                                                 "rest --columns has a value of an unknown type, COLOUR"));
}

TEST(DescriptionGaps, FindsMissingAndForeignExamples) {
  ToolDescription tool = Complete();
  tool.commands.front().examples.front() = {"nothing sleep bed.quav", ""};
  EXPECT_THAT(DescriptionGaps(tool), ElementsAre("the example `nothing sleep bed.quav` has no text",
                                                 "the example `nothing sleep bed.quav` does not run rest"));
  tool.commands.front().examples.clear();
  EXPECT_THAT(DescriptionGaps(tool), ElementsAre("rest has no example"));
}

}  // namespace
}  // namespace DescriptionGaps_test
