#include "tools/manual/ManPages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ManPages_test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tool::CommandDescription;
using tool::CommandPage;
using tool::ToolDescription;

const ToolDescription kTool{.name = "nothing",
                            .about = "Does nothing.",
                            .version = "nothing 1.0",
                            .options = {},
                            .versionOption = {.names = {"--version"}, .help = "Prints the version"},
                            .commands = {}};

CommandDescription Rest(const std::string& footer) {
  return {.name = "rest",
          .about = "Rests long.",
          .arguments = {{"FILE", "The bed", true, false}, {"VARIABLE", "The pillows", false, true}},
          .options = {{.names = {"--kind"}, .type = "KIND", .help = "The kind", .choices = {"long", "short"}}},
          .footer = footer,
          .examples = {{"nothing rest -o 'a b'", "a rest"}},
          .exitStatuses = {{1, "No bed."}}};
}

TEST(ManPages, PageBeginsWithItsNameAndWhatItIs) {
  EXPECT_THAT(CommandPage(kTool, Rest("")), StartsWith(".TH NOTHING-REST 1 \"\" \"nothing 1.0\" \"User commands\"\n"
                                                       ".SH NAME\nnothing\\-rest \\- rests long\n"
                                                       ".SH SYNOPSIS\n\\fBnothing rest\\fP [\\fIoptions\\fP] "
                                                       "\\fIFILE\\fP [\\fIVARIABLE\\fP...]\n"));
}

TEST(ManPages, OptionHasItsTextAndItsChoices) {
  EXPECT_THAT(CommandPage(kTool, Rest("")),
              HasSubstr(".TP\n\\fB\\-\\-kind\\fP \\fIKIND\\fP\nThe kind.\nOne of \\fBlong\\fP, \\fBshort\\fP.\n"));
}

TEST(ManPages, ExampleCanBeCopied) {
  EXPECT_THAT(CommandPage(kTool, Rest("")), HasSubstr(".nf\nnothing rest \\-o \\(aqa b\\(aq\n.fi\n"));
}

TEST(ManPages, UnusualExitStatusReplacesTheUsualOne) {
  EXPECT_THAT(CommandPage(kTool, Rest("")),
              HasSubstr("\\fB0\\fP\nThe work is done.\n.TP\n\\fB1\\fP\nNo bed.\n.TP\n\\fB2\\fP\n"));
}

TEST(ManPages, LineThatBeginsWithADotIsNoRequest) {
  EXPECT_THAT(CommandPage(kTool, Rest("A file ends in\n.csv. Or not.")),
              HasSubstr(".SH DETAILS\nA file ends in\n\\&.csv. Or"));
}

TEST(ManPages, BackquotesBecomeBold) {
  EXPECT_THAT(CommandPage(kTool, Rest("See `nothing --help`, or `.")),
              HasSubstr(".SH DETAILS\nSee \\fBnothing \\-\\-help\\fP, or \\(ga.\n"));
}

TEST(ManPages, WordsInColumnsBecomeAList) {
  EXPECT_THAT(CommandPage(kTool, Rest("short  a nap\n       of minutes\nlonger until morning")),
              HasSubstr(".TP\n\\fBshort\\fP\na nap\nof minutes\n.TP\n\\fBlonger\\fP\nuntil morning\n"));
}

TEST(ManPages, ParagraphsAreSeparated) {
  EXPECT_THAT(CommandPage(kTool, Rest("one\n\ntwo")), HasSubstr(".SH DETAILS\none\n.PP\ntwo\n"));
}

TEST(ManPages, CommandWithoutFooterHasNoDetails) {
  EXPECT_THAT(CommandPage(kTool, Rest("")), Not(HasSubstr("DETAILS")));
  EXPECT_THAT(CommandPage(kTool, Rest("x")), HasSubstr(".SH DETAILS\nx\n"));
}

}  // namespace
}  // namespace ManPages_test
